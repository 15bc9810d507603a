// What users do with the parameters of effects, without a window.
//
// A parameter is a row of parallel lists; the effect that it belongs to it names by id. Where the
// block has an owner with effect curves, these follow their rows. Each operation is one undo step
// and asks for new machines, when it is undone too. One thread.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Dravin/engine/falloff_curve.h"
#include "common/pbstore/pb_store.h"
#include "host/params/undo_step.h"

// One undo step of an effect operation.
class TEffectStep {
public:
    using Mark = std::function<void()>;
    TEffectStep(IParamBlock2& block, const char* name, const Mark& mark);
    ~TEffectStep();

private:
    UndoStep m_step;
    const Mark& m_mark;
};

// Asks for new machines when the open undo step is undone or redone, too.
void RecordMark(IParamBlock2& block, const TEffectStep::Mark& mark);

// Numbers from 0 to 32767.
using TIdDraw = std::function<int()>;
// Those of a generator that the system seeds, so that no two sessions draw the same.
int DrawForId();
// A fresh effect id: 38 characters, braces around groups of 8, 4, 4, 4 and 12 lower-case
// hexadecimal digits, each from one draw.
std::string MakeEffectId(const TIdDraw& draw = DrawForId);
// One that no element of a list of texts holds.
std::string MakeFreshId(const IParamBlock2& block, ParamID list, const TIdDraw& draw = DrawForId);

class TEffectParameters {
public:
    // mark: called after each change that needs new machines.
    TEffectParameters(std::shared_ptr<IParamBlock2> block, TEffectStep::Mark mark);

    PBStore& Rows() { return m_rows; }
    int Count() const { return m_rows.Count(); }
    // Rows of the effect with this id, in order.
    std::vector<int> RowsOf(const std::string& effectId) const;
    // Row of the parameter with this id; -1 when there is none.
    int Find(const std::string& id) const;
    // Row of an effect's parameter by its name, capitals or not; -1 when there is none.
    int FindName(const std::string& effectId, const std::string& name) const;

    // Appends a parameter with default values; the row.
    int Add(const std::string& effectId, const std::string& name, int kind);
    void Delete(const std::vector<int>& rows);
    // By one place among the parameters of its effect; false at the end.
    bool Move(int row, bool up);

    // Another kind keeps name and description.
    void SetKind(int row, int kind);
    void SetName(int row, const std::string& name);
    void SetDescription(int row, const std::string& text);
    // Of numbers: taken into the limits where these are on.
    void SetNumber(int row, double value);
    void SetLimits(int row, bool on, double min, double max);
    void SetDefault(int row, double value);
    void ResetToDefault(int row);
    double Number(int row) const;
    // Of nodes, maps and controllers; null for none.
    void SetTarget(int row, std::shared_ptr<ReferenceTarget> target);
    // Of curves: from 0 to 1. False for other kinds, or without an owner that has curves.
    bool SetCurve(int row, std::vector<CurvePoint> points);

    // Curves of the owner's set go into the texts of their rows.
    void StoreCurves();

private:
    // Does `work`, which changes rows and says which number each row had before (-1: none), and
    // brings the curves behind.
    void Rearrange(const char* name, const std::function<std::vector<int>()>& work);
    void Put(int row, ParamID id, ParamValue value, const char* name);
    ParamValue NumberValue(int row, double value) const;

    std::shared_ptr<IParamBlock2> m_block;
    PBStore m_rows;
    TEffectStep::Mark m_mark;
};
