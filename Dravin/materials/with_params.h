// Entities that are one block of parameters and what they make of it.
//
// Reference and sub-anim 0 are the block.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "host/params/clone_map.h"
#include "host/params/param_block.h"

template <class Base>
class WithParams : public Base {
public:
    IParamBlock2& Block() const { return *m_block.Get(); }

    int NumRefs() const override { return 1; }
    std::shared_ptr<ReferenceTarget> GetReference(int slot) const override {
        return slot == 0 ? m_block.Share() : nullptr;
    }
    int NumSubs() const override { return 1; }
    ReferenceTarget* SubAnim(int i) const override { return i == 0 ? m_block.Get() : nullptr; }
    std::string SubAnimName(int i) const override { return i == 0 ? "Parameters" : ""; }

protected:
    explicit WithParams(std::shared_ptr<IParamBlock2> block) { m_block = std::move(block); }

    // Puts a copy of the block into a copy of the entity.
    void CopyBlock(WithParams& copy, CloneMap& map) const {
        std::shared_ptr<IParamBlock2> block = m_block->CloneFor(nullptr, map);
        map.Add(*m_block.Get(), block);
        copy.m_block = std::move(block);
    }

private:
    Reference<IParamBlock2> m_block{this};
};
