// A process locale with a decimal comma and grouped thousands while this lives, in C and C++ alike.
//
// The C locale is compiled from a source of our own into a folder of its own with nothing but the C
// library's compiler of locales, which every system has: no locale needs to be installed, and no
// test that uses this has an excuse to be skipped.
#pragma once

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <locale>
#include <stdexcept>
#include <string>

class CommaLocale {
public:
    // Throws std::runtime_error when the C library does not write a comma afterwards.
    CommaLocale() : m_oldNumeric(std::setlocale(LC_NUMERIC, nullptr)) {
        std::string pattern = (std::filesystem::temp_directory_path() / "localeXXXXXX").string();
        m_folder = mkdtemp(pattern.data());
        WriteSources();
        std::string at = m_folder + "/";
        std::string command = "localedef -c --no-archive -i " + at + "source -f " + at +
                              "charmap " + at + "comma >/dev/null 2>&1";
        [[maybe_unused]] int ignored =
            std::system(command.c_str());  // it warns of other categories
        setenv("LOCPATH", m_folder.c_str(), 1);
        std::setlocale(LC_NUMERIC, "comma");
        m_oldCpp = std::locale::global(std::locale(std::locale(), new CommaNumbers));
        if (IsActive()) return;
        Restore();
        throw std::runtime_error("localedef made no locale with a decimal comma");
    }
    ~CommaLocale() { Restore(); }
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;

private:
    class CommaNumbers : public std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };

    // A locale of numbers only, and a character map of the 128 characters that it may name.
    void WriteSources() const {
        std::ofstream source(m_folder + "/source");
        source << "comment_char %\nescape_char /\nLC_NUMERIC\ndecimal_point \"<U002C>\"\n"
                  "thousands_sep \"<U002E>\"\ngrouping 3;3\nEND LC_NUMERIC\n";
        std::ofstream map(m_folder + "/charmap");
        map << "<code_set_name> COMMA\n<comment_char> %\n<escape_char> /\nCHARMAP\n";
        for (int c = 0; c < 128; ++c) {
            char line[32];
            std::snprintf(line, sizeof line, "<U%04X> /x%02x\n", unsigned(c), unsigned(c));
            map << line;
        }
        map << "END CHARMAP\n";
    }

    static bool IsActive() {
        char text[16];
        std::snprintf(text, sizeof text, "%.1f", 0.5);
        return std::string(text) == "0,5";
    }

    void Restore() {
        std::locale::global(m_oldCpp);
        std::setlocale(LC_NUMERIC, m_oldNumeric.c_str());
        unsetenv("LOCPATH");
        std::filesystem::remove_all(m_folder);
    }

    std::string m_oldNumeric, m_folder;
    std::locale m_oldCpp;
};
