#include "Dravin/build/dravin_instances.h"

#include <fmt/format.h>

#include "Dravin/dravin.h"
#include "Dravin/engine/build_input.h"
#include "host/geom/mesh_tools.h"

namespace {

// The mesh in the item's own space; shared when nothing has to move.
std::shared_ptr<const Mesh> AtRealSize(const TDravinMeshSample& sample) {
    const Matrix3& toReal = sample.Size().toReal;
    if (!sample.Source() || toReal == Matrix3{}) return sample.Source();
    return std::make_shared<Mesh>(TransformedMesh(*sample.Source(), toReal));
}

}  // namespace

TDravinInstances::TDravinInstances(const TDravin& object, const TDravinBuild& build,
                                   const Matrix3& objectTM)
    : m_build(build), m_objectTM(objectTM) {
    if (INode* node = GetWorldNode(object)) m_name = node->GetName();
    if (!build.Input()) return;
    m_scaleOnSlope = build.Input()->transforms.scaleOnSlope;
    for (size_t row = 0; row < build.Specimens().NumRows(); ++row)
        AddRow(row, build.Specimens().Row(row));
    TDravinItem item;
    for (size_t i = 0; i < build.Items().Count(); ++i) {
        const ItemPlace& place = build.Items().Place(i);
        if (place.discarded) continue;
        static_cast<ItemPlace&>(item) = place;
        if (PrototypeOf(item) != kNone) m_items.push_back(uint32_t(i));
    }
}

void TDravinInstances::AddRow(size_t row, const TSpecBuild& specimen) {
    std::vector<uint32_t>& elements = m_prototypeOfElement.emplace_back();
    for (size_t e = 0; e < specimen.nodes.size(); ++e) {
        const TSpecBuildNode& node = specimen.nodes[e];
        if (!node.sample->Source()) {
            elements.push_back(kNone);
            continue;
        }
        std::string name = node.entry.name;
        if (specimen.nodes.size() > 1) name += fmt::format(" {}", e);
        elements.push_back(uint32_t(m_prototypes.size()));
        const Point3& size = node.sample->Size().size;
        m_prototypes.push_back({std::move(name), AtRealSize(*node.sample), node.Material(),
                                Matrix3::Scaling({1 / size.x, 1 / size.y, 1 / size.z})});
    }
}

uint32_t TDravinInstances::PrototypeOf(const TDravinItem& item) const {
    if (m_prototypeOfElement.empty()) return kNone;
    const auto& elements =
        m_prototypeOfElement[SpecimenRow(item.specimenIndex, m_prototypeOfElement.size())];
    return elements[uint16_t(item.elementIndex) % elements.size()];
}

void TDravinInstances::GetInstances(size_t first, std::span<InstanceRecord> out) const {
    TDravinItem item;
    for (size_t k = 0; k < out.size(); ++k) {
        uint32_t index = m_items[first + k];
        m_build.Items().ReadStored(index, &item);
        InstanceRecord& record = out[k];
        record.prototype = PrototypeOf(item);
        record.transform = m_prototypes[record.prototype].toUnit *
                           ItemTransform(item, m_scaleOnSlope) * m_objectTM;
        record.id = int32_t(index);
        record.tint = item.tintColor;
        record.tintBlend = item.tintBlend;
    }
}
