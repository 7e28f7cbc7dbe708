// Calls into libpng and libjpeg, which leave by longjmp when they fail.
#ifndef FORMATS_LINUX_ERROR_JUMP_H
#define FORMATS_LINUX_ERROR_JUMP_H

#include <csetjmp>

namespace formats {

class ErrorJump {
public:
    // False when the calls were left through leave(). A jump runs no destructors, so neither they nor our
    // functions that they call may create objects with destructors.
    template <class Calls>
    bool run(const Calls& calls) {
        if (setjmp(target_) != 0) return false;
        calls();
        return true;
    }
    [[noreturn]] void leave() { std::longjmp(target_, 1); }

private:
    std::jmp_buf target_;
};

}  // namespace formats

#endif
