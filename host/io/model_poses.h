// Models that move, on their way from a file's reader to a mesh that moves.
#pragma once

#include <functional>

#include "host/io/mesh_import.h"

// How a file's animation is called: `name`, or its number where that is empty.
std::string AnimationName(const std::string& name, size_t number);
// Place of the wanted one among the names: the first for an empty text; none where there is none of
// that name, or none is wanted.
std::optional<size_t> FindAnimation(const std::vector<std::string>& names,
                                    const std::string& wanted);

// The same poses after turn(objects), which brings a file's axes and units into the host's.
std::shared_ptr<IModelPoses> TurnedPoses(std::shared_ptr<IModelPoses> poses,
                                         std::function<void(std::vector<ImportedObject>&)> turn);

// The objects of that name (empty: all of them) as one mesh at any time. The last pose is kept.
// Where a pose cannot be made, `rest` stands for it, with a warning that names `path`. One thread.
std::shared_ptr<IMeshAnimation> JoinedAnimation(std::shared_ptr<IModelPoses> poses,
                                                std::string path, std::string object,
                                                std::shared_ptr<const Mesh> rest);
