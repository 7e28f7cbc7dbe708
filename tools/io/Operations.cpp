#include "tools/io/Operations.h"

#include <new>

#include "tools/cli/ExitCode.h"
#include "tools/cli/Suggestion.h"

namespace tool {

namespace {

std::string textOf(bool isMade, const DibBytes& bytes) {
    if (!isMade) throw std::bad_alloc();
    return {reinterpret_cast<const char*>(bytes.data), bytes.size};
}

template <class Parse>
DibChain parsed(const std::string& text, const Parse& parse) {
    DibChain chain;
    DibOperationResult result;
    if (parse(text.c_str(), &chain, &result)) return chain;
    const bool isUnknown = result.operation == nullptr && result.suggestion == nullptr;
    throw usageFailure(result.reason + std::string(isUnknown ? "; `dib ops` lists them" : ""));
}

}  // namespace

const DibOperation& operationNamed(const std::string& name) {
    if (const DibOperation* operation = DibFindOperation(name.c_str())) return *operation;
    throw usageFailure("no operation '" + name + "'" +
                       suggestion(name, namesOf(operations()), "; `dib ops` lists them"));
}

std::string description(const DibOperation& operation, DibDescription form) {
    DibBytes bytes;
    return textOf(DibDescribeOperation(&operation, form, &bytes), bytes);
}

std::string descriptions(DibDescription form) {
    DibBytes bytes;
    return textOf(DibDescribeOperations(form, &bytes), bytes);
}

std::string constraints(const DibParameter& parameter) {
    DibBytes bytes;
    return textOf(DibDescribeParameter(&parameter, &bytes), bytes);
}

std::string callText(const DibStep& step, const DibStream& image) {
    DibBytes bytes;
    return textOf(DibDescribeCall(&step, &image, &bytes), bytes);
}

DibChain parseStep(const std::string& text) { return parsed(text, DibParseStep); }

DibChain parseChain(const std::string& text) { return parsed(text, DibParseChain); }

}  // namespace tool
