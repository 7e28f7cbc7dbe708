#include "tools/io/Operations.h"

#include "texts/Tables.h"
#include "tools/cli/ExitCode.h"
#include "tools/cli/Suggestion.h"

namespace tool {

namespace {

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
                       suggestion(name, namesOf(texts::operations()), "; `dib ops` lists them"));
}

DibChain parseStep(const std::string& text) { return parsed(text, DibParseStep); }

DibChain parseChain(const std::string& text) { return parsed(text, DibParseChain); }

}  // namespace tool
