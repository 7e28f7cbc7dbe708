/// Files as the command line names them ("-" is standard input or output), and the standard streams.
#ifndef TOOLS_IO_FILES_H
#define TOOLS_IO_FILES_H

#include <DibFile.h>

#include <cstdio>
#include <memory>
#include <string>

namespace tool {

/// Keeps files that the program opens from getting the number of a standard stream that its caller closed.
void guardStandardStreams();

/// Prints to standard output. @throws Failure (output) when not everything could be written.
void print(const std::string& text);

/// What messages call an output.
std::string outputTitle(const std::string& name);

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, CloseFile>;

/// A file to read.
class InputFile {
public:
    enum Use { kLoad, kReadTwice };

    /// @param use To be read twice, standard input and pipes are kept in memory: they give their bytes only once.
    /// @throws Failure (bad input) when those cannot be read.
    explicit InputFile(const std::string& name, Use use = kLoad);

    std::string title() const { return name_ == "-" ? "standard input" : name_; }
    bool probe(DibFileInfo& info, const DibLoadOptions& options, DibFileResult& result) const;
    bool load(DibStream& image, const DibLoadOptions& options, DibFileResult& result,
              DibProgressCallback callback, void* user) const;
    /// The file from its start; null when it cannot be opened.
    FilePtr open() const;

private:
    void readAll();

    std::string name_;
    bool isInMemory_ = false;
    std::string bytes_;
};

/// Reports an output that cannot be created before any work is done. @throws Failure (output).
void requireWritable(const std::string& name);
/// Creates a folder and those above it, as far as they are missing. @throws Failure (output).
void makeFolder(const std::string& folder);
/// Writes a file of these bytes, whole or not at all. @throws Failure (output).
void writeText(const std::string& name, const std::string& text);

}  // namespace tool

#endif
