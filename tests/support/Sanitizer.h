// Which sanitizer watches.
#ifndef TESTS_SUPPORT_SANITIZER_H
#define TESTS_SUPPORT_SANITIZER_H

#include <cstddef>

#ifndef __has_feature
#define __has_feature(name) 0  // Clang alone has it
#endif
#if __has_feature(memory_sanitizer)
#include <sanitizer/msan_interface.h>
#endif

namespace testing_support {

// It takes memory of its own for every block and reads /proc.
#if defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer)
constexpr bool kAddressSanitizer = true;
#else
constexpr bool kAddressSanitizer = false;
#endif

// Under the memory sanitizer the program ends, with a report, where one of the bytes was never written.
inline void expectWritten([[maybe_unused]] const void* bytes, [[maybe_unused]] std::size_t count) {
#if __has_feature(memory_sanitizer)
    __msan_check_mem_is_initialized(bytes, count);
#endif
}

}  // namespace testing_support

#endif
