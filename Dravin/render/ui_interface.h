// The published interface "ui" of one scatter object: the state of its rollouts.
#pragma once

#include "host/scene/function_publishing.h"

class TDravin;

class IUInterface : public FPInterface {
public:
    static constexpr InterfaceId kId{0x74c42f67, 0x1a98266c};

    // Bit i is the flag of rollout i among the user's options, in the order of the panel: set, the
    // rollout starts as its table says. The options are saved.
    virtual void setRollup(int64_t state) = 0;

    InterfaceId Id() const override { return kId; }
    const char* Name() const override { return "ui"; }
    FPKind Kind() const override { return FPKind::kMixin; }
    std::span<const FPFunction> Functions() const override;
};

class TUInterface final : public IUInterface {
public:
    explicit TUInterface(TDravin& object) : m_object(object) {}
    void setRollup(int64_t state) override;

private:
    TDravin& m_object;
};
