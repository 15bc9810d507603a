// The fields that all materials, all texture maps and all modifiers have: numbers 1 to 9 of theirs.
#pragma once

#include "host/scene/derived_object.h"
#include "host/scene/material.h"
#include "host/storage/field_reader.h"

template <class Fields>
void VisitMtl(Fields& fields, Mtl& mtl) {
    fields(1, mtl.name);
}

template <class Fields>
void VisitTexmap(Fields& fields, Texmap& map) {
    fields(1, map.name);
    fields(2, map.channel);
    fields(3, map.tiling);
    fields(4, map.offset);
    fields.Own(
        5, [&map](FieldWriter& out) { out.Put(map.RotationDegrees()); },
        [&map](FieldReader& in) {
            float degrees = 0;
            in.Get(degrees);
            map.SetRotation(degrees);
        });
}

template <class Fields>
void VisitModifier(Fields& fields, Modifier& modifier) {
    fields(1, modifier.enabled);
}
