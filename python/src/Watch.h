// The progress of a call that runs without Python's lock: it calls the program, and Ctrl-C stops it.
#ifndef PYTHON_SRC_WATCH_H
#define PYTHON_SRC_WATCH_H

#include <DibFile.h>
#include <pybind11/pybind11.h>

#include <chrono>
#include <optional>

namespace python {

namespace py = pybind11;

class Watch {
public:
    // Calls `progress` with fractions, unless it is None (dibstream/_progress.py).
    explicit Watch(const py::object& progress);

    // For the functions of the library; null when there is nothing to do.
    DibProgressCallback callback() const { return isMainThread_ || report_ ? &Watch::step : nullptr; }
    // Throws what a signal handler or the program threw; nothing when neither did.
    void rethrow();

private:
    static bool step(float fraction, void* watch);
    bool look(float fraction);
    bool callProgram(float fraction);

    bool isMainThread_;
    py::object report_;  // null when the program watches no progress
    float last_ = -1;
    std::chrono::nanoseconds next_;
    std::optional<py::error_already_set> error_;
};

}  // namespace python

#endif
