// What every class of a registry must do: tell its references and sub-anims consistently, and make
// copies that are equal and of their own. Copies are judged by what scene files would hold of them.
#pragma once

#include <functional>
#include <map>
#include <set>

#include <gtest/gtest.h>

#include "host/chunks/chunk_writer.h"
#include "host/params/class_registry.h"
#include "host/params/clone_map.h"
#include "host/params/param_block.h"
#include "host/scene/host_context.h"
#include "host/scene/point_cache.h"
#include "host/scene/scene.h"
#include "host/scene/shadow_map.h"
#include "host/scene/texmaps.h"
#include "host/storage/class_storage.h"

class ClassWalk : public testing::Test {
protected:
    using TargetPtr = std::shared_ptr<ReferenceTarget>;
    static constexpr uint32_t kLastSuperClass = 0x10000;

    ClassWalk() {
        m_candidates = {INode::Create("held"),
                        std::make_shared<TriObject>(),
                        std::make_shared<StandardMtl>(),
                        std::make_shared<NoiseTex>(),
                        std::make_shared<TransformController>(),
                        std::make_shared<PointCacheModifier>(),
                        std::make_shared<ShadowMapType>()};
    }

    // How the values of a class are filled, in the first or the second of two ways (1, 2), where
    // filling its blocks and reference slots is not all.
    template <class T>
    void FillWith(std::function<void(T&, int)> fill) {
        m_fills[T::kClass.id] = [fill](ReferenceTarget& target, int way) {
            fill(static_cast<T&>(target), way);
        };
    }
    // A class whose copies leave behind what files hold, or what strangers put into its slots.
    template <class T>
    void KeepsForItself() {
        m_special.insert(T::kClass.id);
    }
    // A class with nothing to fill.
    template <class T>
    void IsPlain() {
        m_plain.insert(T::kClass.id);
    }

    // Calls check(class, a new target of it) for all classes of the session.
    template <class Check>
    void ForEachClass(const Check& check) {
        for (uint32_t super = 0; super <= kLastSuperClass; ++super)
            for (const ClassDesc* desc : host.classes.OfSuperClass(SuperClass(super))) {
                SCOPED_TRACE(desc->info.name);
                TargetPtr made = desc->create();
                ASSERT_TRUE(made);
                check(*desc, made);
                ++m_numWalked;
            }
        EXPECT_EQ(m_numWalked, host.classes.Size());
    }

    void CheckLists(const ClassDesc& desc, ReferenceTarget& target) {
        EXPECT_EQ(target.Class().id, desc.info.id);
        EXPECT_EQ(target.Class().super, desc.info.super);
        EXPECT_EQ(target.ClassName(), desc.info.name);
        EXPECT_FALSE(desc.internalName.empty());
        EXPECT_EQ(host.classes.Find(desc.info.super, desc.internalName), &desc);
        for (int outside : {-1, target.NumRefs()}) {
            EXPECT_FALSE(target.GetReference(outside));
            target.SetReference(outside, m_candidates[0]);
        }
        for (int outside : {-1, target.NumSubs()}) {
            EXPECT_EQ(target.SubAnim(outside), nullptr);
            EXPECT_EQ(target.SubAnimName(outside), "");
        }
        for (int i = 0; i < target.NumSubs(); ++i) {
            EXPECT_NE(target.SubAnimName(i), "") << i;
            EXPECT_TRUE(!target.SubAnim(i) || Holds(target, target.SubAnim(i))) << i;
        }
    }

    void Fill(ReferenceTarget& target, int way) {
        bool isSpecial = m_special.contains(target.Class().id);
        bool isBlock = dynamic_cast<IParamBlock2*>(&target) != nullptr;
        if (!isSpecial && !isBlock) {
            target.SetNumRefs(4);
            for (int slot = 0; slot < target.NumRefs(); ++slot) FillSlot(target, slot, way);
        }
        for (int slot = 0; slot < target.NumRefs(); ++slot)
            if (auto block = std::dynamic_pointer_cast<IParamBlock2>(target.GetReference(slot)))
                FillBlock(*block, way);
        if (auto fill = m_fills.find(target.Class().id); fill != m_fills.end())
            fill->second(target, way);
    }

    // A copy is equal, and stays as it is when the original changes, and the other way round.
    void CheckCopy(const ClassDesc& desc, ReferenceTarget& target) {
        Fill(target, 1);
        std::string filled = Describe(target);
        CloneMap map;
        TargetPtr copy = target.Clone(map);
        map.Finish();
        ASSERT_TRUE(copy);
        EXPECT_EQ(Describe(*copy), filled);
        CheckParts(target, *copy);
        Fill(target, 2);
        EXPECT_EQ(Describe(target) == filled, m_plain.contains(desc.info.id));
        EXPECT_EQ(Describe(*copy), filled);
        std::string changed = Describe(target);
        Fill(target, 1);
        EXPECT_EQ(Describe(target), filled);
        Fill(*copy, 2);
        EXPECT_EQ(Describe(*copy), changed);
        EXPECT_EQ(Describe(target), filled);
    }

    // Where what a target shares is copied too, its copy refers to those copies.
    void CheckRemap(ReferenceTarget& target) {
        Fill(target, 1);
        CloneMap map;
        std::map<int, TargetPtr> expected;
        for (int slot = 0; slot < target.NumRefs(); ++slot) {
            TargetPtr held = target.GetReference(slot);
            if (!held || !IsShared(target, slot) || !target.IsSlotStored(slot)) continue;
            if (!map.Find(*held)) map.Add(*held, host.classes.Create(held->Class().id));
            expected[slot] = map.Find(*held);
        }
        TargetPtr copy = target.Clone(map);
        map.Finish();
        for (auto& [slot, other] : expected) EXPECT_EQ(copy->GetReference(slot), other) << slot;
    }

    HostContext host;
    SceneStorage storage;

private:
    static bool Holds(const ReferenceTarget& target, const ReferenceTarget* sub) {
        for (int slot = 0; slot < target.NumRefs(); ++slot)
            if (target.GetReference(slot).get() == sub) return true;
        return false;
    }

    // The first candidate that the slot takes; in the second way, nothing.
    void FillSlot(ReferenceTarget& target, int slot, int way) {
        target.SetReference(slot, nullptr);
        for (const TargetPtr& candidate : m_candidates) {
            if (way == 2 || target.GetReference(slot)) return;
            target.SetReference(slot, candidate);
        }
    }

    void FillBlock(IParamBlock2& block, int way) {
        AccessorSuspender quiet(block);
        for (const ParamDef& def : block.GetDesc().params)
            if (def.ownerSlot < 0)
                block.SetElements(def.id, std::vector<ParamElement>(size_t(def.list ? way : 1),
                                                                    ValueOf(def, way)));
    }
    ParamElement ValueOf(const ParamDef& def, int way) const {
        auto w = float(way);
        switch (def.type) {
            case ParamType::kString:
            case ParamType::kFilename:
                return {std::string(size_t(way), 'x'), {}};
            case ParamType::kPoint3:
                return {Point3{w, 2, 3}, {}};
            case ParamType::kColor:
                return {Color{w / 4, 0.5f, 0}, {}};
            case ParamType::kTexmap:
                return {way == 1 ? m_candidates[3] : nullptr, {}};
            case ParamType::kMaterial:
                return {way == 1 ? m_candidates[2] : nullptr, {}};
            case ParamType::kNode:
            case ParamType::kReference:
                return {way == 1 ? m_candidates[0] : nullptr, {}};
            case ParamType::kFloat:
            case ParamType::kWorld: {
                ParamElement element{w, {}};
                if (def.animatable) element.track.keys = {{0, w}, {10, w + 1}};
                return element;
            }
            default:
                return {int32_t(way - 1), {}};
        }
    }

    static bool IsEntity(const ReferenceTarget* target) {
        return dynamic_cast<const INode*>(target) || dynamic_cast<const Mtl*>(target) ||
               dynamic_cast<const Texmap*>(target);
    }
    // Nodes, materials and maps are shared, and so is what another scene holds.
    static bool IsShared(const ReferenceTarget& owner, int slot) {
        return !owner.IsSlotStored(slot) || IsEntity(owner.GetReference(slot).get());
    }

    std::string Describe(ReferenceTarget& target) {
        std::string text = target.ClassName() + Fields(target);
        for (int slot = 0; slot < target.NumRefs(); ++slot) {
            TargetPtr held = target.GetReference(slot);
            if (!held)
                text += '-';
            else if (IsShared(target, slot))
                text += testing::PrintToString(held.get());
            else
                text += "(" + Describe(*held) + ")";
        }
        return text;
    }
    // What a scene file holds of the target beside its references.
    std::string Fields(ReferenceTarget& target) {
        const ClassStorage* how = storage.Find(target.Class().id);
        if (!how || m_special.contains(target.Class().id)) return {};
        ChunkWriter out;
        MeshesToStore meshes;
        out.OpenMemory({1, "class", 1});
        out.BeginChunk(1);
        FieldWriter fields(out, meshes, "", {});
        how->write(target, fields);
        out.EndChunk();
        std::string error;
        return out.TakeBytes(&error).value_or(error);
    }

    static void CheckParts(const ReferenceTarget& target, const ReferenceTarget& copy) {
        ASSERT_EQ(copy.NumRefs(), target.NumRefs());
        for (int slot = 0; slot < target.NumRefs(); ++slot)
            EXPECT_TRUE(!target.GetReference(slot) || IsShared(target, slot) ||
                        copy.GetReference(slot) != target.GetReference(slot))
                << slot;
    }

    std::vector<TargetPtr> m_candidates;
    std::map<ClassId, std::function<void(ReferenceTarget&, int)>> m_fills;
    std::set<ClassId> m_special, m_plain;
    size_t m_numWalked = 0;
};
