#include <nlohmann/json.hpp>

#include "host/io/external_scenes.h"
#include "host/io/scene_parts.h"
#include "host/scene/external_object.h"

namespace {

class ExternalDescription : public INodeDescription {
public:
    std::shared_ptr<Object> Read(DescriptionObject& keys,
                                 DescriptionContext& context) const override {
        DescriptionValue file = keys.Require("file"), object = keys.Require("object");
        if (keys.Value().Document().Failed()) return nullptr;
        ExternalOrigin origin{context.FileOf(file), object.AsText()};
        if (keys.Value().Document().Failed()) return nullptr;
        std::vector<std::string> warnings;
        auto shown =
            ShowExternal(origin, context.formats.Loaders(), context.scene, context.watch, &warnings,
                         [&](const std::string& text, auto why) { keys.Value().Fail(text, why); });
        for (const std::string& warning : warnings) file.Warn(warning);
        return shown;
    }

    bool Write(const Object& object, nlohmann::ordered_json& keys,
               const DescriptionWriter& writer) const override {
        auto* external = dynamic_cast<const ExternalObject*>(&object);
        if (!external) return false;
        keys["file"] = writer.FileName(external->Origin().file);
        keys["object"] = external->Origin().object;
        return true;
    }
};

}  // namespace

void RegisterExternalType(SceneFormats& formats) {
    formats.RegisterNode("external", std::make_unique<ExternalDescription>());
}
