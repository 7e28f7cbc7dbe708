// While alive, what is allocated may be lost: OpenEXR loses blocks when an allocation of its own fails.
#ifndef TESTS_PLUGINS_LEAKS_ALLOWED_H
#define TESTS_PLUGINS_LEAKS_ALLOWED_H

// Of the leak checker, where the tests run under one.
extern "C" {
void __lsan_disable() __attribute__((weak));
void __lsan_enable() __attribute__((weak));
}

namespace plugin_test {

struct LeaksAllowed {
    LeaksAllowed() {
        if (__lsan_disable != nullptr) __lsan_disable();
    }
    ~LeaksAllowed() {
        if (__lsan_enable != nullptr) __lsan_enable();
    }
    LeaksAllowed(const LeaksAllowed&) = delete;
    LeaksAllowed& operator=(const LeaksAllowed&) = delete;
};

}  // namespace plugin_test

#endif
