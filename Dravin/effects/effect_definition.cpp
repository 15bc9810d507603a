#include "Dravin/effects/effect_definition.h"

#include <algorithm>

#include <fmt/format.h>
#include <pugixml.hpp>

#include "Dravin/effects/tavuvm_expr/language.h"
#include "host/base/text.h"

namespace {

// A document cannot hold a NUL; the replacement character in its place is a fault of the program
// just as well, where cutting the text there would hide it.
std::string WithoutNul(std::string text) {
    for (size_t at = 0; (at = text.find('\0', at)) != std::string::npos;)
        text.replace(at, 1, "\xEF\xBF\xBD");
    return text;
}

constexpr int kMaxDepth = 256;

struct DepthLimit : pugi::xml_tree_walker {
    bool for_each(pugi::xml_node&) override { return depth() <= kMaxDepth; }
};

// Text parts and CDATA sections of a node, joined.
std::string TextOf(pugi::xml_node node) {
    std::string text;
    for (pugi::xml_node part : node)
        if (part.type() == pugi::node_pcdata || part.type() == pugi::node_cdata)
            text += part.value();
    return text;
}

// Prose may be broken and indented like the rest of the file: white space counts as one blank.
std::string ProseOf(pugi::xml_node node) {
    std::string prose;
    for (char c : TextOf(node)) {
        bool isBlank = c == ' ' || c == '\t' || c == '\n' || c == '\r';
        if (!isBlank)
            prose += c;
        else if (!prose.empty() && prose.back() != ' ')
            prose += ' ';
    }
    if (!prose.empty() && prose.back() == ' ') prose.pop_back();
    return prose;
}

TEffectParameterDefinition ReadParameter(pugi::xml_node node) {
    TEffectParameterDefinition p;
    p.name = node.attribute("name").value();
    p.kind = node.attribute("kind").as_string("real");
    p.value = node.attribute("value").value();
    p.min = node.attribute("min").value();
    p.max = node.attribute("max").value();
    p.limit = node.attribute("limit").as_bool();
    p.description = ProseOf(node);
    return p;
}

void WriteParameter(pugi::xml_node effect, const TEffectParameterDefinition& p) {
    pugi::xml_node node = effect.append_child("parameter");
    auto write = [&](const char* name, const std::string& text) {
        if (!text.empty()) node.append_attribute(name) = text.c_str();
    };
    write("name", p.name);
    write("kind", p.kind);
    write("value", p.value);
    write("min", p.min);
    write("max", p.max);
    if (p.limit) node.append_attribute("limit") = 1;
    if (!p.description.empty()) node.text() = p.description.c_str();
}

bool Fail(std::string* error, std::string text) {
    if (error) *error = std::move(text);
    return false;
}

bool LoadDocument(std::string_view xml, pugi::xml_document& document, std::string* error) {
    pugi::xml_parse_result result = document.load_buffer(
        xml.data(), xml.size(), pugi::parse_full | pugi::parse_ws_pcdata, pugi::encoding_utf8);
    if (!result)
        return Fail(error,
                    fmt::format("line {}: not well-formed XML: {}",
                                1 + std::count(xml.begin(), xml.begin() + result.offset, '\n'),
                                result.description()));
    for (pugi::xml_node node : document)
        if (node.type() == pugi::node_doctype)
            return Fail(error, "a document type declaration is not allowed");
    DepthLimit limit;
    if (!document.traverse(limit))
        return Fail(error, fmt::format("elements are nested more than {} deep", kMaxDepth));
    return true;
}

}  // namespace

std::string TooLargeEffect(const std::string& file, uint64_t bytes) {
    return fmt::format(
        "{}: {} bytes, an effect has {} at most; split it into several, no option raises this",
        file, FormatGrouped(int64_t(bytes)), FormatGrouped(int64_t(kMaxEffectBytes)));
}

std::optional<TEffectDefinition> ReadEffectDefinition(std::string_view xml, std::string* error) {
    pugi::xml_document document;
    if (!LoadDocument(xml, document, error)) return std::nullopt;
    pugi::xml_node root = document.document_element();
    if (std::string_view(root.name()) != "effects") {
        Fail(error,
             fmt::format("expected the root element \"effects\", found \"{}\"", root.name()));
        return std::nullopt;
    }
    pugi::xml_node effect = root.child("effect");
    TEffectDefinition definition;
    definition.version = effect.attribute("version").as_int(1);
    definition.title = TextOf(effect.child("title"));
    definition.description = ProseOf(effect.child("description"));
    definition.expression = TextOf(effect.child("expression"));
    for (pugi::xml_node node : effect.children("parameter"))
        definition.parameters.push_back(ReadParameter(node));
    return definition;
}

const TEffectParameterDefinition* FindParameter(const TEffectDefinition& definition,
                                                std::string_view name) {
    for (const TEffectParameterDefinition& p : definition.parameters)
        if (tavuvm_expr::folded(p.name) == tavuvm_expr::folded(name)) return &p;
    return nullptr;
}

std::vector<std::string> ParameterNames(const TEffectDefinition& definition) {
    std::vector<std::string> names;
    for (const TEffectParameterDefinition& p : definition.parameters) names.push_back(p.name);
    return names;
}

std::string WriteEffectDefinition(const TEffectDefinition& definition) {
    pugi::xml_document document;
    pugi::xml_node effect = document.append_child("effects").append_child("effect");
    effect.append_attribute("version") = definition.version;
    effect.append_child("expression").text() = WithoutNul(definition.expression).c_str();
    effect.append_child("title").text() = definition.title.c_str();
    if (!definition.description.empty())
        effect.append_child("description").text() = definition.description.c_str();
    for (const TEffectParameterDefinition& p : definition.parameters) WriteParameter(effect, p);
    // A bare carriage return would come back as a line feed.
    struct Writer : pugi::xml_writer {
        std::string text;
        void write(const void* data, size_t size) override {
            for (char c : std::string_view(static_cast<const char*>(data), size))
                c == '\r' ? text += "&#13;" : text += c;
        }
    } writer;
    document.save(writer, "", pugi::format_raw | pugi::format_no_declaration);
    return writer.text;
}

std::string WrapEffectProgram(const std::string& program, const std::string& title) {
    TEffectDefinition definition;
    definition.expression = program;
    definition.title = title;
    return WriteEffectDefinition(definition);
}

bool IsEffectDefinition(std::string_view text) {
    size_t first = text.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
    return first != text.npos && text[first] == '<';
}
