// The headers of an EXR file, read by OpenEXR's C interface.
#ifndef PLUGINS_EXR_HEADER_H
#define PLUGINS_EXR_HEADER_H

#include <OpenEXR/openexr.h>

#include <algorithm>
#include <cstdlib>
#include <new>

#include "dib/Numbers.h"
#include "plugins/Job.h"
#include "plugins/exr/Attributes.h"

namespace plugins::exr {

class Header {
public:
    // May throw std::bad_alloc.
    explicit Header(Job& job) : source_{job} {
        exr_context_initializer_t settings = EXR_DEFAULT_CONTEXT_INITIALIZER;
        settings.error_handler_fn = noteMistake;
        settings.user_data = &source_;
        settings.read_fn = readAt;
        settings.size_fn = querySize;
        settings.alloc_fn = allocate;
        settings.free_fn = std::free;
        isShortOfMemory = false;
        isRead_ = areAttributesWhole(job, isCut_) &&
                  exr_start_read(&context_, "EXR file", &settings) == EXR_ERR_SUCCESS && !source_.hasMistakes;
        if (!isShortOfMemory) return;
        finish();
        throw std::bad_alloc();
    }
    ~Header() { finish(); }
    Header(const Header&) = delete;
    Header& operator=(const Header&) = delete;
    bool isRead() const { return isRead_; }
    // Whether the file ends before the headers do.
    bool isCut() const { return isCut_; }
    exr_const_context_t context() const { return context_; }

private:
    struct Source {
        Job& job;
        bool hasMistakes = false;
    };

    void finish() {
        if (context_ != nullptr) exr_finish(&context_);
    }
    // OpenEXR takes an attribute that it has no memory for as damaged.
    static void* allocate(std::size_t bytes) {
        void* block = std::malloc(bytes);
        isShortOfMemory = isShortOfMemory || block == nullptr;
        return block;
    }
    static std::int64_t querySize(exr_const_context_t /*context*/, void* user) {
        return dib::asOffset(static_cast<Source*>(user)->job.fileBytes());
    }
    static std::int64_t readAt(exr_const_context_t /*context*/, void* user, void* bytes, std::uint64_t count,
                               std::uint64_t offset, exr_stream_error_func_ptr_t /*report*/) {
        Job& job = static_cast<Source*>(user)->job;
        return dib::asOffset(job.readAt(offset, bytes, dib::asSize(count)));
    }
    // Without a handler OpenEXR would print mistakes. After some of them the C interface continues with sizes
    // of its own, while OpenEXR's classes use those of the file: every mistake counts as a failure.
    static void noteMistake(exr_const_context_t context, exr_result_t /*code*/, const char* /*message*/) {
        void* user = nullptr;
        if (exr_get_user_data(context, &user) == EXR_ERR_SUCCESS && user != nullptr) {
            static_cast<Source*>(user)->hasMistakes = true;
        }
    }

    inline static thread_local bool isShortOfMemory = false;

    Source source_;
    exr_context_t context_ = nullptr;
    bool isRead_ = false;
    bool isCut_ = false;
};

}  // namespace plugins::exr

#endif
