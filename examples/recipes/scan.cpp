// Cleans a scanned page: even light, level lines, white paper.
// Run: scan scan.png
#include <DibOperation.h>

#include <cstdio>

namespace {

bool run(const char* from, const char* chain, const char* to) {
    DibStream picture;
    DibFileResult file;
    DibOperationResult operation;
    if (DibLoadFile(from, &picture, nullptr, &file) && DibApply(&picture, chain, nullptr, &operation) &&
        DibSaveFile(to, &picture, nullptr, &file))
        return true;
    std::fprintf(stderr, "%s: %s%s\n", from, file.reason, operation.reason);
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) return 2;
    // The paper without its letters, inverted: dodging divides the scan by the paper.
    const bool isDone = run(argv[1], "grey max:6 gaussian:30 invert", "paper.png") &&
                        run(argv[1],
                            "grey overlay:paper.png,mode=color-dodge rotate:-2,fill=#ffffff "
                            "gaussian:1.5 levels:110,200 bpp:4,method=grey",
                            "clean.png");
    return isDone ? 0 : 1;
}
