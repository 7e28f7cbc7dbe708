// What every operation of the table does to one picture, as a web page with its files.
#ifndef GALLERY_GALLERY_H
#define GALLERY_GALLERY_H

#include <DibHandle.h>

#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>

namespace gallery {

struct Options {
    int longerSide = 320;    // of the shown picture
    bool isClassic = false;  // steps have their switch `classic`
    std::string version;     // of the program, as the page shows it
    // Called before each of `stepCount()` steps with its title, and after it.
    std::function<void(const std::string& title)> began = {};
    std::function<void()> ended = {};
    // Called within a step; false stops the work.
    DibProgressCallback callback = nullptr;
    void* user = nullptr;
};

// A file that cannot be written. Any other failure is a std::runtime_error.
class NotWritten : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

std::size_t stepCount();

// Writes "index.html", a page with every sample of every operation, their pictures and a contact sheet into
// an existing folder. The commands on the page start from "in.bmp" and "other.bmp", which are written too:
// run in the folder, they give what the page shows.
//
// `title` is the name of the input in messages, `shownFolder` that of the folder. Throws.
void make(DibHandle input, const std::string& title, const std::string& folder,
          const std::string& shownFolder, const Options& options);

}  // namespace gallery

#endif
