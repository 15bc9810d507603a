// The row forms of a scatter object's lists, and its curves and items.
//
// Readers are called when all nodes, maps and materials exist; they fail through the values they
// are given. Writers return null for an empty list; `ids` are the lists that a row form stands for.
#pragma once

#include "Dravin/dravin.h"
#include "Dravin/scene/row_form.h"

std::span<const ParamID> GeometryRowIds();
void ReadGeometryRows(TDravin& object, const DescriptionValue& rows,
                      const DescriptionContext& context);
nlohmann::ordered_json WriteGeometryRows(const TDravin& object, const DescriptionWriter& writer);

std::span<const ParamID> AreaRowIds();
// What a new row of areas holds there; none: the declared default.
std::optional<ParamValue> FirstAreaValue(ParamID id);
// What depends on the kind of a new area: objects exclude, other scatter objects are rastered
// finer.
bool ExcludesAtFirst(int type);
int FirstResolution(int type);
void ReadAreaRows(TDravin& object, const DescriptionValue& rows, const DescriptionContext& context);
nlohmann::ordered_json WriteAreaRows(const TDravin& object, const DescriptionWriter& writer);

std::span<const ParamID> EffectRowIds();
// Whether rows have a name for what each effect parameter is.
bool HasKnownParameterKinds(const TDravin& object);
void ReadEffectRows(TDravin& object, const DescriptionValue& rows,
                    const DescriptionContext& context);
nlohmann::ordered_json WriteEffectRows(const TDravin& object, const DescriptionWriter& writer);

// One curve: points, or a pair of numbers for a straight line.
std::vector<CurvePoint> ReadCurvePoints(const DescriptionValue& value);
nlohmann::ordered_json WriteCurvePoints(const std::vector<CurvePoint>& points);

void ReadCurves(TDravin& object, const DescriptionValue& curves);
nlohmann::ordered_json WriteCurves(const TDravin& object);
void ReadItems(TDravin& object, const DescriptionValue& items);
nlohmann::ordered_json WriteItems(const TDravin& object);

// Changes of single generated items, after the rows of the geometry list, which they may name.
void ReadDeltas(TDravin& object, const DescriptionValue& list, const DescriptionContext& context);
nlohmann::ordered_json WriteDeltas(const TDravin& object, const DescriptionWriter& writer);

// Nodes that items were turned into, by name; names of nodes that are not there are left out with a
// warning.
void ReadInstances(TDravin& object, const DescriptionValue& names,
                   const DescriptionContext& context);
nlohmann::ordered_json WriteInstances(const TDravin& object, const DescriptionWriter& writer);
