// Entities that a scene description knows by their class alone: every class of the session that has
// no format of its own is read and written by its parameters, whose internal names are the keys.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/io/scene_description.h"

struct ClassDesc;

// The session's class of that kind and internal name; null for none, or without a session.
const ClassDesc* FindSceneClass(SuperClass super, const std::string& type);
// Internal names of the session's classes of a kind.
std::vector<std::string> SceneClassNames(SuperClass super);

// The parameter blocks that an entity refers to.
std::vector<std::shared_ptr<IParamBlock2>> ParamBlocksOf(const ReferenceTarget& entity);
// Makes an entity and reads its parameters: those that name others when all entities exist.
std::shared_ptr<ReferenceTarget> ReadByClass(const ClassDesc& desc, DescriptionObject& keys,
                                             DescriptionContext& context);
// Writes "type" and the parameters. False when the class is not registered.
bool WriteByClass(const ReferenceTarget& entity, nlohmann::ordered_json& keys,
                  const DescriptionWriter& writer);
