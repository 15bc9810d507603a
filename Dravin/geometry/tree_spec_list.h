// The geometry list: the models that the items of an object may show, one row each.
//
// A row is a value record; the list keeps it in seventeen parallel list parameters of geomParams.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "common/nurandom/nurandom.h"
#include "common/pbstore/pb_store.h"
#include "host/math/point.h"
#include "host/scene/node.h"

enum GeometryKind : int { kGeomDisabled = 0, kGeomTemplate = 1, kGeomCustom = 2 };

struct TSpecEntry {
    static constexpr size_t kMaxText = 99;  // characters of each text

    std::string name = "default";
    int kind = kGeomTemplate;
    int templateId = 0;  // index into the template list
    std::string templateName = "One Plane";
    std::shared_ptr<INode> customObject;
    bool useMeshDimensions = true;
    float width = 2, height = 3;  // scene units
    float scale = 100;            // percent
    float zOffset = 0;            // scene units
    int center = 50;              // percent
    std::shared_ptr<Mtl> material;
    float probability = 100;
    Point3 colorId;    // red, green, blue in 0..1
    int radius = 100;  // percent
    int specId = -1;   // stable id of the row, -1 until assigned
    std::string customObjectName;

    friend bool operator==(const TSpecEntry&, const TSpecEntry&) = default;
};

class TTreeSpecList : public PBStore {
public:
    // The columns by their place, in the order in which rows are read and written.
    enum Column : int {
        kName,
        kKind,
        kTemplateId,
        kTemplateName,
        kCustomObject,
        kUseMeshDimensions,
        kWidth,
        kHeight,
        kScale,
        kZOffset,
        kCenter,
        kMaterial,
        kProbability,
        kColorId,
        kRadius,
        kSpecId,
        kCustomObjectName,
        kNumColumns,
    };

    explicit TTreeSpecList(std::shared_ptr<IParamBlock2> geomBlock);

    // Row i at time t; rows beyond the end are made. A black colour id is replaced by a drawn one,
    // every component in [0.2, 1), which is written back without undo and without a message.
    TSpecEntry ReadRow(int i, TimeValue t, TNuRandom& generator);
    // Texts are cut to kMaxText characters.
    void WriteRow(int i, const TSpecEntry& entry);
    // Appends a row and returns its index.
    int AppendRow(const TSpecEntry& entry);

    // 0 for ids below 1, else the first row with this id, or -1.
    int FindBySpecId(int id) const;

    // Keep the two columns that name the template in step: ids from names (an empty name takes that
    // of its id; one not in the catalogue is replaced by the first template, with a warning), or
    // names from ids. `templates` are the catalogue's names.
    void RefreshTemplateIds(std::span<const std::string> templates);
    void RefreshTemplateNames(std::span<const std::string> templates);
    // Notes the names of the custom objects, empty where there is none.
    void RefreshCustomObjectNames();
};

// Index of the template with exactly this name. When there is none the user is warned and the
// result is 0, the first template.
int FindTemplateByName(std::span<const std::string> templates, const std::string& name);

struct TMergeRecord {
    int sourceRow;
    int targetIndex;  // row of the target that stands for it
};
// Adds the rows of `source` to `target` and says where each went. With matchExisting a source row
// goes to the first target row of the same name and kind, where there is one. An appended row whose
// id the target already holds gets -1, and so a new id at the next build. Both may be one list.
std::vector<TMergeRecord> MergeGeometryLists(TTreeSpecList& target, TTreeSpecList& source,
                                             bool matchExisting, TNuRandom& generator);

// The generator that colour ids are drawn from: one a process, seeded when the process starts and
// whenever a scene is opened, made new or reset. Needs a current HostContext.
TNuRandom& SharedGenerator();
