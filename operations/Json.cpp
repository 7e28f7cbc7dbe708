// A row of the table as JSON. A change of what a member means raises kDibOperationSchema.
#include <cstdio>

#include "dib/Bytes.h"
#include "dib/Numbers.h"
#include "operations/Descriptions.h"
#include "operations/Operations.h"

namespace operations {

namespace {

std::string stringJson(std::string_view text) {
    std::string json = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') json += '\\';
        if (dib::byteOf(c) >= ' ') {
            json += c;
            continue;
        }
        char escape[8];
        std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
        json += escape;
    }
    return json + '"';
}

// An object, member by member, each on a line.
class Object {
public:
    explicit Object(int indent) : blanks_(dib::asSize(indent), ' ') {}

    void add(std::string_view name, const std::string& json) {
        members_ += (members_.empty() ? "\n" : ",\n") + blanks_ + "  " + stringJson(name) + ": " + json;
    }
    void addText(std::string_view name, const char* text) {
        if (text != nullptr) add(name, stringJson(text));
    }
    std::string text() const { return "{" + members_ + "\n" + blanks_ + "}"; }

private:
    std::string blanks_;
    std::string members_;
};

// The elements on lines of their own.
template <class Elements, class JsonOf>
std::string listJson(const Elements& elements, int indent, const JsonOf& jsonOf) {
    const std::string blanks(dib::asSize(indent), ' ');
    std::string json;
    for (const auto& element : elements)
        json += (json.empty() ? "\n  " : ",\n  ") + blanks + jsonOf(element, indent + 2);
    return "[" + json + (json.empty() ? "" : "\n" + blanks) + "]";
}

const char* kindName(DibParameterKind kind) {
    constexpr const char* kNames[] = {"integer", "number", "fraction", "angle", "length", "position", "size",
                                      "choice",  "flags",  "color",    "fill",  "path",   "switch",   "text"};
    return kNames[kind];
}

std::string choiceJson(const DibChoice* choice, int indent) {
    Object json(indent);
    json.addText("name", choice->name);
    json.add("value", std::to_string(choice->value));
    json.addText("help", choice->help);
    return json.text();
}

std::string parameterJson(const DibParameter* parameter, int indent) {
    Object json(indent);
    json.addText("name", parameter->name);
    json.addText("type", kindName(parameter->kind));
    json.addText("help", parameter->help);
    json.add("required", parameter->standard == nullptr ? "true" : "false");
    json.addText("default", parameter->standard);
    json.addText("unit", parameter->unit);
    if (parameter->max > parameter->min) {
        json.add("min", plainNumber(parameter->min));
        json.add("max", plainNumber(parameter->max));
    }
    json.addText("limits", constraints(*parameter).c_str());
    if (parameter->choices != nullptr)
        json.add("choices", listJson(DibList(parameter->choices), indent + 2, choiceJson));
    return json.text();
}

// The numbers of bits: [8, 24, 32].
std::string depthsJson(unsigned int depths) {
    std::string json;
    for (const int bits : {1, 4, 8, 16, 24, 32}) {
        if ((depths & 1) != 0) json += (json.empty() ? "" : ", ") + std::to_string(bits);
        depths >>= 1;
    }
    return "[" + json + "]";
}

}  // namespace

std::string jsonText(const DibOperation& operation, int indent) {
    Object json(indent);
    json.addText("name", operation.name);
    json.addText("area", operation.area);
    json.addText("help", operation.help);
    json.addText("synopsis", synopsis(operation).c_str());
    json.addText("example", operation.example);
    json.add("samples", listJson(operation.samples, indent + 2,
                                 [](const char* sample, int) { return stringJson(sample); }));
    json.add("depths", depthsJson(operation.depths));
    json.add("movesPixels", operation.movesPixels ? "true" : "false");
    json.add("parameters", listJson(DibList(operation.parameters), indent + 2, parameterJson));
    return std::string(dib::asSize(indent), ' ') + json.text();
}

}  // namespace operations
