// Lists the operations with their parameters, as a program does that makes menus and dialogs of them.
#include <DibOperation.h>

#include <cstdio>
#include <cstring>

int main(int argc, char** argv) {
    const char* area = "";
    for (const DibOperation* operation : DibList(DibGetOperations())) {
        if (std::strcmp(area, operation->area) != 0) std::printf("%s\n", area = operation->area);
        std::printf("    %s\n", operation->name);
        for (const DibParameter* parameter : DibList(operation->parameters)) {
            DibBytes range;
            if (!DibDescribeParameter(parameter, &range)) return 1;
            std::printf("        %-12s %.*s\n", parameter->name, static_cast<int>(range.size),
                        reinterpret_cast<const char*>(range.data));
        }
    }
    // A value out of its range is refused before anything happens, with a reason for the user.
    DibChain chain;
    DibOperationResult result;
    if (DibParseChain("gaussian:-3", &chain, &result)) return 1;
    std::printf("gaussian:-3 is refused: %s\n", result.reason);

    DibStream picture;
    return argc >= 3 && DibLoadFile(argv[1], &picture) && DibSaveFile(argv[2], &picture) ? 0 : 1;
}
