// A reader of the text form of USD layers, written from its grammar and apart from the writer: it
// knows prims, metadata, attributes with connections, relationships, and every value type that the
// export uses, and it judges a layer by the schemas (lengths, ranges, targets).
#pragma once

#include <map>
#include <string>
#include <vector>

struct UsdAttribute {
    std::string type;  // without [] and without uniform
    bool isArray = false;
    size_t count = 0;                  // elements; 1 unless an array
    std::vector<double> numbers;       // of all elements, tuples one after the other
    std::vector<std::string> texts;    // strings, assets, tokens
    std::vector<std::string> targets;  // of a relationship or connection
    std::map<std::string, std::string> metadata;
};

struct UsdPrim {
    std::string specifier, type, name, path;
    std::map<std::string, std::string> metadata;
    std::map<std::string, UsdAttribute> attributes;
    std::vector<UsdPrim> children;

    const UsdAttribute* Find(const std::string& attribute) const;
    // The numbers of an attribute; none where it is missing.
    std::vector<double> Numbers(const std::string& attribute) const;
    std::string Text(const std::string& attribute) const;
};

struct UsdLayer {
    UsdPrim root;       // its children are the layer's prims, its metadata the layer's
    std::string error;  // what is wrong with the text or against a schema; empty: nothing

    // The prim of a path; null for none.
    const UsdPrim* At(const std::string& path) const;
};

UsdLayer ReadUsdLayer(const std::string& text);
