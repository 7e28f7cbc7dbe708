#include "python/src/Watch.h"

#include <algorithm>

namespace python {

namespace {

constexpr std::chrono::milliseconds kPause{10};

// Python handles signals in this thread alone.
bool isMainThread() {
    static const unsigned long kMain =
        py::module_::import("threading").attr("main_thread")().attr("ident").cast<unsigned long>();
    return PyThread_get_thread_ident() == kMain;
}

}  // namespace

Watch::Watch(const py::object& progress) : isMainThread_(isMainThread()), next_(Clock::now() + kPause) {
    if (!progress.is_none()) report_ = py::module_::import("dibstream._progress").attr("reporter")(progress);
}

void Watch::rethrow() {
    if (error_) throw py::error_already_set(std::move(*error_));
}

bool Watch::step(float fraction, void* watch) { return static_cast<Watch*>(watch)->look(fraction); }

// Called for every row. Taking Python's lock each time would cost more than the row: the clock decides. Start
// and end are always reported.
bool Watch::look(float fraction) {
    if (error_) return false;
    const Clock::time_point now = Clock::now();
    const bool isEnd = report_ && (last_ < 0 || (fraction >= 1 && last_ < 1));
    if (now < next_ && !isEnd) return true;
    const py::gil_scoped_acquire lock;
    // A lock that other threads hold takes milliseconds to get: it is then taken less often.
    next_ = Clock::now() + std::max<Clock::duration>(kPause, 10 * (Clock::now() - now));
    if (isMainThread_ && PyErr_CheckSignals() != 0) {
        error_.emplace();
        return false;
    }
    return !report_ || callProgram(fraction);
}

bool Watch::callProgram(float fraction) {
    last_ = fraction;
    try {
        return !report_(static_cast<double>(fraction)).is(py::handle(Py_False));
    } catch (py::error_already_set& error) {
        error_.emplace(std::move(error));
        return false;
    }
}

}  // namespace python
