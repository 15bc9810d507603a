// Random sequences of edits, undone to the beginning and redone to the end: a scene is then what it
// was, in every particular that its author of edits tells.
#pragma once

#include <random>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "host/math/matrix3.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

inline std::string TextOf(const Matrix3& m) {
    std::string text;
    for (const Point3& row : m.row) text += fmt::format("{},{},{};", row.x, row.y, row.z);
    return text;
}
// Identity counts, too: the same entity must be back, not one like it.
inline std::string TextOf(const void* entity) { return fmt::format("{}", fmt::ptr(entity)); }

// Makes edits of one kind of scene, and tells what it looks like.
class EditAuthor {
public:
    EditAuthor(Scene& scene, uint32_t seed) : m_scene(scene), m_random(seed) {}
    virtual ~EditAuthor() = default;

    virtual void Edit() = 0;
    virtual std::string State() const = 0;

    // Steps that changed something, and those of all.
    int numChanges = 0, numSteps = 0;

    int Roll(int n) { return int(m_random() % uint32_t(n)); }

protected:
    // One of `n` names, so that several are alike.
    std::string Named(const char* stem, int n) { return fmt::format("{}{}", stem, Roll(n)); }
    static std::shared_ptr<INode> Share(INode& node) {
        return std::static_pointer_cast<INode>(node.shared_from_this());
    }
    INode* AnyNode() {
        const std::vector<INode*>& nodes = m_scene.Nodes();
        return nodes.empty() ? nullptr : nodes[size_t(Roll(int(nodes.size())))];
    }

    Scene& m_scene;

private:
    std::mt19937 m_random;
};

// Fourteen steps of one to three edits, some cancelled; then to and fro, twice.
inline void CheckEditSequence(EditAuthor& author, Hold& undo, uint32_t seed) {
    std::vector<std::string> states{author.State()};
    for (int i = 0; i < 14; ++i) {
        size_t steps = undo.NumUndoSteps();
        undo.Begin();
        for (int edits = 1 + author.Roll(3); edits > 0; --edits) author.Edit();
        if (author.Roll(8) == 0) {
            undo.Cancel();
            ASSERT_EQ(author.State(), states.back()) << "cancelled, seed " << seed;
            continue;
        }
        undo.Accept("Edit");
        if (undo.NumUndoSteps() == steps) continue;
        states.push_back(author.State());
        ++author.numSteps;
        author.numChanges += states.back() != states[states.size() - 2];
    }
    for (int round = 0; round < 2; ++round) {
        for (size_t i = states.size() - 1; i-- > 0;) {
            ASSERT_TRUE(undo.Undo());
            ASSERT_EQ(author.State(), states[i]) << "undone to " << i << ", seed " << seed;
        }
        ASSERT_FALSE(undo.Undo());
        for (size_t i = 1; i < states.size(); ++i) {
            ASSERT_TRUE(undo.Redo());
            ASSERT_EQ(author.State(), states[i]) << "redone to " << i << ", seed " << seed;
        }
    }
}
