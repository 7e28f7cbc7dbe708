/// Runs the built program in a folder of its own and looks at what it leaves.
#ifndef TESTS_TOOLS_PROGRAM_H
#define TESTS_TOOLS_PROGRAM_H

#include <DibStream.h>
#include <gtest/gtest.h>
#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

namespace tool_test {

struct Result {
    int exitCode;  ///< Of the program; 1000 + the signal when one killed it.
    std::string output;
    std::string errors;
};

/// A started program. Its streams are files unless `prepare` exchanges them.
class Program {
public:
    using Words = std::vector<std::string>;

    /// @param prepare Runs in the child before the program starts.
    explicit Program(const Words& arguments, const std::function<void()>& prepare = {});

    void signal(int number) const;
    /// Waits up to a minute for standard error to contain `text`.
    bool errorsContain(const std::string& text) const;
    /// Waits for the end.
    Result finish();

private:
    pid_t process_;
};

/// Starts the program and waits for its end; `input` is its standard input.
Result run(const Program::Words& arguments, const std::string& input = {},
           const std::function<void()>& prepare = {});

std::string readFile(const std::string& path);
void writeFile(const std::string& path, const std::string& bytes);
/// The names in the working folder, sorted.
std::vector<std::string> filesHere();
/// The folder of the program that is tested.
std::string programFolder();
/// Whether a program can be found on the search path.
bool isInstalled(const std::string& program);

/// Makes a picture with a colour gradient.
void makePicture(DibStream& image, int width, int height, int bitCount);
/// Runs make_sample_picture, whose messages go to "messages.txt".
/// @return Its exit code.
int makeSample(const std::string& arguments);
/// The bytes of the BMP file that the program makes of a picture.
std::string bmpBytes(DibStream& image);

/// Each test works in an empty folder that also holds the 24-bit picture "in.bmp".
class ToolTest : public testing::Test {
protected:
    void SetUp() override;

    /// The picture of "in.bmp".
    DibStream picture_;
};

}  // namespace tool_test

#endif
