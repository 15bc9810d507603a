// The items of one build as NumPy arrays, and what the build told.
//
// A field that the item list stores in one piece is shown where it lies; every other one is copied
// or worked out once, when it is asked for. Arrays keep the items alive, whatever becomes of
// result, object and scene. When the object is built again its list is handed to the results that
// still show it (Detach): what is stored stays; what would have to be worked out is gone.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "host/base/huge_buffer.h"
#include "python/engine/open_scene.h"

struct ItemField;

class BuiltItems {
public:
    BuiltItems(std::shared_ptr<OpenScene> scene, std::shared_ptr<TDravin> object);

    size_t Count() const { return m_count; }
    // The array of a field, or a list of texts. A KeyError for an unknown name.
    static py::object Field(const std::shared_ptr<BuiltItems>& self, const std::string& name);
    // Whether the array of a field lies in the build's own memory.
    bool IsView(const std::string& name) const;
    // Takes the items over from the build.
    void Detach();

    // Of the build, as it was when it ended.
    int status = 0, time = 0;
    bool isRender = false;
    std::string message[2];
    py::dict statistics;

private:
    const TDravinItemList& List() const;
    const std::byte* FirstNumber(const ItemField& field) const;
    py::object View(const py::object& owner, const ItemField& field) const;
    py::object Numbers(const py::object& owner, const ItemField& field);
    py::object Texts(const ItemField& field);
    void CheckReadable(const ItemField& field) const;

    std::shared_ptr<OpenScene> m_scene;
    std::shared_ptr<TDravin> m_object;
    size_t m_count;
    std::optional<TDravinItemList> m_own;  // once detached
    // Of fields that no view shows, four bytes a number. The interpreter's lock guards it.
    std::map<std::string, HugeBuffer> m_numbers;
};
