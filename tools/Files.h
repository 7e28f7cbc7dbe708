/// Files as the command line names them: "-" is standard input or output, and what is written appears whole
/// or not at all.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "files/ReplacedFile.h"
#include "tools/Formats.h"

namespace tool {

/// Makes sure that no file that the program opens takes the place of a standard stream that its caller closed.
void guardStandardStreams();

/// Standard error leads nowhere for as long as this lives.
class SilencedErrors {
public:
    SilencedErrors();
    ~SilencedErrors();
    SilencedErrors(const SilencedErrors&) = delete;
    SilencedErrors& operator=(const SilencedErrors&) = delete;

private:
    files::Descriptor kept_;
};

/// A file to read. Standard input, and whatever else cannot be read twice, is spooled to a file without a
/// name.
class InputFile {
public:
    /// @throws Failure (bad input) when it cannot be opened or read.
    explicit InputFile(const std::string& name);

    /// What the library opens.
    const char* path() const { return path_.c_str(); }
    /// How messages call it.
    const std::string& title() const { return title_; }
    FirstBytes firstBytes() const { return firstBytes_; }

private:
    std::string path_;
    std::string title_;
    files::Descriptor spool_;
    std::vector<unsigned char> firstBytes_;
};

/// A file to write. The library writes to `path()`: a temporary file in the folder of the target, or one without a name
/// when the target is standard output, a device or a pipe. Without `commit` the target stays as it was.
class OutputFile {
public:
    /// @throws Failure (output) when it cannot be made.
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

/// Makes a folder and those above it, where they are not there. @throws Failure (output).
void makeFolder(const std::string& folder);
/// Writes a file of these bytes. @throws Failure (output).
void writeText(const std::string& name, const std::string& text);

}  // namespace tool
