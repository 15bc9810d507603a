// The parameters of a scatter object as a build reads them: by their ids, at one time.
#pragma once

#include <string>
#include <vector>

#include "Dravin/dravin.h"

// Values come straight from the object's blocks, whose tables (dravin_params.h) are the only ones
// that list parameters; a value that the build itself has just set is read as it is now. What is
// read narrows the interval in which the build holds.
class TParameters {
public:
    // The object and the interval outlive this.
    TParameters(const TDravin& object, TimeValue t, Interval* valid)
        : m_object(object), m_time(t), m_valid(valid) {}

    // id: of an enumeration of one block, as transformParams::kMirror, which says the block.
    template <class Id>
    int Int(Id id) const {
        return BlockOf(id).GetInt(id, m_time, 0, m_valid);
    }
    template <class Id>
    bool Bool(Id id) const {
        return BlockOf(id).GetInt(id, m_time, 0, m_valid) != 0;
    }
    template <class Id>
    float Float(Id id) const {
        return BlockOf(id).GetFloat(id, m_time, 0, m_valid);
    }
    template <class Id>
    Color ColorOf(Id id) const {
        return BlockOf(id).GetColor(id, m_time, 0, m_valid);
    }
    template <class Id>
    std::string String(Id id) const {
        return BlockOf(id).GetString(id, m_time);
    }
    // References may be null.
    template <class Id>
    Texmap* Map(Id id) const {
        return BlockOf(id).GetTexmap(id, m_time);
    }
    template <class Id>
    INode* Node(Id id) const {
        return BlockOf(id).GetNode(id, m_time);
    }
    template <class Id>
    std::vector<INode*> Nodes(Id id) const {
        std::vector<INode*> nodes;
        for (int i = 0; i < BlockOf(id).Count(id); ++i)
            nodes.push_back(BlockOf(id).GetNode(id, m_time, i));
        return nodes;
    }

private:
    template <class Id>
    const IParamBlock2& BlockOf(Id id) const {
        return m_object.Block(DravinBlockOf(id));
    }

    const TDravin& m_object;
    TimeValue m_time;
    Interval* m_valid;
};
