// Scenes from text for the description tests.
#pragma once

#include <filesystem>
#include <fstream>

#include "host/io/scene_loaders.h"

inline const SceneFormats& HostFormats() {
    static const SceneFormats formats(MakeSceneLoaders());
    return formats;
}

inline SceneReadResult ParseScene(const std::string& text,
                                  const SceneFormats& formats = HostFormats(),
                                  const std::string& folder = ".") {
    return ParseSceneDescription(text, "s.json", folder, formats);
}

// A scene of these nodes.
inline SceneReadResult ParseNodes(const std::string& nodes,
                                  const SceneFormats& formats = HostFormats()) {
    return ParseScene("{\"dravin_scene\": 1, \"nodes\": [" + nodes + "]}", formats);
}

// A folder that goes with the object.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "dravinXXXXXX").string();
        m_path = mkdtemp(pattern.data());
    }
    ~TemporaryFolder() { std::filesystem::remove_all(m_path); }
    std::string operator/(const std::string& name) const { return m_path + "/" + name; }
    const std::string& Path() const { return m_path; }
    std::string Write(const std::string& name, const std::string& text) const {
        std::ofstream(*this / name, std::ios::binary) << text;
        return *this / name;
    }

private:
    std::string m_path;
};
