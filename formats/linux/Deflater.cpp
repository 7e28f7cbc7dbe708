#include "formats/linux/Deflater.h"

#if DIB_HAS_ISAL
#include <isa-l/igzip_lib.h>
#endif

#include <cstdlib>

#include "dib/Bytes.h"

namespace formats {

namespace {

#if DIB_HAS_ISAL
// Files of ISA-L's only useful level are about as long as those of zlib's level 3.
constexpr int kFirstSmallLevel = 4;
#else
constexpr int kFirstSmallLevel = Z_DEFAULT_COMPRESSION;
#endif

void* allocate(void*, unsigned count, unsigned size) { return std::calloc(count, size); }
void release(void*, void* block) { std::free(block); }

}  // namespace

#if DIB_HAS_ISAL

struct Deflater::FastState {
    isal_zstream stream;
    unsigned char tables[ISAL_DEF_LVL1_DEFAULT];
};

bool Deflater::startFast() {
    fast_ = dib::allocateArray<FastState>(1);
    if (fast_ == nullptr) return false;
    isal_zstream& stream = fast_[0].stream;
    isal_deflate_init(&stream);
    stream.level = 1;
    stream.level_buf = fast_[0].tables;
    stream.level_buf_size = sizeof fast_[0].tables;
    stream.gzip_flag = IGZIP_ZLIB;
    return true;
}

void Deflater::feedFast(const unsigned char* from, std::size_t bytes, bool isLast) {
    fast_[0].stream.next_in = const_cast<unsigned char*>(from);
    fast_[0].stream.avail_in = dib::dwordOf(bytes);
    fast_[0].stream.end_of_stream = isLast ? 1 : 0;
}

std::size_t Deflater::packFast(unsigned char* to, std::size_t room) {
    isal_zstream& stream = fast_[0].stream;
    stream.next_out = to;
    stream.avail_out = dib::dwordOf(room);
    isal_deflate(&stream);
    return room - stream.avail_out;
}

#else

struct Deflater::FastState {};
bool Deflater::startFast() { return false; }
void Deflater::feedFast(const unsigned char*, std::size_t, bool) {}
std::size_t Deflater::packFast(unsigned char*, std::size_t) { return 0; }

#endif

Deflater::Deflater() = default;

Deflater::~Deflater() {
    if (isSmall_) deflateEnd(&small_);
}

bool Deflater::start(int level) {
    if (level < kFirstSmallLevel) return startFast();
    small_.zalloc = allocate;
    small_.zfree = release;
    isSmall_ = deflateInit(&small_, level < 9 ? level : 9) == Z_OK;
    return isSmall_;
}

void Deflater::feed(const unsigned char* from, std::size_t bytes, bool isLast) {
    isLast_ = isLast;
    if (!isSmall_) return feedFast(from, bytes, isLast);
    small_.next_in = const_cast<unsigned char*>(from);
    small_.avail_in = dib::dwordOf(bytes);
}

std::size_t Deflater::pack(unsigned char* to, std::size_t room) {
    return isSmall_ ? packSmall(to, room) : packFast(to, room);
}

std::size_t Deflater::packSmall(unsigned char* to, std::size_t room) {
    small_.next_out = to;
    small_.avail_out = dib::dwordOf(room);
    deflate(&small_, isLast_ ? Z_FINISH : Z_NO_FLUSH);
    return room - small_.avail_out;
}

}  // namespace formats
