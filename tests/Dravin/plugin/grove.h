// A small scattered scene, made of classes that the session knows by their descriptions: with or
// without the scatter system linked in. Beside the host's headers only that of the published
// interface is used, as a renderer does.
#pragma once

#include <memory>
#include <string>

#include "host/params/param_block.h"
#include "host/scene/function_publishing.h"
#include "host/scene/scene.h"

struct Grove {
    Scene scene;
    std::shared_ptr<Object> object;
    std::shared_ptr<INode> box;

    // The session's classes must have the scatter object.
    Grove();
    // The bytes of all instance records of version 512 at time 0, without the addresses in them.
    // Empty when something fails.
    std::string Records();

    // A parameter of the object by its internal name; null when there is none.
    IParamBlock2* FindParam(const std::string& name, ParamID* id);
    template <class T>
    void Set(const std::string& name, const T& value, int index = 0) {
        ParamID id;
        if (IParamBlock2* block = FindParam(name, &id)) block->SetValue(id, 0, value, index);
    }
};
