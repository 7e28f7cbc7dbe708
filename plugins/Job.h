// The file that a plug-in reads, what to read of it, and where its results go: from the library's calls, or
// from a function that has a path alone.
#ifndef PLUGINS_JOB_H
#define PLUGINS_JOB_H

#include <DibFile.h>
#include <DibPlugin.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <new>

#include "dib/Bytes.h"
#include "dib/File.h"
#include "dib/Numbers.h"
#include "plugins/Picture.h"

namespace plugins {

static_assert(sizeof(off_t) == 8,
              "positions in files have 64 bits: 32-bit systems need _FILE_OFFSET_BITS=64");

class Job {
public:
    Job() = default;
    Job(const Job&) = delete;
    Job& operator=(const Job&) = delete;

    int page = 0;
    int layer = -1;  // the merged picture
    int level = 0;
    bool keepsDamaged = false;  // the rows of a file that ends early are wanted
    bool isWatched = true;      // the caller has a progress function

    // Copies up to `bytes` bytes; returns how many there were.
    virtual std::size_t readAt(std::uint64_t position, void* out, std::size_t bytes) = 0;
    // 0 when it is unknown.
    virtual std::uint64_t fileBytes() = 0;
    // Reports that rows are done. False when the caller cancels.
    virtual bool report(std::size_t done, std::size_t total) = 0;
    virtual void note(DibNoteKind /*kind*/, const char* /*text*/) {}
    // Stores why the file is not read; returns false.
    virtual bool refuse(DibErrorCode /*code*/, const char* /*reason*/) { return false; }

    // Whether the record of the caller, which may be older, has that field.
    template <class Record, class Field>
    static bool has(const Record& record, Field Record::*field) {
        const auto* end = reinterpret_cast<const unsigned char*>(&(record.*field) + 1);
        return dib::bytesBetween(reinterpret_cast<const unsigned char*>(&record), end) <= record.size;
    }

protected:
    ~Job() = default;
};

// An open file that is read from its start.
class FileJob final : public Job {
public:
    FileJob(std::FILE* file, DibProgressCallback progress, void* user)
        : file_(file), progress_(progress), user_(user) {}

    std::size_t readAt(std::uint64_t position, void* out, std::size_t bytes) override {
        if (position > INT64_MAX) return 0;
        if (position != position_ && fseeko(file_, static_cast<off_t>(position), SEEK_SET) != 0) return 0;
        const std::size_t got = std::fread(out, 1, bytes, file_);
        position_ = position + got;
        return got;
    }
    std::uint64_t fileBytes() override {
        position_ = kUnknown;
        if (fseeko(file_, 0, SEEK_END) != 0) return 0;
        const off_t end = ftello(file_);
        return end > 0 ? dib::asUnsigned(end) : 0;
    }
    bool report(std::size_t done, std::size_t total) override {
        return progress_ == nullptr || progress_(dib::doneShare(done, total), user_);
    }

private:
    static constexpr std::uint64_t kUnknown = UINT64_MAX;
    std::FILE* file_;
    DibProgressCallback progress_;
    void* user_;
    std::uint64_t position_ = kUnknown;
};

// A call of the library.
class CallJob final : public Job {
public:
    explicit CallJob(const DibPluginCall& call) : call_(call) {
        page = call.page;
        layer = call.layer;
        level = call.level;
        keepsDamaged = call.damage == DIB_DAMAGE_KEEP;
        // Older libraries do not have this field.
        isWatched = call.size < offsetof(DibPluginCall, isWatched) + sizeof call.isWatched || call.isWatched;
    }
    std::size_t readAt(std::uint64_t position, void* out, std::size_t bytes) override {
        return call_.readFile(call_.library, position, out, bytes);
    }
    std::uint64_t fileBytes() override { return call_.fileBytes; }
    bool report(std::size_t done, std::size_t total) override {
        return call_.report(call_.library, static_cast<double>(done) / static_cast<double>(total));
    }
    void note(DibNoteKind kind, const char* text) override { call_.note(call_.library, kind, text); }
    bool refuse(DibErrorCode code, const char* reason) override {
        call_.refuse(call_.library, code, reason);
        return false;
    }

private:
    const DibPluginCall& call_;
};

// The function of a description that loads, by one that decodes: bool(Job&, Picture&, DibPluginPicture&). It
// returns the picture; after a failure, the rows that were read.
template <auto read>
bool loadBy(const DibPluginCall* call, DibPluginPicture* out) {
    CallJob job(*call);
    Picture picture;
    bool isRead = false;
    try {
        isRead = read(job, picture, *out);
    } catch (const std::bad_alloc&) {
        picture.rowsRead = 0;
        job.refuse(DIB_ERROR_MEMORY, "there is not enough memory");
    }
    if (!isRead && picture.rowsRead == 0) return false;
    out->rows = picture.rowsRead;
    picture.release(&out->header, &out->pixels);
    return isRead;
}

}  // namespace plugins

#endif
