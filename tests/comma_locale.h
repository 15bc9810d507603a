// A process locale with a decimal comma and grouped thousands while this lives, in C and C++ alike.
//
// The C locale is compiled into a folder of its own, so that none needs to be installed; it takes
// the locale sources of the distribution.
#pragma once

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <locale>
#include <string>

class CommaLocale {
public:
    CommaLocale() : m_oldC(std::setlocale(LC_ALL, nullptr)) {
        std::string pattern = (std::filesystem::temp_directory_path() / "localeXXXXXX").string();
        m_folder = mkdtemp(pattern.data());
        std::string command =
            "localedef -i de_DE -f UTF-8 " + m_folder + "/de_DE.UTF-8 >/dev/null 2>&1";
        [[maybe_unused]] int ignored = std::system(command.c_str());
        setenv("LOCPATH", m_folder.c_str(), 1);
        std::setlocale(LC_ALL, "de_DE.UTF-8");
        m_oldCpp = std::locale::global(std::locale(std::locale(), new CommaNumbers));
    }
    ~CommaLocale() {
        std::locale::global(m_oldCpp);
        std::setlocale(LC_ALL, m_oldC.c_str());
        unsetenv("LOCPATH");
        std::filesystem::remove_all(m_folder);
    }
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;

    // The C library writes a comma. False where the distribution's locale sources are missing.
    bool IsActive() const {
        char text[16];
        std::snprintf(text, sizeof text, "%.1f", 0.5);
        return std::string(text) == "0,5";
    }

private:
    class CommaNumbers : public std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };

    std::string m_oldC, m_folder;
    std::locale m_oldCpp;
};
