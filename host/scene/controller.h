// Controllers: values over time that several parameters may follow.
#pragma once

#include <optional>

#include "host/scene/param_block.h"

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
    std::string ClassName() const override { return "Controller"; }
};

// A constant or a run of keys, linear between them. All values are floats or all are points.
class KeyController : public Controller {
public:
    explicit KeyController(ParamElement content) : m_content(std::move(content)) {}

    const ParamElement& Content() const { return m_content; }
    bool IsVector() const { return std::holds_alternative<Point3>(m_content.value); }

    std::optional<float> EvalReal(TimeValue t, Interval* valid) const override {
        if (IsVector()) return std::nullopt;
        return std::get<float>(Eval(t, valid));
    }
    std::optional<Point3> EvalVector(TimeValue t, Interval* valid) const override {
        if (!IsVector()) return std::nullopt;
        return std::get<Point3>(Eval(t, valid));
    }

private:
    ParamValue Eval(TimeValue t, Interval* valid) const {
        return m_content.keys.empty() ? m_content.value : EvalKeys(m_content.keys, t, valid);
    }

    ParamElement m_content;
};
