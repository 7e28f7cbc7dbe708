// Prints one line with a hash for every operation of the library, so that two builds, machines or kernel
// levels can be compared: the same list means the same bytes, codes and calls of callbacks.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "dib/Kernels.h"
#include "tests/digest/Digest.h"

int main(int argc, char** argv) {
    std::string samples;
    bool ownFormats = false;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word.starts_with("--level=")) {
            dib::limitKernelLevel(dib::kKernelLevels[std::atoi(word.c_str() + 8) % 3]);
        } else if (word.starts_with("--samples=")) {
            samples = word.substr(10);
        } else if (word == "--own-formats") {
            ownFormats = true;
        } else {
            std::fputs("usage: digest [--level=0|1|2] [--own-formats] [--samples=FOLDER]\n", stderr);
            return 2;
        }
    }
    if (!samples.empty()) {
        digest::printSamples(samples);
        return 0;
    }
    digest::printEffects();
    digest::printConversions();
    digest::printGeometry();
    digest::printFiles(ownFormats);
    return 0;
}
