// The system's framework as a double: every call is recorded, and each can be made to fail.
#ifndef TESTS_FAKES_FAKE_FOUNDATION_H
#define TESTS_FAKES_FAKE_FOUNDATION_H

#include <string>
#include <vector>

struct FakeFoundation {
    std::vector<std::string> calls;  // with what was handed over
    std::string failing;             // the function that fails
    void* function = nullptr;        // what a lookup finds
    int objects = 0;                 // created and not yet released

    static FakeFoundation& instance();
};

#endif
