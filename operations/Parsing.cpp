// Steps and chains from their text.
#include <algorithm>
#include <cstring>
#include <optional>

#include "dib/Numbers.h"
#include "operations/Descriptions.h"
#include "operations/Operations.h"
#include "operations/Suggestion.h"

namespace operations {

namespace {

constexpr std::string_view kWhiteSpace = " \t\r\n\v\f";

// The position of the next of the characters without a backslash before it, or of the end.
std::size_t findSeparator(std::string_view text, std::size_t from, std::string_view separators) {
    for (; from < text.size() && separators.find(text[from]) == std::string_view::npos; ++from) {
        if (text[from] == '\\' && from + 1 < text.size()) ++from;
    }
    return std::min(from, text.size());
}

std::string withoutBackslashes(std::string_view text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 1 < text.size()) ++i;
        plain += text[i];
    }
    return plain;
}

using Texts = std::vector<std::optional<std::string>>;

[[noreturn]] void fail(const Operation& operation, const std::string& why,
                       const DibParameter* parameter = nullptr, const char* suggestion = nullptr) {
    throw Refusal{DIB_ERROR_INVALID,
                  why + didYouMean(suggestion) + " (usage: " + synopsis(operation.info) + ")", parameter,
                  suggestion};
}

// Stores one value of a call, each parameter once.
void take(const std::string& part, const Operation& operation, Texts& texts) {
    const auto parameters = DibList(operation.info.parameters);
    const std::size_t equals = part.find('=');
    if (equals != std::string::npos) {
        for (std::size_t i = 0; i < parameters.size(); ++i) {
            if (part.compare(0, equals, parameters[i]->name) != 0) continue;
            if (texts[i])
                fail(operation, std::string(parameters[i]->name) + " is given twice", parameters[i]);
            texts[i] = part.substr(equals + 1);
            return;
        }
    }
    std::size_t free = 0;
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        const bool isSwitch = parameters[i]->kind == DIB_PARAMETER_SWITCH;
        if (isSwitch && part == parameters[i]->name && !texts[i]) {
            texts[i] = "yes";
            return;
        }
        // Values without a name never set a switch.
        if (free == i && (texts[i] || isSwitch)) ++free;
    }
    const bool mayHoldEquals = free < parameters.size() && (parameters[free]->kind == DIB_PARAMETER_PATH ||
                                                            parameters[free]->kind == DIB_PARAMETER_TEXT);
    if (equals != std::string::npos && !mayHoldEquals) {
        const std::string name = part.substr(0, equals);
        fail(operation, "no parameter " + quoted(name), nullptr, nearestName(name, parameters));
    }
    if (free == parameters.size()) fail(operation, "too many values, at " + quoted(part));
    texts[free] = part;
}

Arguments argumentsOf(const Operation& operation, const Texts& texts) {
    const auto parameters = DibList(operation.info.parameters);
    std::vector<Value> values;
    values.reserve(parameters.size());
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        const DibParameter& parameter = *parameters[i];
        if (!texts[i] && parameter.standard == nullptr)
            fail(operation, std::string(parameter.name) + " is missing", &parameter);
        values.push_back(texts[i] ? readValue(parameter, *texts[i])
                                  : readValue(parameter, parameter.standard));
    }
    Arguments arguments(operation, std::move(values));
    if (operation.check != nullptr) {
        const std::string wrong = operation.check(arguments);
        if (!wrong.empty()) fail(operation, wrong);
    }
    return arguments;
}

// The row of an operation, which the result names from then on.
const Operation& chosen(const DibOperation* operation, DibOperationResult& result) {
    for (const Area& area : areas()) {
        for (const Operation& row : area) {
            if (&row.info != operation) continue;
            result.operation = operation;
            return row;
        }
    }
    throw Refusal{DIB_ERROR_INVALID, "an operation is not in the table"};
}

// Copies steps into the block of a chain: the steps, then the pointers to their values, then the texts.
void pack(const std::vector<Arguments>& steps, DibChain& chain) {
    std::size_t values = 0;
    std::size_t letters = 0;
    for (const Arguments& step : steps) {
        values += step.values().size();
        for (const Value& value : step.values()) letters += value.text.size() + 1;
    }
    if (steps.empty()) return;
    auto* bytes = static_cast<char*>(
        std::malloc(steps.size() * sizeof(DibStep) + values * sizeof(const char*) + letters));
    if (bytes == nullptr) throw std::bad_alloc();
    chain.steps = reinterpret_cast<DibStep*>(bytes);
    chain.stepCount = dib::asInt(steps.size());
    auto* place = reinterpret_cast<const char**>(bytes + steps.size() * sizeof(DibStep));
    char* text = reinterpret_cast<char*>(place + values);
    for (std::size_t i = 0; i < steps.size(); ++i) {
        chain.steps[i] = {&steps[i].operation().info, place};
        for (const Value& value : steps[i].values()) {
            *place++ = static_cast<const char*>(std::memcpy(text, value.text.c_str(), value.text.size() + 1));
            text += value.text.size() + 1;
        }
    }
}

// Parses a text by `parse` into a chain.
template <class Parse>
bool parseInto(const char* text, DibChain* chain, DibOperationResult* result, const Parse& parse) {
    if (chain != nullptr) *chain = DibChain();
    return runCall(result, [&](DibOperationResult& out) {
        if (text == nullptr || chain == nullptr) throw Refusal{DIB_ERROR_INVALID, "there is no chain"};
        pack(parse(text, out), *chain);
        out.step = -1;
        out.operation = nullptr;
        return true;
    });
}

}  // namespace

Arguments parseStep(std::string_view text, DibOperationResult& result) {
    const std::size_t colon = std::min(text.find(':'), text.size());
    const std::string name(text.substr(0, colon));
    const DibOperation* operation = DibFindOperation(name.c_str());
    if (operation == nullptr) {
        const char* suggestion = nearestName(name, DibList(DibGetOperations()));
        throw Refusal{DIB_ERROR_INVALID, "no operation " + quoted(name) + didYouMean(suggestion), nullptr,
                      suggestion};
    }
    const Operation& row = chosen(operation, result);
    Texts texts(DibList(operation->parameters).size());
    for (std::size_t start = colon + 1; colon < text.size() && start <= text.size();) {
        const std::size_t end = findSeparator(text, start, ",");
        take(withoutBackslashes(text.substr(start, end - start)), row, texts);
        start = end + 1;
    }
    return argumentsOf(row, texts);
}

std::vector<Arguments> parseChain(std::string_view text, DibOperationResult& result) {
    std::vector<Arguments> steps;
    for (std::size_t start = 0;;) {
        start = std::min(text.find_first_not_of(kWhiteSpace, start), text.size());
        if (start == text.size()) return steps;
        const std::size_t end = findSeparator(text, start, kWhiteSpace);
        result.step = dib::asInt(steps.size());
        result.operation = nullptr;
        steps.push_back(parseStep(text.substr(start, end - start), result));
        start = end;
    }
}

Arguments argumentsOf(const DibStep& step, DibOperationResult& result) {
    const Operation& row = chosen(step.operation, result);
    Texts texts(DibList(step.operation->parameters).size());
    for (std::size_t i = 0; i < texts.size() && step.values != nullptr; ++i) {
        if (step.values[i] != nullptr) texts[i] = step.values[i];
    }
    return argumentsOf(row, texts);
}

}  // namespace operations

bool DibParseChain(const char* text, DibChain* chain, DibOperationResult* result) {
    return operations::parseInto(text, chain, result, operations::parseChain);
}

bool DibParseStep(const char* text, DibChain* chain, DibOperationResult* result) {
    return operations::parseInto(text, chain, result, [](const char* step, DibOperationResult& out) {
        out.step = 0;
        return std::vector<operations::Arguments>{operations::parseStep(step, out)};
    });
}
