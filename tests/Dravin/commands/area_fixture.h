// The commands on areas of a scatter object on a plane.
#pragma once

#include "Dravin/commands/area_paint.h"
#include "tests/Dravin/commands/command_fixture.h"

class AreaFixture : public CommandFixture {
protected:
    void Must(const std::string& name, const TArguments& arguments = {}) {
        TCommandResult result = Run(name, arguments);
        EXPECT_TRUE(bool(result)) << result.error;
    }
    // A dab of the brush, or what `more` makes of it.
    TCommandResult Dab(double x, double y, double radius, TArguments more = {}) {
        more["points"] = PointRows({{x, y}});
        more["radius"] = ParamInput(radius);
        return Run("area.paint", more);
    }
    IParamBlock2& Areas() { return object->Block(kAreaParams); }
    int Type(int row) { return Areas().GetInt(areaParams::kArtypelist, 0, row); }
    // An area of surfaces, which scenes have once the row was changed.
    void AddSurfaceRow() {
        Must("area.insert");
        int last = Areas().Count(areaParams::kArnamelist) - 1;
        Areas().SetValue(areaParams::kArtypelist, 0, kAreaSurface, last);
        scene.undo.Clear();
    }
    PolyShape Painted(int row = 0) {
        auto* paint =
            dynamic_cast<TPaintShape*>(Areas().GetReference(areaParams::kArpaintlist, 0, row));
        return paint ? paint->shape : PolyShape();
    }
    size_t NumItems() {
        object->Build().BuildMesh(0, {});
        return object->Build().Items().Count();
    }
};
