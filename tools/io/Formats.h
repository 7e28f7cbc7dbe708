// File formats as the command line names them.
#ifndef TOOLS_IO_FORMATS_H
#define TOOLS_IO_FORMATS_H

#include <DibFile.h>

#include <filesystem>
#include <string>

#include "vexlibs/NativePath.h"

namespace tool {

// With its dot; empty where there is none.
inline std::string extensionOf(const std::string& fileName) {
    return vexlibs::textOf(vexlibs::pathOf(fileName).extension());
}

// The format of a file name's extension, or null.
inline const DibFormat* formatOfExtension(const std::string& fileName) {
    const std::string extension = extensionOf(fileName);
    return extension.empty() ? nullptr : DibFindFormat(extension.c_str() + 1);
}

// What the library calls a format that is typed by its name or an extension, in letters of any size. An
// extension may choose among the formats of a family, as pgm and ppm do. Throws Failure (usage) with a
// suggestion.
const char* formatNamed(const std::string& typed);
// The extension for new files of a format with that spelling.
const char* extensionFor(const char* spelling);

// The format of an output: the chosen one, or that of its extension. Throws Failure (usage) when there is
// none or it cannot be written.
const DibFormat* formatForOutput(const std::string& fileName, const char* chosen);

}  // namespace tool

#endif
