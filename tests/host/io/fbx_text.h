// Small FBX files as text: a triangle, one wide and two high, y up, in metres, and what moves it.
#pragma once

#include <string>
#include <vector>

#include <fmt/format.h>

class FbxText {
public:
    static constexpr int64_t kSecond = 46186158000;  // in the format's ticks
    static constexpr int kMesh = 100, kModel = 200;

    FbxText() {
        m_objects = R"(
    Geometry: 100, "Geometry::tri", "Mesh" {
        Vertices: *9 { a: 0,0,0,1,0,0,0,2,0 }
        PolygonVertexIndex: *3 { a: 0,1,-3 }
    }
    Model: 200, "Model::tri", "Mesh" { Version: 232 }
)";
        Connect("OO", kModel, 0);
        Connect("OO", kMesh, kModel);
    }

    void Object(const std::string& text) { m_objects += "    " + text + "\n"; }
    void Connect(const char* kind, int child, int parent, const std::string& property = {}) {
        m_connections += fmt::format("    C: \"{}\",{},{}{}\n", kind, child, parent,
                                     property.empty() ? "" : ", \"" + property + "\"");
    }
    // A new animation of one second.
    void Animation(const std::string& name) {
        int stack = m_next++;
        m_layer = m_next++;
        Object(fmt::format(R"(AnimationStack: {}, "AnimStack::{}", "" {{
        Properties70:  {{ P: "LocalStop", "KTime", "Time", "",{} }} }})",
                           stack, name, kSecond));
        Object(fmt::format(R"(AnimationLayer: {}, "AnimLayer::base", "" {{ }})", m_layer));
        Connect("OO", m_layer, stack);
    }
    // Keys at 0 and 1 second for "d|X" and the like of a property of an object.
    void Curve(int object, const std::string& property, const std::string& part, double from,
               double to) {
        int node = m_next++, curve = m_next++;
        Object(fmt::format(R"(AnimationCurveNode: {}, "AnimCurveNode::N", "" {{
        Properties70:  {{ P: "d|X", "Number", "", "A",0 }} }})",
                           node));
        Object(fmt::format(R"(AnimationCurve: {}, "AnimCurve::", "" {{
        KeyTime: *2 {{ a: 0,{} }}
        KeyValueFloat: *2 {{ a: {},{} }} }})",
                           curve, kSecond, from, to));
        Connect("OO", node, m_layer);
        Connect("OP", node, object, property);
        Connect("OP", curve, node, part);
    }

    std::string File() const {
        return R"(; FBX 7.4.0 project file
FBXHeaderExtension:  { FBXHeaderVersion: 1003
    FBXVersion: 7400 }
GlobalSettings:  { Version: 1000
    Properties70:  {
        P: "UpAxis", "int", "Integer", "",1
        P: "UnitScaleFactor", "double", "Number", "",100
    } }
Objects:  {)" + m_objects +
               "}\nConnections:  {\n" + m_connections + "}\n";
    }

private:
    std::string m_objects, m_connections;
    int m_layer = 0, m_next = 1000;
};
