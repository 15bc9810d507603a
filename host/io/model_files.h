// The files that a model file draws in: material libraries, buffers, images.
//
// A model comes from somewhere else and may name anything, so every name in it is resolved here,
// and nothing is opened that does not lie, links followed, below one of the roots: the model's own
// folder, and the folders that the caller adds (the scene's). What is refused or missing warns, and
// what was found or not is kept for the import report. One thread.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "host/io/mesh_import.h"
#include "host/scene/texmaps.h"

class ModelFiles {
public:
    // What is left out goes to the warnings of `model`, which must outlive this.
    ModelFiles(const std::string& modelPath, const std::vector<std::string>& roots,
               ImportedModel* model);

    // The animation that is wanted, as ImportOptions names it.
    const std::string& Animation() const { return m_animation; }
    void SetAnimation(std::string name) { m_animation = std::move(name); }
    // Whether nobody wants the model any more: readers look now and then.
    bool IsCancelled() const { return ::IsCancelled(m_watch); }
    void SetWatch(const WorkWatch* watch) { m_watch = watch; }
    const std::string& Path() const { return m_path; }
    ImportedModel& Model() const { return *m_model; }
    const std::vector<std::filesystem::path>& Roots() const { return m_roots; }
    // Adds a warning, the model's path in front; the same one only once.
    void Warn(const std::string& what);

    // Counts things of a kind ("normal map") that are not shown; Finish tells them in one warning.
    void LeaveOut(const std::string& kind, size_t count = 1) { m_leftOut[kind] += count; }
    void Finish();

    // Path of a file that the model names, relative to its folder, with either slash. None, with a
    // reason in `error`, when it leaves the roots or is no regular file.
    std::optional<std::string> Resolve(const std::string& name, std::string* error) const;

    // The texture map of an image that the model names. Paths of the author's own machine are
    // common, and so are names in other cases: the image is also looked for beside the model, in a
    // folder "textures" there or one up, and in "../materials/textures". Null, with a warning, when
    // there is none. The image is noted for the report as `slot` of `material`, when that is not
    // null.
    std::shared_ptr<BitmapTex> Texture(const std::string& image, const std::string& slot,
                                       ImportedMaterial* material);
    // An image that the model packs; all of them together stay within the input limit. Null with a
    // reason in `error`.
    std::shared_ptr<const Bitmap> PackedImage(std::string_view bytes, const std::string& name,
                                              std::string* error);

private:
    bool IsInside(const std::filesystem::path& path) const;
    std::optional<std::string> FindImage(const std::string& image, std::string* error);

    std::string m_path, m_animation;
    std::filesystem::path m_folder;
    std::vector<std::filesystem::path> m_roots;  // canonical
    ImportedModel* m_model;
    const WorkWatch* m_watch = nullptr;
    std::map<std::string, size_t> m_leftOut;
    uint64_t m_packedImageBytes = 0;
};

// Why an image with these first bytes cannot be read, in one line.
std::string DescribeUnreadImage(std::string_view head, const std::string& name);
