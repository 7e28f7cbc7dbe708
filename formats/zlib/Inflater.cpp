#include "formats/Inflater.h"

#include <zlib.h>

#include <cstdlib>

#include "dib/Bytes.h"
#include "dib/Memory.h"

namespace formats {

namespace {

void* allocate(void*, unsigned count, unsigned size) { return std::calloc(count, size); }
void release(void*, void* block) { std::free(block); }

}  // namespace

struct Inflater::Stream {
    z_stream zlib;
};

Inflater::~Inflater() {
    if (stream_ == nullptr) return;
    inflateEnd(&stream_->zlib);
    std::free(stream_);
}

bool Inflater::isAvailable() { return true; }

bool Inflater::start() {
    state_ = State::kOpen;
    if (stream_ != nullptr) return inflateReset(&stream_->zlib) == Z_OK;
    dib::MallocPtr<Stream> stream = dib::allocateZeroed<Stream>(1);
    if (stream == nullptr) return false;
    stream[0].zlib.zalloc = allocate;
    stream[0].zlib.zfree = release;
    if (inflateInit(&stream[0].zlib) != Z_OK) return false;
    stream_ = stream.release();
    return true;
}

void Inflater::feed(const unsigned char* from, std::size_t bytes) {
    stream_->zlib.next_in = const_cast<unsigned char*>(from);
    stream_->zlib.avail_in = dib::dwordOf(bytes);
}

std::size_t Inflater::unpack(unsigned char* to, std::size_t room) {
    constexpr std::size_t kMostAtOnce = std::size_t{1} << 30;
    z_stream& zlib = stream_->zlib;
    const unsigned part = dib::dwordOf(room < kMostAtOnce ? room : kMostAtOnce);
    zlib.next_out = to;
    zlib.avail_out = part;
    const int code = inflate(&zlib, Z_NO_FLUSH);
    if (code == Z_STREAM_END) {
        state_ = State::kEnd;
    } else if (code != Z_OK && code != Z_BUF_ERROR) {
        state_ = code == Z_MEM_ERROR ? State::kShortOfMemory : State::kDamaged;
    }
    return part - zlib.avail_out;
}

std::size_t Inflater::left() const { return stream_->zlib.avail_in; }

}  // namespace formats
