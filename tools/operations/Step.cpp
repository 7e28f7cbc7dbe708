#include <algorithm>
#include <optional>

#include "tools/cli/ExitCode.h"
#include "tools/cli/Suggestion.h"
#include "tools/operations/Operations.h"

namespace tool {

namespace {

// Splits at commas; a backslash keeps the next character from being one.
std::vector<std::string> splitAtCommas(std::string_view text) {
    std::vector<std::string> parts(1);
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == ',') {
            parts.emplace_back();
        } else {
            if (text[i] == '\\' && i + 1 < text.size()) ++i;
            parts.back() += text[i];
        }
    }
    return parts;
}

// Gathers the values of one call, each parameter once.
class Call {
public:
    explicit Call(const Operation& operation) : operation_(operation), texts_(operation.parameters.size()) {}

    void take(const std::string& part) {
        const std::size_t equals = part.find('=');
        if (equals != std::string::npos) {
            if (const std::size_t index = indexOf(part.substr(0, equals)); index < texts_.size()) {
                if (texts_[index]) fail(std::string(operation_.parameters[index].name) + " is given twice");
                texts_[index] = part.substr(equals + 1);
                return;
            }
        }
        const auto free = std::ranges::find(texts_, false, [](const auto& text) { return text.has_value(); });
        const bool isPath = free != texts_.end() &&
                            operation_.parameters[static_cast<std::size_t>(free - texts_.begin())].kind ==
                                ParameterKind::Path;
        if (equals != std::string::npos && !isPath) failAtName(part.substr(0, equals));
        if (free == texts_.end()) fail("too many values, at '" + part + "'");
        *free = part;
    }

    Step finish() const {
        std::vector<Value> values;
        for (std::size_t i = 0; i < texts_.size(); ++i) {
            const Parameter& parameter = operation_.parameters[i];
            if (!texts_[i] && parameter.standard.empty()) {
                fail(std::string(parameter.name) + " is missing");
            }
            values.push_back(parseValue(parameter, texts_[i] ? *texts_[i] : std::string(parameter.standard),
                                        operation_.name));
        }
        Step step{&operation_, Arguments(operation_, std::move(values))};
        if (operation_.check != nullptr) {
            const std::string wrong = operation_.check(step.arguments);
            if (!wrong.empty()) fail(wrong);
        }
        return step;
    }

private:
    [[noreturn]] void fail(const std::string& why) const {
        throw usageFailure(std::string(operation_.name) + ": " + why + " (usage: " + synopsis(operation_) +
                           ")");
    }

    [[noreturn]] void failAtName(const std::string& name) const {
        fail("no parameter '" + name + "'" + suggestion(name, namesOf(operation_.parameters)));
    }

    std::size_t indexOf(std::string_view name) const {
        const auto& parameters = operation_.parameters;
        const auto found = std::ranges::find(parameters, name, &Parameter::name);
        return static_cast<std::size_t>(found - parameters.begin());
    }

    const Operation& operation_;
    std::vector<std::optional<std::string>> texts_;
};

}  // namespace

Step parseStep(std::string_view text) {
    const std::size_t colon = text.find(':');
    const std::string name(text.substr(0, colon));
    const Operation* operation = findOperation(name);
    if (operation == nullptr) {
        throw usageFailure("no operation '" + name + "'" +
                           suggestion(name, namesOf(operations()), "; `dib ops` lists them"));
    }
    Call call(*operation);
    if (colon != std::string_view::npos) {
        for (const std::string& part : splitAtCommas(text.substr(colon + 1))) call.take(part);
    }
    return call.finish();
}

std::vector<Step> parseSample(std::string_view text) {
    std::vector<Step> steps;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find(' ', start), text.size());
        steps.push_back(parseStep(text.substr(start, end - start)));
        start = end + 1;
    }
    return steps;
}

}  // namespace tool
