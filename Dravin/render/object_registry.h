// All scatter objects of a session that live, in the order in which they were made.
//
// Objects enter and leave by themselves; those made without a session are in none. One thread.
#pragma once

#include <memory>
#include <vector>

class INode;
class TDravin;

class TObjectRegistry {
public:
    // Of the current session; null without one.
    static std::shared_ptr<TObjectRegistry> Current();

    void Add(TDravin& object) { m_objects.push_back(&object); }
    void Remove(TDravin& object) { std::erase(m_objects, &object); }

    size_t Count() const { return m_objects.size(); }
    // Shared, so that none goes while somebody works on the list.
    std::vector<std::shared_ptr<TDravin>> Objects() const;
    // Those that a node of the current scene shows; scenes whose objects it shows have more.
    std::vector<std::shared_ptr<TDravin>> ShownObjects() const;

private:
    std::vector<TDravin*> m_objects;
};

// The node of a scene that shows the object; null when none does.
INode* ShownBy(const TDravin& object);
