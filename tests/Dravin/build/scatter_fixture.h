// A scatter object on a plane, for tests of whole builds.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "Dravin/build/dravin_build.h"
#include "Dravin/dravin.h"
#include "Dravin/dravin_globals.h"
#include "host/base/log.h"
#include "host/geom/primitives.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"
#include "host/scene/texmaps.h"
#include "tests/Dravin/build/log_message.h"

// A 20 x 20 plane with a scatter object over it: white map, cells of one unit, one box row.
class ScatterFixture : public testing::Test {
protected:
    HostContext host;
    Scene scene;
    std::shared_ptr<TDravin> object = TDravin::Create();
    std::shared_ptr<INode> plane, box;
    INode* node = nullptr;
    std::vector<std::string> log;
    LogSink oldSink;
    int oldLevel = 0;

    void SetUp() override {
        oldSink = SetLogSink(
            [this](LogKind, const std::string& text) { log.push_back(MessageOfLine(text)); });
        oldLevel = SetLogLevel(2);
        DravinGlobals().options.forceLog = 1;  // builds for views are told, too
        plane = AddMesh("ground", MakePlane(20, 20, 1));
        box = AddMesh("box", MakeBox(2, 1, 3, 1));
        node = scene.AddNode("scatter", object);
        object->Block(kSurfaceParams).Append(surfaceParams::kSurflist, Target(plane));
        Set(kDistParams, distParams::kPixelsX, 10);
        Set(kDistParams, distParams::kPixelsY, 10);
        Set(kDistParams, distParams::kDistmap, White());
        AddRow(box);
    }
    void TearDown() override {
        SetLogSink(oldSink);
        SetLogLevel(oldLevel);
    }

    std::shared_ptr<INode> AddMesh(const std::string& name, Mesh mesh) {
        auto added = INode::Create(
            name, std::make_shared<TriObject>(std::make_shared<Mesh>(std::move(mesh))));
        scene.AddNode(added);
        return added;
    }
    static ParamValue Target(std::shared_ptr<ReferenceTarget> target) { return target; }
    static std::shared_ptr<Texmap> White() { return std::make_shared<ColorTex>(); }
    template <class T>
    void Set(DravinBlockId block, ParamID id, const T& value) {
        object->Block(block).SetValue(id, 0, value);
    }
    void AddRow(std::shared_ptr<INode> source) {
        TTreeSpecList rows(
            std::static_pointer_cast<IParamBlock2>(object->Block(kGeomParams).shared_from_this()));
        TSpecEntry entry;
        entry.name = "row";
        entry.kind = kGeomCustom;
        entry.customObject = source;
        rows.AppendRow(entry);
    }
    // Another scatter object with the same ground, map and row.
    std::pair<std::shared_ptr<TDravin>, std::shared_ptr<INode>> AddScatter(
        const std::string& name) {
        auto other = TDravin::Create();
        std::shared_ptr<INode> otherNode = INode::Create(name, other);
        scene.AddNode(otherNode);
        other->Block(kSurfaceParams).Append(surfaceParams::kSurflist, Target(plane));
        for (ParamID id : {distParams::kPixelsX, distParams::kPixelsY})
            other->Block(kDistParams).SetValue(id, 0, 10);
        other->Block(kDistParams).SetValue(distParams::kDistmap, 0, White());
        std::swap(object, other);
        AddRow(box);
        std::swap(object, other);
        return {other, otherNode};
    }
    // Adds an area row whose other lists stay at their defaults.
    static void AddArea(TDravin& to, int type, std::shared_ptr<INode> source, bool exclude) {
        using namespace areaParams;
        IParamBlock2& rows = to.Block(kAreaParams);
        for (ParamID id : {kArnamelist, kPfAractivelist, kArnodelist, kArtypelist, kArincexclist,
                           kArobscalelist})
            rows.Append(id);
        int row = rows.Count(kArnamelist) - 1;
        rows.SetValue(kArnodelist, 0, std::static_pointer_cast<ReferenceTarget>(source), row);
        rows.SetValue(kArtypelist, 0, type, row);
        rows.SetValue(kArincexclist, 0, int(exclude), row);
        rows.SetValue(kArobscalelist, 0, 100.0f, row);
    }
    const TDravinBuild& Run(TBuildFlags flags = {}) {
        object->Build().BuildMesh(0, flags);
        return object->Build();
    }
    TBuildFlags Render() const {
        TBuildFlags flags;
        flags.render = true;
        return flags;
    }
    bool Logged(const std::string& text) const {
        return std::find(log.begin(), log.end(), text) != log.end();
    }
};
