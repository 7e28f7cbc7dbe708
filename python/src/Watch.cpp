#include "python/src/Watch.h"

#include <algorithm>
#include <ctime>

namespace python {

namespace {

constexpr std::chrono::milliseconds kPause{10};

// It is read for every row: a coarse clock costs a fifth of a fine one.
std::chrono::nanoseconds now() {
#ifdef CLOCK_MONOTONIC_COARSE
    timespec time = {};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
#else
    return std::chrono::steady_clock::now().time_since_epoch();
#endif
}

// Python runs signal handlers in this thread only.
bool isMainThread() {
    static const unsigned long kMain =
        py::module_::import("threading").attr("main_thread")().attr("ident").cast<unsigned long>();
    return PyThread_get_thread_ident() == kMain;
}

}  // namespace

Watch::Watch(const py::object& progress) : isMainThread_(isMainThread()), next_(now() + kPause) {
    if (!progress.is_none()) report_ = py::module_::import("dibstream._progress").attr("reporter")(progress);
}

void Watch::rethrow() {
    if (error_) throw py::error_already_set(std::move(*error_));
}

bool Watch::step(float fraction, void* watch) { return static_cast<Watch*>(watch)->look(fraction); }

// Called for every row. Taking Python's lock each time would cost more than the row, so it is taken from time
// to time. Start and end are always reported.
bool Watch::look(float fraction) {
    if (error_) return false;
    const std::chrono::nanoseconds asked = now();
    const bool isEnd = report_ && (last_ < 0 || (fraction >= 1 && last_ < 1));
    if (asked < next_ && !isEnd) return true;
    const py::gil_scoped_acquire lock;
    // A lock that other threads hold takes milliseconds to get: it is then taken less often.
    next_ = now() + std::max<std::chrono::nanoseconds>(kPause, 10 * (now() - asked));
    if (isMainThread_ && PyErr_CheckSignals() != 0) {
        error_.emplace();
        return false;
    }
    return !report_ || callProgram(fraction);
}

bool Watch::callProgram(float fraction) {
    last_ = fraction;
    try {
        return !report_(double{fraction}).is(py::handle(Py_False));
    } catch (py::error_already_set& error) {
        error_.emplace(std::move(error));
        return false;
    }
}

}  // namespace python
