#include "host/storage/field_reader.h"

#include "host/io/scene_file.h"

std::shared_ptr<ReferenceTarget> StoredEntities::Ref(size_t entity, uint32_t ref) const {
    const std::vector<uint32_t>& own = refs[entity];
    if (ref >= own.size() || own[ref] >= targets.size()) return nullptr;
    return targets[own[ref]];
}

void StoredEntities::Fail(const std::string& text, DescriptionErrorClass why) {
    if (!error.empty()) return;
    error = text;
    errorClass = why;
}

std::string StoredEntities::FileOf(const std::string& name) {
    if (name.empty()) return {};
    SceneFile file = FindSceneFile(folder, name);
    if (!file.warning.empty()) warnings.push_back(file.warning);
    if (!file.error.empty()) Fail(file.error, DescriptionErrorClass::kMissingInput);
    return file.path;
}

std::vector<KeptChunk> FieldReader::Run() {
    std::vector<KeptChunk> kept;
    m_in.ForEachChunk([&](uint32_t id) {
        auto it = m_fields.find(id);
        if (it == m_fields.end())
            kept.push_back(m_in.KeepChunk());
        else
            it->second();
    });
    return kept;
}

void FieldReader::Get(ParamValue& value) {
    uint32_t ref = kNoStored;
    Get(value, &ref);
    if (value.index() == 5) m_in.Fail("a reference where a value is wanted");
}

void FieldReader::Get(ParamValue& value, uint32_t* ref) {
    switch (m_in.Read<uint8_t>()) {
        case 0:
            return Get(value.emplace<float>());
        case 1:
            return Get(value.emplace<int32_t>());
        case 2:
            return Get(value.emplace<std::string>());
        case 3:
            return Get(value.emplace<Point3>());
        case 4:
            return Get(value.emplace<Color>());
        case 5:
            value = std::shared_ptr<ReferenceTarget>();
            *ref = m_in.Read<uint32_t>();
            return;
        default:
            m_in.Fail("a value of a kind that there is none of");
    }
}

void FieldReader::Get(BezierShape& shape) {
    constexpr int kMaxSteps = 10000;
    shape.steps = m_in.Read<int32_t>();
    if (shape.steps > kMaxSteps) m_in.Fail("more steps between two knots than any curve has");
    uint32_t count = m_in.Read<uint32_t>();
    shape.splines.clear();
    for (uint32_t i = 0; i < count && !m_in.HasFailed(); ++i) {
        BezierSpline& spline = shape.splines.emplace_back();
        Get(spline.closed), Get(spline.knots);
    }
}

void FieldReader::Get(PolyShape& shape) {
    uint32_t count = m_in.Read<uint32_t>();
    shape.lines.clear();
    for (uint32_t i = 0; i < count && !m_in.HasFailed(); ++i) {
        PolyLine& line = shape.lines.emplace_back();
        Get(line.closed), Get(line.points);
    }
}
