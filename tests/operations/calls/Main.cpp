// Writes the source of sampleCalls() from the table of operations.
#include <DibOperation.h>

#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <string>

#include "tests/operations/SampleCalls.h"

namespace {

void need(bool isDone, const DibOperationResult& result) {
    if (!isDone) throw std::runtime_error(result.reason);
}

// What comes before the last step prepares the picture, so the calls depend on what it makes of it.
std::string callsOf(const char* sample) {
    DibStream image;
    DibOperationResult result;
    need(image.Create(operations_test::kCalledWidth, operations_test::kCalledHeight, 24), result);
    DibChain chain;
    need(DibParseChain(sample, &chain, &result), result);
    std::string calls;
    for (int i = 0; i < chain.stepCount; ++i) {
        DibBytes text;
        need(DibDescribeCall(&chain.steps[i], &image, &text, &result), result);
        calls += "        " + std::string(reinterpret_cast<const char*>(text.data), text.size) + "\n";
        const bool isLast = i + 1 == chain.stepCount;
        need(isLast || DibApply(&image, &chain.steps[i], 1, nullptr, &result), result);
    }
    return calls;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) return 2;
    std::ofstream source(arguments[1]);
    source << "#include <DibEffect.h>\n#include <DibOperation.h>\n\n#include <cstdlib>\n\n#include "
              "\"tests/operations/SampleCalls.h\"\n\n"
              "namespace operations_test {\n\nstd::span<const SampleCall> sampleCalls() {\n"
              "    static const SampleCall all[] = {\n";
    for (const DibOperation* operation : DibList(DibGetOperations())) {
        for (const char* sample : operation->samples) {
            source << "        {\"" << sample << "\", [](DibStream& image) {\n"
                   << callsOf(sample) << "        }},\n";
        }
    }
    source << "    };\n    return all;\n}\n\n}  // namespace operations_test\n";
    return source.flush() ? 0 : 1;
}
