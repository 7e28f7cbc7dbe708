// An open file descriptor, closed with its owner.
#ifndef FILES_DESCRIPTOR_H
#define FILES_DESCRIPTOR_H

#include <utility>

namespace files {

class Descriptor {
public:
    explicit Descriptor(int number = -1) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(other.take()) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Descriptor();

    int number() const { return number_; }
    bool isOpen() const { return number_ >= 0; }
    // Leaves closing it to the caller.
    int take() { return std::exchange(number_, -1); }
    // False when what was written could not be stored.
    bool close();

private:
    int number_;
};

}  // namespace files

#endif
