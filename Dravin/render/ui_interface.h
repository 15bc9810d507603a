// The published interface "ui" of one scatter object: which of its rollouts are open.
#pragma once

#include "host/scene/function_publishing.h"

class TDravin;

class IUInterface : public FPInterface {
public:
    static constexpr InterfaceId kId{0x74c42f67, 0x1a98266c};

    // Bit i opens rollout i, in the order of the panel; a cleared one closes it. Kept in the user's
    // options as rollouts that a hand opens are.
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
