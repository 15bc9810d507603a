// The hand-edited items of a scatter object as scripts see them: one function a thing that can be
// done to one item.
//
// Functions that change something act in custom edit mode (`mode` 1) and on items that exist; else
// they do nothing, and questions get a zero (Geometry and Seed all ones). Items are numbered from
// 0, rows of the geometry list from 1. Sizes and turns are those of the item as it is built: where
// the last build is out of date they build first. Changes can be undone. One thread.
#pragma once

#include "Dravin/dravin.h"
#include "Dravin/engine/item.h"

class TEditedItems {
public:
    // time: of parameters and builds.
    TEditedItems(TDravin& object, TimeValue time) : m_object(object), m_time(time) {}

    // Items in either mode: those kept, or in generate mode those of the last build.
    int Count() const;

    // width, height: of the new item as it is built; 0 and less leave the specimen's own. p: object
    // space.
    void Create(const Point3& p, float width, float height, int geometry);
    void Delete(int n);
    void Edit(int n, float width, float height, int geometry, uint32_t seed);
    // Where the item is kept, object space.
    void Move(int n, const Point3& p);
    // Degrees about X, then Y, then Z.
    void SetRotation(int n, const Point3& degrees);
    // The specimen's plan keeps its proportions; height alone stretches.
    void SetWidth(int n, float width);
    void SetHeight(int n, float height);
    void SetSize(int n, const Point3& size);  // width, depth, height
    // Below 1: the first row.
    void SetGeometry(int n, int geometry);
    void SetSeed(int n, uint32_t seed);

    Point3 Position(int n) const;
    Point3 Size(int n);  // width, depth, height
    Point3 Rotation(int n);
    // From the specimen to the object's space: rotation, size and place.
    Matrix3 FullTransform(int n);
    uint32_t Geometry(int n) const;
    uint32_t Seed(int n) const;
    std::vector<int> Selected() const;

    // Whether changes act; then any of them, and any question for a size or a turn, may build.
    bool IsEditing() const;
    // Builds the items as they are now, as a viewport shows them.
    void Update();

private:
    bool NeedsBuild() const;
    const TStoredItem* Stored(int n) const;
    template <class Change>
    void ChangeItem(int n, const Change& change);
    std::optional<TDravinItem> Built(int n);
    void Scale(int n, const Point3& factors);

    TDravin& m_object;
    TimeValue m_time;
};

// Degrees about X, then Y, then Z of a rotation (the inverse of EulerDegreesToMatrix; where Y is a
// right angle, Z is 0).
Point3 EulerDegreesOf(const Matrix3& rotation);
