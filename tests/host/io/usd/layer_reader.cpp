#include "tests/host/io/usd/layer_reader.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <set>
#include <stdexcept>

namespace {

// Numbers of an element.
const std::map<std::string, size_t> kWidths = {
    {"int", 1},     {"int64", 1},  {"bool", 1},    {"float", 1},     {"float2", 2},
    {"float3", 3},  {"float4", 4}, {"point3f", 3}, {"normal3f", 3},  {"color3f", 3},
    {"color4f", 4}, {"quath", 4},  {"quatf", 4},   {"matrix4d", 16}, {"texCoord2f", 2},
    {"token", 0},   {"string", 0}, {"asset", 0},   {"double", 1}};

struct Token {
    enum Kind { kWord, kNumber, kText, kPath, kSign, kEnd } kind = kEnd;
    std::string text;
};

class Parser {
public:
    explicit Parser(const std::string& text) : m_text(text) {
        Require(text.rfind("#usda 1.0\n", 0) == 0, "header");
        m_at = 10;
        Next();
    }
    void ReadLayer(UsdPrim& root) {
        if (IsSign("(")) ReadMetadata(root.metadata);
        while (m_token.kind != Token::kEnd) root.children.push_back(ReadPrim(""));
    }

private:
    [[noreturn]] void Fail(const std::string& what) const {
        auto line = std::count(m_text.begin(), m_text.begin() + std::ptrdiff_t(m_at), '\n') + 1;
        throw std::runtime_error("line " + std::to_string(line) + ": " + what + " at '" +
                                 m_token.text + "'");
    }
    void Require(bool ok, const std::string& what) const {
        if (!ok) Fail(what);
    }
    bool IsSign(const char* sign) const {
        return m_token.kind == Token::kSign && m_token.text == sign;
    }
    bool Accept(const char* sign) {
        if (!IsSign(sign)) return false;
        Next();
        return true;
    }
    void Expect(const char* sign) { Require(Accept(sign), std::string("expected ") + sign); }
    std::string Take(Token::Kind kind, const char* what) {
        Require(m_token.kind == kind, std::string("expected ") + what);
        std::string text = m_token.text;
        Next();
        return text;
    }

    void Next() {
        while (m_at < m_text.size() && std::isspace(static_cast<unsigned char>(m_text[m_at])))
            ++m_at;
        if (m_at >= m_text.size()) return void(m_token = {});
        char c = m_text[m_at];
        if (c == '"') return ReadText();
        if (c == '<') return ReadUntil('>', Token::kPath);
        if (c == '@') return ReadUntil('@', Token::kText);
        bool isSigned = c == '-' && m_at + 1 < m_text.size();
        if (std::isdigit(static_cast<unsigned char>(c)) || isSigned) return ReadNumber();
        auto isWord = [](char k) {
            return std::isalnum(static_cast<unsigned char>(k)) || k == '_' || k == ':' || k == '.';
        };
        size_t end = m_at;
        while (end < m_text.size() && isWord(m_text[end])) ++end;
        if (end > m_at) {
            m_token = {Token::kWord, m_text.substr(m_at, end - m_at)};
            m_at = end;
            return;
        }
        m_token = {Token::kSign, std::string(1, c)};
        ++m_at;
    }
    void ReadText() {
        std::string text;
        for (++m_at; m_at < m_text.size() && m_text[m_at] != '"'; ++m_at) {
            Require(m_text[m_at] != '\n', "string over lines");
            if (m_text[m_at] == '\\') {
                ++m_at;
                if (m_text[m_at] == 'n') {
                    text += '\n';
                    continue;
                }
                if (m_text[m_at] == 'x') {
                    text += char(std::stoi(m_text.substr(m_at + 1, 2), nullptr, 16));
                    m_at += 2;
                    continue;
                }
            }
            text += m_text[m_at];
        }
        ++m_at;
        m_token = {Token::kText, text};
    }
    void ReadUntil(char end, Token::Kind kind) {
        size_t close = m_text.find(end, m_at + 1);
        Require(close != std::string::npos, "unclosed");
        m_token = {kind, m_text.substr(m_at + 1, close - m_at - 1)};
        m_at = close + 1;
    }
    void ReadNumber() {
        char* end = nullptr;
        std::strtod(m_text.c_str() + m_at, &end);
        auto length = size_t(end - (m_text.c_str() + m_at));
        Require(length > 0, "number");
        m_token = {Token::kNumber, m_text.substr(m_at, length)};
        m_at += length;
    }

    // ( name = value … ), values of one word, text, number or dictionary; words before a name (list
    // edits) belong to it.
    void ReadMetadata(std::map<std::string, std::string>& metadata) {
        Expect("(");
        while (!Accept(")")) {
            std::string name = Take(Token::kWord, "a name");
            while (m_token.kind == Token::kWord)
                name.append(" ").append(Take(Token::kWord, "a name"));
            Expect("=");
            if (Accept("{")) {
                while (!Accept("}")) metadata[name] += m_token.text + " ", Next();
            } else {
                UsdAttribute value;
                ReadValue(value, 0);
                metadata[name] =
                    !value.texts.empty() ? value.texts[0] : std::to_string(value.numbers.at(0));
            }
        }
    }
    // A value of any nesting, whose leaves are joined.
    void ReadValue(UsdAttribute& value, int depth) {
        Require(depth < 4, "nesting");
        for (auto [open, close] : {std::pair{"[", "]"}, {"(", ")"}}) {
            if (!Accept(open)) continue;
            if (Accept(close)) return;
            do ReadValue(value, depth + 1);
            while (Accept(","));
            return Expect(close);
        }
        switch (m_token.kind) {
            case Token::kNumber: {
                double number = std::atof(m_token.text.c_str());
                Require(std::isfinite(number), "finite");
                value.numbers.push_back(number);
                return Next();
            }
            case Token::kText:
            case Token::kWord:
                value.texts.push_back(m_token.text);
                return Next();
            case Token::kPath:
                value.targets.push_back(m_token.text);
                return Next();
            default:
                Fail("value");
        }
    }

    UsdPrim ReadPrim(const std::string& parent) {
        UsdPrim prim;
        prim.specifier = Take(Token::kWord, "def");
        Require(prim.specifier == "def" || prim.specifier == "over", "specifier");
        if (m_token.kind == Token::kWord) prim.type = Take(Token::kWord, "a type");
        prim.name = Take(Token::kText, "a name");
        bool isIdentifier =
            !prim.name.empty() && !std::isdigit(static_cast<unsigned char>(prim.name[0]));
        for (char c : prim.name)
            isIdentifier &= (std::isalnum(static_cast<unsigned char>(c)) || c == '_') && c > 0;
        Require(isIdentifier, "identifier " + prim.name);
        prim.path = parent + "/" + prim.name;
        if (IsSign("(")) ReadMetadata(prim.metadata);
        Expect("{");
        std::set<std::string> names;
        while (!Accept("}")) {
            if (m_token.text == "def" || m_token.text == "over") {
                prim.children.push_back(ReadPrim(prim.path));
                Require(names.insert(prim.children.back().name).second, "sibling of the name");
            } else {
                ReadAttribute(prim);
            }
        }
        return prim;
    }
    void ReadAttribute(UsdPrim& prim) {
        UsdAttribute attribute;
        attribute.type = Take(Token::kWord, "a type");
        if (attribute.type == "uniform") attribute.type = Take(Token::kWord, "a type");
        bool isRelation = attribute.type == "rel";
        Require(isRelation || kWidths.count(attribute.type), "known type");
        if (Accept("[")) {
            Expect("]");
            attribute.isArray = true;
        }
        std::string name = Take(Token::kWord, "a name");
        if (Accept("=")) ReadValue(attribute, attribute.isArray ? 0 : 1);
        bool isConnection = name.ends_with(".connect");
        if (isConnection) name.resize(name.size() - 8);
        Require(isRelation || isConnection || attribute.targets.empty(), "no targets");
        if (!isRelation && !isConnection) CountElements(attribute);
        if (IsSign("(")) ReadMetadata(attribute.metadata);
        Require(prim.attributes.emplace(name, attribute).second, "attribute twice: " + name);
    }
    void CountElements(UsdAttribute& attribute) const {
        size_t width = kWidths.at(attribute.type);
        size_t leaves = width ? attribute.numbers.size() : attribute.texts.size();
        Require(leaves % std::max<size_t>(width, 1) == 0, "whole elements");
        Require((width ? attribute.texts.size() : attribute.numbers.size()) == 0, "type of value");
        attribute.count = leaves / std::max<size_t>(width, 1);
        Require(attribute.isArray || attribute.count < 2, "one value");
    }

    const std::string& m_text;
    size_t m_at = 0;
    Token m_token;
};

void Check(bool ok, const UsdPrim& prim, const std::string& what) {
    if (!ok) throw std::runtime_error(prim.path + ": " + what);
}

size_t CountOf(const UsdPrim& prim, const std::string& name) {
    const UsdAttribute* attribute = prim.Find(name);
    return attribute ? attribute->count : 0;
}

void CheckRange(const UsdPrim& prim, const std::string& name, size_t limit) {
    for (double v : prim.Numbers(name))
        Check(v >= 0 && v < double(limit), prim, name + " in range");
}

void CheckPrimvars(const UsdPrim& prim, size_t points, size_t corners) {
    for (const auto& [name, attribute] : prim.attributes) {
        bool isPrimvar =
            name == "normals" || (name.rfind("primvars:", 0) == 0 && !name.ends_with(":indices"));
        if (!isPrimvar) continue;
        std::string mode = attribute.metadata.count("interpolation")
                               ? attribute.metadata.at("interpolation")
                               : "constant";
        size_t values = attribute.count;
        if (prim.Find(name + ":indices")) {
            CheckRange(prim, name + ":indices", values);
            values = CountOf(prim, name + ":indices");
        }
        size_t wanted = mode == "vertex" ? points : mode == "faceVarying" ? corners : 1;
        Check(values == wanted, prim, name + " has a value each");
    }
}

void CheckMesh(const UsdPrim& mesh) {
    size_t points = CountOf(mesh, "points"), corners = CountOf(mesh, "faceVertexIndices");
    double sum = 0;
    for (double n : mesh.Numbers("faceVertexCounts")) sum += n;
    Check(size_t(sum) == corners, mesh, "as many indices as corners");
    CheckRange(mesh, "faceVertexIndices", points);
    CheckPrimvars(mesh, points, corners);
    std::multiset<double> shown;
    for (const UsdPrim& child : mesh.children)
        if (child.type == "GeomSubset")
            for (double f : child.Numbers("indices")) shown.insert(f);
    size_t faces = CountOf(mesh, "faceVertexCounts");
    for (size_t f = 0; f < faces && !shown.empty(); ++f)
        Check(shown.count(double(f)) == 1, mesh, "each face in one subset");
}

void CheckInstancer(const UsdPrim& prim) {
    size_t count = CountOf(prim, "protoIndices");
    for (const char* name :
         {"ids", "positions", "orientations", "orientationsf", "scales", "primvars:id"})
        Check(CountOf(prim, name) == count, prim, std::string(name) + " has one an instance");
    CheckRange(prim, "protoIndices", prim.Find("prototypes")->targets.size());
    CheckPrimvars(prim, count, count);
    for (const char* name : {"orientations", "orientationsf"}) {
        std::vector<double> q = prim.Numbers(name);
        for (size_t i = 0; i + 3 < q.size(); i += 4)
            Check(std::abs(std::hypot(std::hypot(q[i], q[i + 1]), std::hypot(q[i + 2], q[i + 3])) -
                           1) < 2e-5,
                  prim, std::string(name) + " are of unit length");
    }
    std::vector<double> ids = prim.Numbers("ids");
    Check(std::set<double>(ids.begin(), ids.end()).size() == count, prim, "ids differ");
}

void CheckPrim(const UsdLayer& layer, const UsdPrim& prim) {
    for (const auto& [name, attribute] : prim.attributes)
        for (const std::string& target : attribute.targets) {
            std::string path = target.substr(0, target.find('.'));
            const UsdPrim* found = layer.At(path);
            Check(found != nullptr, prim, name + " names " + target);
            if (path != target)
                Check(found->Find(target.substr(path.size() + 1)), prim, "output " + target);
        }
    if (prim.type == "Mesh") CheckMesh(prim);
    if (prim.type == "PointInstancer") CheckInstancer(prim);
    for (const UsdPrim& child : prim.children) CheckPrim(layer, child);
}

}  // namespace

const UsdAttribute* UsdPrim::Find(const std::string& attribute) const {
    auto found = attributes.find(attribute);
    return found == attributes.end() ? nullptr : &found->second;
}

std::vector<double> UsdPrim::Numbers(const std::string& attribute) const {
    const UsdAttribute* found = Find(attribute);
    return found ? found->numbers : std::vector<double>();
}

std::string UsdPrim::Text(const std::string& attribute) const {
    const UsdAttribute* found = Find(attribute);
    return found && !found->texts.empty() ? found->texts[0] : "";
}

const UsdPrim* UsdLayer::At(const std::string& path) const {
    std::function<const UsdPrim*(const UsdPrim&)> find =
        [&](const UsdPrim& prim) -> const UsdPrim* {
        if (prim.path == path) return &prim;
        for (const UsdPrim& child : prim.children)
            if (const UsdPrim* found = find(child)) return found;
        return nullptr;
    };
    return path.empty() ? nullptr : find(root);
}

UsdLayer ReadUsdLayer(const std::string& text) {
    UsdLayer layer;
    try {
        Parser(text).ReadLayer(layer.root);
        for (const UsdPrim& prim : layer.root.children) CheckPrim(layer, prim);
    } catch (const std::exception& failure) {
        layer.error = failure.what();
    }
    return layer;
}
