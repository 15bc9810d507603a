// A small block description that the parameter tests share.
#pragma once

#include "host/params/param_block.h"

namespace testBlock {
enum : ParamID { kSize = 0, kCount, kFlag, kName, kTint, kNodes, kWeights, kSecret, kKind, kSeed };
}

inline const ParamBlockDesc2& TestDesc() {
    using namespace testBlock;
    static const ParamBlockDesc2 desc = {
        7,
        "testParams",
        "Test",
        3,
        true,
        {ParamDef(kSize, "size", ParamType::kWorld).Default(10.0f).Range(0, 100).Animatable(),
         ParamDef(kCount, "count", ParamType::kInt).Default(5).Range(1, 20).Animatable(),
         ParamDef(kFlag, "flag", ParamType::kBool).Default(1).KeepOnReset(),
         ParamDef(kName, "name", ParamType::kString),
         ParamDef(kTint, "tint", ParamType::kColor).Animatable(),
         ParamDef(kNodes, "nodes", ParamType::kNode).List().Only(ClassTest::kShape),
         ParamDef(kWeights, "weights", ParamType::kFloat).List().Default(100.0f).Range(0, 100),
         ParamDef(kSecret, "secret", ParamType::kInt).ReadOnly(),
         ParamDef(kKind, "kind", ParamType::kInt)
             .Range(0, 1)
             .Entries(ControlKind::kDropDown, {"Image", "Path", "Flow"}),
         ParamDef(kSeed, "seedtype", ParamType::kInt).Range(1, 999)}};
    return desc;
}

// Counts the messages of one target.
class Listener : public ReferenceMaker {
public:
    Reference<ReferenceTarget> slot{this};
    std::vector<RefChange> changes;

    explicit Listener(std::shared_ptr<ReferenceTarget> target) { slot = std::move(target); }
    RefResult NotifyRefChanged(const RefChange& change, ReferenceTarget* from) override {
        changes.push_back(change);
        return RefResult::kSucceed;
    }
};
