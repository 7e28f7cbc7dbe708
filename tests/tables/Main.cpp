// Prints the tables of formats that the documentation shows, as Markdown.
// usage: format_tables formats|losses
#include <DibFile.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "tests/support/TestImages.h"

namespace {

using testing_support::DibPtr;

std::string join(const char* const* names) {
    std::string text;
    for (; *names != nullptr; ++names) text += (text.empty() ? "" : ", ") + std::string(*names);
    return text;
}

std::string depthsText(unsigned bits) {
    std::string text;
    for (int i = 0; i < 6; ++i) {
        constexpr const char* kNames[] = {"1", "4", "8", "16", "24", "32"};
        if ((bits >> i & 1U) != 0) text += (text.empty() ? "" : ", ") + std::string(kNames[i]);
    }
    return text.empty() ? "no" : text;
}

std::string partsText(const DibFormat& format) {
    if (format.hasPages && format.hasLayers) return "pages, layers";
    return format.hasPages ? "pages" : format.hasLayers ? "layers" : "";
}

void printFormats() {
    std::printf(
        "| format | name | extensions | MIME types | opens as (bits) | saves as they are (bits) | parts |\n");
    std::printf("|---|---|---|---|---|---|---|\n");
    for (const DibFormat* const* at = DibGetFormats(); *at != nullptr; ++at) {
        const DibFormat& format = **at;
        std::printf("| %s | `%s` | %s | %s | %s | %s | %s |\n", format.title, format.name,
                    join(format.extensions).c_str(), join(format.mimeTypes).c_str(),
                    depthsText(format.readDepths).c_str(), depthsText(format.writeDepths).c_str(),
                    partsText(format).c_str());
    }
}

struct Kind {
    const char* name;
    int bitCount;
    bool isGrey;
};
constexpr Kind kKinds[] = {
    {"1 bit, two colours", 1, false}, {"4 bits, palette", 4, false}, {"8 bits, palette", 8, false},
    {"8 bits, grey", 8, true},        {"16 bits", 16, false},        {"24 bits", 24, false},
    {"32 bits, alpha", 32, false},
};

void printLosses() {
    std::printf("| format | picture | what the file does not hold |\n|---|---|---|\n");
    for (const DibFormat* const* at = DibGetFormats(); *at != nullptr; ++at) {
        if ((*at)->writeDepths == 0 || (*at)->plugin != nullptr) continue;  // plug-ins may be missing
        for (const Kind& kind : kKinds) {
            const DibPtr image = kind.isGrey ? testing_support::blankImage(16, 16, kind.bitCount)
                                             : testing_support::randomImage(16, 16, kind.bitCount, 1);
            DibMetadata metadata;
            metadata.xResolution = metadata.yResolution = 300;
            DibSaveOptions options;
            options.metadata = &metadata;
            DibFileResult result;
            DibSaveLosses(image.get(), (*at)->name, &options, &result);
            std::string text;
            for (int i = 0; i < result.noteCount; ++i)
                text += (i > 0 ? "; " : "") + std::string(result.notes[i].text);
            std::printf("| %s | %s | %s |\n", (*at)->name, kind.name,
                        text.empty() ? "nothing is lost" : text.c_str());
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    const std::string table = argc == 2 ? argv[1] : "";
    if (table == "formats") {
        printFormats();
    } else if (table == "losses") {
        printLosses();
    } else {
        std::fprintf(stderr, "usage: format_tables formats|losses\n");
        return 2;
    }
    return 0;
}
