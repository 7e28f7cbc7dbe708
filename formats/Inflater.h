// Unpacking of zlib streams, a piece at a time. A library of the platform does it.
#ifndef FORMATS_INFLATER_H
#define FORMATS_INFLATER_H

#include <cstddef>

namespace formats {

class Inflater {
public:
    Inflater() = default;
    ~Inflater();
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;

    // Whether this platform has such a library.
    static bool isAvailable();

    // Begins a stream, also after another. False when memory is short.
    bool start();
    // The next packed bytes, when those before are used up.
    void feed(const unsigned char* from, std::size_t bytes);
    // Unpacks until the room is full, the packed bytes are used up or the stream ends, and returns how many
    // bytes were written.
    std::size_t unpack(unsigned char* to, std::size_t room);

    bool isAtEnd() const { return state_ == State::kEnd; }
    // The stream cannot be unpacked any further.
    bool isDamaged() const { return state_ == State::kDamaged || isShortOfMemory(); }
    bool isShortOfMemory() const { return state_ == State::kShortOfMemory; }
    // Packed bytes that are not used yet.
    std::size_t left() const;

private:
    enum class State { kOpen, kEnd, kDamaged, kShortOfMemory };

    struct Stream;
    Stream* stream_ = nullptr;
    State state_ = State::kOpen;
};

}  // namespace formats

#endif
