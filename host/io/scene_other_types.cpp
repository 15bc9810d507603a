#include <algorithm>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "host/base/text.h"
#include "host/io/scene_classes.h"
#include "host/io/scene_keys.h"
#include "host/io/scene_parts.h"
#include "host/scene/shadow_type.h"

using Json = nlohmann::ordered_json;

namespace {

constexpr int kMaxSteps = 1000;

class SplineDescription : public INodeDescription {
public:
    std::shared_ptr<Object> Read(DescriptionObject& keys, DescriptionContext&) const override {
        BezierShape shape;
        for (const DescriptionValue& line : keys.Array("lines"))
            shape.splines.push_back(ReadLine(line));
        if (auto steps = keys.Find("steps")) {
            shape.steps = steps->AsInt();
            if (shape.steps < 0) steps->Fail("expected a whole number, 0 or above");
            if (shape.steps > kMaxSteps)
                steps->Fail(fmt::format("{} steps are more than the limit of {}; no option raises "
                                        "this, more knots make a line finer",
                                        shape.steps, kMaxSteps),
                            DescriptionErrorClass::kLimit);
        }
        auto object = std::make_shared<ShapeObject>();
        object->shape = std::move(shape);
        return object;
    }

    bool Write(const Object& object, Json& keys, const DescriptionWriter&) const override {
        auto* spline = dynamic_cast<const ShapeObject*>(&object);
        if (!spline) return false;
        if (spline->shape->steps != BezierShape().steps) keys["steps"] = spline->shape->steps;
        keys["lines"] = Json::array();
        for (const BezierSpline& line : spline->shape->splines)
            keys["lines"].push_back(WriteLine(line));
        return true;
    }

private:
    static BezierSpline ReadLine(const DescriptionValue& value) {
        DescriptionObject keys(value);
        BezierSpline line;
        line.closed = keys.Bool("closed", false);
        auto points = keys.Find("points"), knots = keys.Find("knots");
        keys.Finish();
        if (points.has_value() == knots.has_value())
            value.Fail("a line has either \"points\" or \"knots\"");
        if (points)
            for (const DescriptionValue& p : points->AsArray())
                line.knots.push_back({p.AsPoint3(), {}, {}});
        if (knots)
            for (const DescriptionValue& knot : knots->AsArray())
                line.knots.push_back(ReadKnot(knot));
        return line;
    }

    static BezierKnot ReadKnot(const DescriptionValue& value) {
        DescriptionObject keys(value);
        DescriptionValue place = keys.Require("p");
        BezierKnot knot{{}, keys.Point("in", {}), keys.Point("out", {})};
        keys.Finish();
        if (!value.Document().Failed()) knot.p = place.AsPoint3();
        return knot;
    }

    static Json WriteLine(const BezierSpline& line) {
        bool straight = std::all_of(line.knots.begin(), line.knots.end(), [](const BezierKnot& k) {
            return k.in == Point3{} && k.out == Point3{};
        });
        Json keys = {{"closed", line.closed}};
        Json& list = keys[straight ? "points" : "knots"] = Json::array();
        for (const BezierKnot& k : line.knots) {
            Json p = DescriptionWriter::Triple(k.p);
            if (!straight)
                p = {{"p", p},
                     {"in", DescriptionWriter::Triple(k.in)},
                     {"out", DescriptionWriter::Triple(k.out)}};
            list.push_back(p);
        }
        return keys;
    }
};

// The target of a camera or light is resolved when all nodes exist.
template <class T>
void ReadTarget(DescriptionObject& keys, DescriptionContext& context,
                const std::shared_ptr<T>& object) {
    if (auto target = keys.Find("target"))
        context.WhenAllExist(
            [object, target, &context] { object->target = context.NodeOf(*target); });
}

class CameraDescription : public INodeDescription {
public:
    std::shared_ptr<Object> Read(DescriptionObject& keys,
                                 DescriptionContext& context) const override {
        auto camera = std::make_shared<CameraObject>();
        if (auto fov = keys.Find("fov")) camera->fovDegrees.SetContent(ReadAnimatedFov(*fov));
        camera->envNear = keys.Float("env_near", camera->envNear);
        camera->envFar = keys.Float("env_far", camera->envFar);
        ReadTarget(keys, context, camera);
        return camera;
    }
    bool Write(const Object& object, Json& keys, const DescriptionWriter& writer) const override {
        auto* camera = dynamic_cast<const CameraObject*>(&object);
        if (!camera) return false;
        keys["fov"] = WriteAnimatedFloat(camera->fovDegrees.Content());
        keys["env_near"] = DescriptionWriter::Number(camera->envNear);
        keys["env_far"] = DescriptionWriter::Number(camera->envFar);
        if (camera->target) keys["target"] = writer.NodeName(camera->target.Get());
        return true;
    }
};

const std::vector<std::string> kLightKinds = {"directional", "point", "spot"};

class LightDescription : public INodeDescription {
public:
    std::shared_ptr<Object> Read(DescriptionObject& keys,
                                 DescriptionContext& context) const override {
        auto light = std::make_shared<LightObject>();
        light->kind = LightKind(keys.Choice("kind", kLightKinds, 0));
        if (auto color = keys.Find("color")) light->color.SetContent(ReadAnimatedColor(*color));
        if (auto intensity = keys.Find("intensity"))
            light->intensity.SetContent(ReadAnimatedFloat(*intensity));
        light->shadows = keys.Bool("shadows", light->shadows);
        if (auto shadow = keys.Find("shadow")) light->shadowType = ReadShadow(*shadow, context);
        ReadShadowNodes(keys, context, light);
        ReadTarget(keys, context, light);
        return light;
    }
    bool Write(const Object& object, Json& keys, const DescriptionWriter& writer) const override {
        auto* light = dynamic_cast<const LightObject*>(&object);
        if (!light) return false;
        keys["kind"] = kLightKinds[size_t(light->kind.Get())];
        keys["color"] = WriteAnimatedColor(light->color.Content());
        keys["intensity"] = WriteAnimatedFloat(light->intensity.Content());
        if (!light->shadows) keys["shadows"] = false;
        if (const ShadowType* type = light->shadowType.Get()) {
            Json shadow = Json::object();
            if (WriteByClass(*type, shadow, writer)) keys["shadow"] = std::move(shadow);
        }
        WriteShadowNodes(*light, keys, writer);
        if (light->target) keys["target"] = writer.NodeName(light->target.Get());
        return true;
    }

private:
    // One of two lists: who casts no shadows of this light, or who alone does.
    static void ReadShadowNodes(DescriptionObject& keys, DescriptionContext& context,
                                const std::shared_ptr<LightObject>& light) {
        auto excluded = keys.Find("shadow_exclude"), included = keys.Find("shadow_include");
        if (excluded && included)
            included->Fail("a light has either \"shadow_exclude\" or \"shadow_include\"");
        if (!excluded && !included) return;
        light->includesShadowNodes = included.has_value();
        context.WhenAllExist([light, list = excluded ? *excluded : *included, &context] {
            std::vector<std::shared_ptr<INode>> nodes;
            for (const DescriptionValue& name : list.AsArray())
                nodes.push_back(context.NodeOf(name));
            light->SetShadowNodes(std::move(nodes));
        });
    }
    static void WriteShadowNodes(const LightObject& light, Json& keys,
                                 const DescriptionWriter& writer) {
        if (light.NumShadowNodes() == 0 && !light.includesShadowNodes) return;
        Json& list = keys[light.includesShadowNodes ? "shadow_include" : "shadow_exclude"];
        list = Json::array();
        for (int i = 0; i < light.NumShadowNodes(); ++i)
            if (const INode* node = light.GetShadowNode(i)) list.push_back(writer.NodeName(node));
    }

    static std::shared_ptr<ShadowType> ReadShadow(const DescriptionValue& value,
                                                  DescriptionContext& context) {
        DescriptionObject keys(value);
        DescriptionValue type = keys.Require("type");
        if (value.Document().Failed()) return nullptr;
        std::string name = type.AsText();
        const ClassDesc* desc = FindSceneClass(SuperClass::kShadowType, name);
        if (!desc) {
            type.Fail(fmt::format("unknown shadow type \"{}\"{}", CutText(name, 60),
                                  DidYouMean(name, SceneClassNames(SuperClass::kShadowType))));
            return nullptr;
        }
        auto shadow = std::dynamic_pointer_cast<ShadowType>(ReadByClass(*desc, keys, context));
        keys.Finish();
        return shadow;
    }
};

class ParticlesDescription : public INodeDescription {
public:
    std::shared_ptr<Object> Read(DescriptionObject& keys,
                                 DescriptionContext& context) const override {
        auto system = std::make_shared<ParticleObject>();
        std::vector<Particle> particles;
        std::vector<EventName> events;
        for (const DescriptionValue& value : keys.Array("particles"))
            particles.push_back(ReadParticle(value, particles.size(), events));
        system->particles = std::move(particles);
        // Events are nodes: they are found when all nodes exist.
        context.WhenAllExist([system, events, &context] {
            std::vector<Particle> named = system->particles;
            for (const EventName& event : events)
                if (auto node = context.NodeOf(event.node))
                    named[event.particle].event = system->AddEvent(node);
            system->particles = std::move(named);
        });
        return system;
    }

    bool Write(const Object& object, Json& keys, const DescriptionWriter& writer) const override {
        auto* system = dynamic_cast<const ParticleObject*>(&object);
        if (!system) return false;
        keys["particles"] = Json::array();
        for (const Particle& p : system->particles.Get())
            keys["particles"].push_back(WriteParticle(p, *system, writer));
        return true;
    }

private:
    struct EventName {
        size_t particle;
        DescriptionValue node;
    };

    static Particle ReadParticle(const DescriptionValue& value, size_t index,
                                 std::vector<EventName>& events) {
        DescriptionObject keys(value);
        Particle particle;
        auto position = keys.Find("position");
        particle.hasPosition = position && !position->IsNull();
        if (particle.hasPosition) particle.position = position->AsPoint3();
        particle.age = keys.Int("age", 0);
        particle.rotationDegrees = keys.Point("rotation", {});
        particle.scale = keys.Point("scale", {1, 1, 1});
        particle.speed = keys.Point("speed", {});
        if (auto event = keys.Find("event"); event && !event->IsNull())
            events.push_back({index, *event});
        keys.Finish();
        return particle;
    }

    static Json WriteParticle(const Particle& p, const ParticleObject& system,
                              const DescriptionWriter& writer) {
        const Particle plain;
        Json keys = Json::object();
        if (p.hasPosition) keys["position"] = DescriptionWriter::Triple(p.position);
        keys["age"] = p.age;
        if (p.rotationDegrees != plain.rotationDegrees)
            keys["rotation"] = DescriptionWriter::Triple(p.rotationDegrees);
        if (p.scale != plain.scale) keys["scale"] = DescriptionWriter::Triple(p.scale);
        if (p.speed != plain.speed) keys["speed"] = DescriptionWriter::Triple(p.speed);
        if (p.event >= 0) keys["event"] = writer.NodeName(system.GetEvent(p.event));
        return keys;
    }
};

// Types without keys of their own.
template <class T>
class PlainDescription : public INodeDescription {
public:
    std::shared_ptr<Object> Read(DescriptionObject&, DescriptionContext&) const override {
        return std::make_shared<T>();
    }
    bool Write(const Object& object, Json&, const DescriptionWriter&) const override {
        return dynamic_cast<const T*>(&object) != nullptr;
    }
};

}  // namespace

float ReadFieldOfView(const DescriptionValue& value) {
    float degrees = value.AsFloat();
    if (degrees > 0 && degrees < 180) return degrees;
    value.Fail("expected an angle between 0 and 180 degrees");
    return 45;
}

Animated<float> ReadAnimatedFov(const DescriptionValue& value) {
    return ReadAnimated<float>(value, [](const DescriptionValue& one, bool isHandle) {
        return isHandle ? one.AsFloat() : ReadFieldOfView(one);
    });
}

void RegisterOtherTypes(SceneFormats& formats) {
    formats.RegisterNode("spline", std::make_unique<SplineDescription>());
    formats.RegisterNode("camera", std::make_unique<CameraDescription>());
    formats.RegisterNode("light", std::make_unique<LightDescription>());
    formats.RegisterNode("particles", std::make_unique<ParticlesDescription>());
    formats.RegisterNode("group", std::make_unique<PlainDescription<GroupObject>>());
    formats.RegisterNode("dummy", std::make_unique<PlainDescription<DummyObject>>());
}
