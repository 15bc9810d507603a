// What users do with the lister, without a window: its rows are the scatter objects of a scene, in
// the order of their nodes. One thread.
#pragma once

#include <string>
#include <vector>

#include "Dravin/tools/lister.h"

class INode;
class Scene;

class TListerCommands {
public:
    // The scene outlives this and is the current one of the session.
    explicit TListerCommands(Scene& scene) : m_scene(scene) { Refresh(); }

    // Takes the objects of the scene and their cells as they are now.
    void Refresh();
    size_t NumRows() const { return m_rows.size(); }
    INode& Node(size_t row) const { return *m_rows[row].node; }
    // Empty outside of the table.
    std::string Cell(size_t row, size_t column) const;
    // The row of an object by the name of its node, -1 for none.
    int FindRow(const std::string& name) const;

    // Selects the objects of these rows and no other node.
    void Select(const std::vector<size_t>& rows);
    // Hides or shows the object of a row, by a script as other parts of the host see it; one undo
    // step. False with a reason in `error`.
    bool Hide(size_t row, bool hidden, std::string* error);

private:
    struct Row {
        INode* node;
        TListerRow cells;
    };
    Scene& m_scene;
    std::vector<Row> m_rows;
};
