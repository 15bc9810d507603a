// Random edits of a scatter object: curves, parameters, rows, items and their changes, undone and
// redone, give the same scene files.
#include "tests/Dravin/storage/object_file.h"
#include "tests/host/scene/edit_sequences.h"

namespace {

class RandomEdits : public ObjectFile {
protected:
    class Author : public EditAuthor {
    public:
        Author(RandomEdits& test, uint32_t seed)
            : EditAuthor(test.scene, seed), m_test(test), m_object(*test.object) {}

        std::string State() const override { return m_test.Save(m_scene); }

        void Edit() override {
            switch (Roll(5)) {
                case 0:
                    return EditCurves();
                case 1:
                    return EditItems();
                case 2:
                    return EditList();
                default:
                    return EditParameter();
            }
        }

    private:
        IParamBlock2& AnyBlock() { return m_object.Block(DravinBlockId(Roll(kNumDravinBlocks))); }
        const ParamDef& AnyParam(const IParamBlock2& block) {
            const auto& params = block.GetDesc().params;
            return params[size_t(Roll(int(params.size())))];
        }

        void EditCurves() {
            constexpr DravinSlot kSlots[] = {kSlotAreaDensityCurve, kSlotSurfaceCurves,
                                             kSlotRotProbCurve, kSlotEffectCurves};
            TCurveSet& set = *m_object.CurveSet(kSlots[Roll(4)]);
            if (set.GetNumCurves() == 0 || Roll(4) == 0) return set.SetNumCurves(Roll(4));
            if (Roll(4) == 0) {
                set.yRange = {0, float(1 + Roll(3))};
                return;
            }
            std::vector<CurvePoint> points = set.Points(Roll(set.GetNumCurves()));
            if (points.empty() || Roll(2))
                points.push_back({float(Roll(9)), float(Roll(9))});
            else
                points[size_t(Roll(int(points.size())))].py = float(Roll(9));
            set.SetPoints(Roll(set.GetNumCurves()), std::move(points));
        }

        void EditItems() {
            if (Roll(2)) {
                TItemDelta delta;
                delta.id.seed = uint32_t(Roll(3));
                delta.move = {float(1 + Roll(4)), 0, 0};
                return m_object.SetDelta(delta);
            }
            std::vector<TStoredItem> items = m_object.StoredItems();
            if (items.size() > 2) items.pop_back();
            TStoredItem item;
            item.seed = uint32_t(Roll(1000));
            items.insert(items.begin(), item);
            m_object.SetStoredItems(std::move(items));
        }

        void EditList() {
            IParamBlock2& block = AnyBlock();
            const ParamDef& def = AnyParam(block);
            if (!def.list) return;
            AccessorSuspender quiet(block);
            int count = block.Count(def.id);
            if (count == 0 || Roll(2))
                block.Append(def.id);
            else
                block.Delete(def.id, Roll(count));
        }

        void EditParameter() {
            IParamBlock2& block = AnyBlock();
            const ParamDef& def = AnyParam(block);
            if (block.Count(def.id) == 0 || IsReferenceType(def.type)) return;
            AccessorSuspender quiet(block);
            int index = Roll(block.Count(def.id));
            if (def.animatable && IsNumberType(def.type) && Roll(3) == 0)
                block.SetKeys(def.id, Roll(2) ? Keys(def) : std::vector<ParamKey>{}, index);
            else
                block.SetValue(def.id, 0, Value(def), index);
            if (Roll(200) == 0) block.ResetAll();
        }
        ParamValue Value(const ParamDef& def) {
            ParamValue value = ZeroValue(def.type);
            if (auto* number = std::get_if<float>(&value)) *number = float(Roll(5));
            if (auto* number = std::get_if<int32_t>(&value)) *number = Roll(2);
            if (auto* text = std::get_if<std::string>(&value)) *text = Named("t", 3);
            if (auto* point = std::get_if<Point3>(&value)) *point = {float(Roll(3)), 0, 0};
            if (auto* color = std::get_if<Color>(&value)) *color = {float(Roll(3)), 0, 0};
            return value;
        }
        std::vector<ParamKey> Keys(const ParamDef& def) {
            return {{0, Value(def)}, {100, Value(def)}};
        }

        RandomEdits& m_test;
        TDravin& m_object;
    };
};

}  // namespace

TEST_F(RandomEdits, AreUndoneAndRedoneExactly) {
    int numSteps = 0, numChanges = 0;
    for (uint32_t seed = 0; seed < 500 && !HasFatalFailure(); ++seed) {
        scene.undo.Clear();
        Author author(*this, seed);
        CheckEditSequence(author, scene.undo, seed);
        numSteps += author.numSteps, numChanges += author.numChanges;
    }
    EXPECT_GT(numSteps, 500 * 7);
    EXPECT_GT(numChanges, numSteps / 10 * 8);
}
