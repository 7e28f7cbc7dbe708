// Files as the command line names them ("-" is standard input or output), and the standard streams.
#ifndef TOOLS_IO_FILES_H
#define TOOLS_IO_FILES_H

#include <DibFile.h>

#include <cstdio>
#include <memory>
#include <string>

namespace tool {

// Prints to standard output. Throws Failure (output) when not everything could be written.
void print(const std::string& text);

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, CloseFile>;

// A file to read.
class InputFile {
public:
    enum Use { kLoad, kReadTwice };

    // Standard input and pipes can be read only once: to be read twice, they are copied to memory, unless
    // their first bytes are of no format. Throws Failure (bad input) when that fails or takes more bytes than
    // the options allow.
    explicit InputFile(const std::string& name, Use use = kLoad, const DibLoadOptions& options = {});

    std::string title() const { return name_ == "-" ? "standard input" : name_; }
    bool probe(DibFileInfo& info, const DibLoadOptions& options, DibFileResult& result) const;
    bool listLayers(DibLayers& layers, const DibLoadOptions& options, DibFileResult& result) const;
    bool load(DibStream& image, const DibLoadOptions& options, DibFileResult& result,
              DibProgressCallback callback, void* user) const;

private:
    void readAll(const DibLoadOptions& options);
    bool isOfFormat(const DibLoadOptions& options) const;

    std::string name_;
    bool isInMemory_ = false;
    std::string bytes_;
};

// Checks before any work is done that an output can be created. Throws Failure (output).
void requireWritable(const std::string& name, bool keepsExisting = false);
// Creates a folder and those above it, as far as they are missing. Throws Failure (output).
void makeFolder(const std::string& folder);
// Writes a file of these bytes, whole or not at all. Throws Failure (output).
void writeText(const std::string& name, const std::string& text, bool keepsExisting = false);

}  // namespace tool

#endif
