// How libpng reports failures and allocates memory.
#ifndef FORMATS_LINUX_PNG_CALLS_H
#define FORMATS_LINUX_PNG_CALLS_H

#include <png.h>

#include <cstdlib>
#include <cstring>

#include "formats/linux/ErrorJump.h"

namespace formats::png {

// What the library's callbacks need.
struct Calls {
    ErrorJump jump;
    bool isShortOfMemory = false;
    bool isDamaged = false;  // the library warned
    bool isCut = false;      // the file ended
    bool warnedOfProfile = false;
    bool warnedOfExif = false;
    bool warnedOfText = false;
};

// Failures of the library end in the jump; its messages are not printed.
inline void onError(png_structp png, png_const_charp) {
    static_cast<Calls*>(png_get_error_ptr(png))->jump.leave();
}
inline void onWarning(png_structp png, png_const_charp text) {
    Calls& calls = *static_cast<Calls*>(png_get_error_ptr(png));
    calls.isDamaged = true;
    // Warnings start with the name of their chunk.
    if (std::strncmp(text, "iCCP", 4) == 0) calls.warnedOfProfile = true;
    if (std::strncmp(text, "eXIf", 4) == 0) calls.warnedOfExif = true;
    for (const char* chunk : {"tEXt", "zTXt", "iTXt"}) {
        if (std::strncmp(text, chunk, 4) == 0) calls.warnedOfText = true;
    }
}

inline void* allocate(png_structp png, png_alloc_size_t bytes) {
    void* block = std::malloc(bytes);
    if (block == nullptr) static_cast<Calls*>(png_get_mem_ptr(png))->isShortOfMemory = true;
    return block;
}
inline void release(png_structp, void* block) { std::free(block); }

}  // namespace formats::png

#endif
