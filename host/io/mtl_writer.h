// The material library of an OBJ file in the making.
#pragma once

#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/scene/material.h"

class MtlWriter {
public:
    // folder: of the library; images below it are named from there.
    MtlWriter(std::string folder, std::vector<std::string>* warnings)
        : m_folder(std::move(folder)), m_warnings(warnings) {}

    // The name under which faces show a material, which is written at its first use; null is the
    // host's default grey. Names have no blanks and differ.
    const std::string& NameOf(const StandardMtl* material);
    const std::string& Text() const { return m_text; }

private:
    std::string UniqueName(const std::string& wanted);
    void AddMap(const char* keyword, const StandardMtl& material, const Texmap* map);
    void Warn(const std::string& text) { m_warnings->push_back(text); }

    std::string m_folder;
    std::vector<std::string>* m_warnings;
    std::string m_text = "# materials\n";
    std::unordered_map<const StandardMtl*, std::string> m_names;
    std::set<std::string> m_taken;
};
