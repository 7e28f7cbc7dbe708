#include "tests/tools/Program.h"

#include <DibFile.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace tool_test {

namespace fs = std::filesystem;

namespace {

// The streams of the program lie beside its working folder, so that the folder holds only what the program
// makes.
const std::string kInput = "../stdin";
const std::string kOutput = "../stdout";
const std::string kErrors = "../stderr";

void redirect(const std::string& path, int flags, int to) {
    const int file = open(path.c_str(), flags, 0644);
    dup2(file, to);
    close(file);
}

}  // namespace

Program::Program(const Words& arguments, const std::function<void()>& prepare) {
    if (!fs::exists(kInput)) writeFile(kInput, "");
    writeFile(kErrors, "");
    process_ = fork();
    if (process_ != 0) return;
    redirect(kInput, O_RDONLY, STDIN_FILENO);
    redirect(kOutput, O_WRONLY | O_CREAT | O_TRUNC, STDOUT_FILENO);
    redirect(kErrors, O_WRONLY | O_CREAT | O_TRUNC, STDERR_FILENO);
    if (prepare) prepare();
    std::vector<char*> words = {const_cast<char*>(DIB_PROGRAM)};
    for (const std::string& argument : arguments) words.push_back(const_cast<char*>(argument.c_str()));
    words.push_back(nullptr);
    execv(DIB_PROGRAM, words.data());
    _exit(127);
}

void Program::signal(int number) const { kill(process_, number); }

bool Program::errorsContain(const std::string& text) const {
    for (int i = 0; i < 6000; ++i) {
        if (readFile(kErrors).find(text) != std::string::npos) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

Result Program::finish() {
    int status = 0;
    waitpid(process_, &status, 0);
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
    return {code, readFile(kOutput), readFile(kErrors)};
}

Result run(const Program::Words& arguments, const std::string& input, const std::function<void()>& prepare) {
    writeFile(kInput, input);
    return Program(arguments, prepare).finish();
}

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

void writeFile(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

std::vector<std::string> filesHere() {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator("."))
        names.push_back(entry.path().filename());
    std::ranges::sort(names);
    return names;
}

std::string programFolder() { return fs::path(DIB_PROGRAM).parent_path(); }

bool isInstalled(const std::string& program) {
    return std::system(("command -v " + program + " >/dev/null 2>&1").c_str()) == 0;
}

void makePicture(DibStream& image, int width, int height, int bitCount) {
    ASSERT_TRUE(image.Create(width, height, 24));
    // The fill bytes too, so that files can be compared as a whole.
    std::memset(image.Buffer, 0, static_cast<std::size_t>(image.GetImageSize()));
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            unsigned char* pixel = image.Pixel(x, y);
            pixel[0] = static_cast<unsigned char>(x * 7);
            pixel[1] = static_cast<unsigned char>(y * 5);
            pixel[2] = static_cast<unsigned char>((x + y) * 3);
        }
    }
    if (bitCount != 24) {
        ASSERT_TRUE(image.ChangeBpp(bitCount, 0));
    }
}

int makeSample(const std::string& arguments) {
    return std::system((std::string(DIB_SAMPLE_PROGRAM) + " " + arguments + " 2>messages.txt").c_str()) >> 8;
}

std::string bmpBytes(DibStream& image) {
    DibSaveOptions options;
    options.format = "bmp";
    options.runLengths = false;
    DibBytes bytes;
    EXPECT_TRUE(DibSaveMemory(&bytes, &image, &options));
    return {reinterpret_cast<const char*>(bytes.data), bytes.size};
}

void ToolTest::SetUp() {
    // Tests run side by side: each has a folder of its own.
    const fs::path work =
        fs::path(DIB_TOOL_TEST_TMP) /
        (std::string(testing::UnitTest::GetInstance()->current_test_info()->test_suite_name()) + "." +
         testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(work);
    fs::create_directories(work / "here");
    fs::current_path(work / "here");
    makePicture(picture_, 33, 21, 24);
    ASSERT_TRUE(picture_.SaveToFile("in.bmp"));
}

}  // namespace tool_test
