/// Files as the command line names them: "-" is standard input or output, and an output is complete or unchanged.
#ifndef TOOLS_IO_FILES_H
#define TOOLS_IO_FILES_H

#include <memory>
#include <string>
#include <vector>

#include "files/ReplacedFile.h"
#include "tools/io/Formats.h"

namespace tool {

/// Keeps files that the program opens from getting the number of a standard stream that its caller closed.
void guardStandardStreams();

/// Prints to standard output. @throws Failure (output) when not everything could be written.
void print(const std::string& text);

/// Discards what is written to standard error for as long as it lives.
class SilencedErrors {
public:
    SilencedErrors();
    ~SilencedErrors();
    SilencedErrors(const SilencedErrors&) = delete;
    SilencedErrors& operator=(const SilencedErrors&) = delete;

private:
    files::Descriptor kept_;
};

/// A file to read. Standard input, and whatever else cannot be read twice, is copied to a file without a name.
class InputFile {
public:
    /// @throws Failure (bad input) when it cannot be opened or read.
    explicit InputFile(const std::string& name);

    /// As on the command line.
    const std::string& name() const { return name_; }
    /// For messages.
    const std::string& title() const { return title_; }
    /// What the library opens.
    const char* path() const { return path_.c_str(); }
    FirstBytes firstBytes() const { return firstBytes_; }

private:
    std::string name_;
    std::string title_;
    std::string path_;
    files::Descriptor spool_;
    std::vector<unsigned char> firstBytes_;
};

/// A file to write. The library writes to `path()`: a temporary file in the folder of the target, or one without a name
/// when the target is standard output, a device or a pipe. Without `commit` the target stays as it was.
class OutputFile {
public:
    /// @throws Failure (output) when it cannot be created.
    explicit OutputFile(const std::string& name);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    const char* path() const { return path_.c_str(); }
    const std::string& title() const { return title_; }
    /// @throws Failure (output) when the target cannot be written or replaced.
    void commit();

private:
    void copyToTarget();

    std::string name_;
    std::string title_;
    std::string path_;
    std::unique_ptr<files::ReplacedFile> replaced_;  ///< Null when `spool_` is copied to the target.
    files::Descriptor spool_;
};

/// Creates a folder and those above it, as far as they are missing. @throws Failure (output).
void makeFolder(const std::string& folder);
/// Writes a file of these bytes. @throws Failure (output).
void writeText(const std::string& name, const std::string& text);

}  // namespace tool

#endif
