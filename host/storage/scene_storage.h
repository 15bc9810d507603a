// Scene files: everything that a scene holds, in a file of chunks.
//
// Objects that came from model files, terrains from images and maps from image files stay
// references to those files, which are read again; everything else lies in the scene file. Nodes
// keep their handles. Entities of classes that are not there, and fields that are newer than the
// program, are kept and written again. What is undone cannot be redone from a file. One thread.
#pragma once

#include "host/io/scene_description.h"
#include "host/storage/class_storage.h"

// Writes the file, whole or not at all. What cannot be stored is told in `warnings`. False with a
// reason in `error` ("cancelled" at its end where `watch` did that). watch: hears how far the
// writing is, and may cancel; null: nobody waits.
bool SaveSceneFile(Scene& scene, const std::string& path, const SceneStorage& storage,
                   std::vector<std::string>* warnings, std::string* error,
                   WorkWatch* watch = nullptr);

// The same as bytes, of a file that would lie in `folder`. None with a reason in `error`.
std::optional<std::string> SaveSceneBytes(Scene& scene, const std::string& folder,
                                          const SceneStorage& storage,
                                          std::vector<std::string>* warnings, std::string* error);

// The file's scene, or the first error with file, place and reason. watch: hears how far the
// reading is, and may cancel; null: nobody waits.
SceneReadResult LoadSceneFile(const std::string& path, const SceneStorage& storage,
                              ISceneLoaders& loaders, WorkWatch* watch = nullptr);
// The same from bytes; `name` stands in front of messages, relative files start from `folder`.
SceneReadResult LoadSceneBytes(std::string_view bytes, const std::string& name,
                               const std::string& folder, const SceneStorage& storage,
                               ISceneLoaders& loaders, WorkWatch* watch = nullptr);

// Whether a file starts as scene files do, by which they are told from descriptions.
bool IsSceneFile(const std::string& path);
