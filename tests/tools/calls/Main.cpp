// Writes the source of galleryCalls() from the table of operations.

#include <cstdio>
#include <fstream>
#include <stdexcept>

#include "tests/tools/GalleryCalls.h"
#include "tools/gallery/CallText.h"
#include "tools/operations/Operations.h"

namespace {

// What comes before the last step prepares the picture, so the calls depend on what it makes of it.
std::string callsOf(std::string_view chain) {
    DibStream image;
    const bool made = image.Create(tool_test::kCalledWidth, tool_test::kCalledHeight, 24);
    std::string calls;
    const std::vector<tool::Step> steps = tool::parseSample(chain);
    for (std::size_t i = 0; made && i < steps.size(); ++i) {
        calls += "        " + tool::callText(steps[i], image) + "\n";
        const bool isLast = i + 1 == steps.size();
        if (!isLast && !steps[i].operation->run(image, steps[i].arguments, nullptr, nullptr)) {
            throw std::runtime_error("cannot be done: " + std::string(chain));
        }
    }
    return calls;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) return 2;
    std::ofstream source(arguments[1]);
    source << "#include <DibEffect.h>\n\n#include <cstdlib>\n\n#include \"tests/tools/GalleryCalls.h\"\n\n"
              "namespace tool_test {\n\nstd::span<const GalleryCall> galleryCalls() {\n"
              "    static const GalleryCall all[] = {\n";
    for (const tool::Operation& operation : tool::operations()) {
        for (const std::string_view chain : operation.samples) {
            source << "        {\"" << chain << "\", [](DibStream& image) {\n"
                   << callsOf(chain) << "        }},\n";
        }
    }
    source << "    };\n    return all;\n}\n\n}  // namespace tool_test\n";
    return source.flush() ? 0 : 1;
}
