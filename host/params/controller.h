// Controllers: values over time that several parameters may follow.
#pragma once

#include <optional>

#include "host/params/param_block.h"
#include "host/params/property.h"

class Controller : public ReferenceTarget {
public:
    // The value at time t in the type that the controller has; none for another type, or when it
    // cannot be evaluated. `valid` is narrowed to how long it stays the same.
    virtual std::optional<float> EvalReal(TimeValue t, Interval* valid) const {
        return std::nullopt;
    }
    virtual std::optional<Point3> EvalVector(TimeValue t, Interval* valid) const {
        return std::nullopt;
    }
    ClassInfo Class() const override { return {{}, SuperClass::kController, "Controller"}; }
};

// A constant or a run of keys. All values are floats or all are points.
class KeyController : public Controller {
public:
    KeyController() : KeyController({0.0f, {}}) {}
    explicit KeyController(ParamElement content) : m_content(this, std::move(content)) {}

    const ParamElement& Content() const { return m_content; }
    // Of one kind of value throughout; tells, and can be undone.
    void SetContent(ParamElement content) { m_content = std::move(content); }
    bool IsVector() const { return std::holds_alternative<Point3>(m_content->value); }

    std::optional<float> EvalReal(TimeValue t, Interval* valid) const override {
        if (IsVector()) return std::nullopt;
        return std::get<float>(m_content->At(t, valid));
    }
    std::optional<Point3> EvalVector(TimeValue t, Interval* valid) const override {
        if (!IsVector()) return std::nullopt;
        return std::get<Point3>(m_content->At(t, valid));
    }

    static constexpr ClassInfo kClass{{0x3d1c0002, 0x52a7}, SuperClass::kController, "Keys"};
    ClassInfo Class() const override { return kClass; }
    std::shared_ptr<ReferenceTarget> Clone(CloneMap&) const override {
        return std::make_shared<KeyController>(m_content);
    }

private:
    Property<ParamElement> m_content;
};
