// The system's frameworks as doubles: every call is recorded, and each can be made to fail.
#ifndef TESTS_FAKES_FAKE_FOUNDATION_H
#define TESTS_FAKES_FAKE_FOUNDATION_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// What the frameworks count references to, by whom its last one is told.
struct FakeObject {
    const char* name;
    void (*ended)() = nullptr;
    int references = 0;
};

// The picture that is in every file, and what was to be written.
struct FakePicture {
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t bitsPerComponent = 8;
    std::size_t bitsPerPixel = 32;
    std::size_t bytesPerRow = 0;
    std::vector<unsigned char> colors;
    std::vector<unsigned char> pixels;
};

struct FakeFoundation {
    std::vector<std::string> calls;  // with what was handed over
    std::string_view failing;        // the function that fails
    void* function = nullptr;        // what a lookup finds
    int objects = 0;                 // references to what was created that are not yet released
    FakePicture picture;

    static FakeFoundation& instance();
    // Writes a call down. Whether it is to succeed.
    bool record(const std::string& call, const std::string& arguments);
};

// What is printed for an object: its name, and that it is gone already when it is.
std::string nameOf(const void* object);
// One more reference; null when the call that makes the object is to fail.
FakeObject* retained(FakeObject& object, bool succeeds = true);
void released(const void* object);

#endif
