// Where pictures are opened from and saved to: paths, blocks of memory and objects with a method.
#ifndef PYTHON_SRC_PLACES_H
#define PYTHON_SRC_PLACES_H

#include <DibFile.h>
#include <pybind11/pybind11.h>

#include <optional>
#include <string>

namespace python {

namespace py = pybind11;

bool isPath(const py::object& place);
// A path as the system has it.
std::string encoded(py::handle path);

// The value of a word in a list, with an exception that names what is accepted.
template <std::size_t count>
int choice(const char* option, const std::string& word, const char* const (&words)[count]) {
    std::string accepted;
    for (std::size_t i = 0; i < count; ++i) {
        if (word == words[i]) return static_cast<int>(i);
        accepted += std::string(i == 0 ? "'" : i + 1 < count ? ", '" : " or '") + words[i] + "'";
    }
    throw py::value_error(std::string(option) + " must be " + accepted + ", not '" + word + "'");
}

// An object with `read` or `write`. The library works with it while Python's lock is free.
class Stream {
public:
    Stream(const py::object& object, const char* method) : object_(object), method_(method) {}

    DibReader reader() { return {&Stream::read, this}; }
    DibWriter writer() { return {&Stream::write, this}; }
    // Throws what the object threw.
    void rethrow() {
        if (error_) throw py::error_already_set(std::move(*error_));
    }

private:
    // Calls the method with Python's lock.
    template <class Work>
    bool call(const Work& work);
    static std::size_t read(void* context, void* out, std::size_t bytes);
    static bool write(void* context, const void* from, std::size_t bytes);

    const py::object& object_;
    const char* method_;
    std::optional<py::error_already_set> error_;
};

}  // namespace python

#endif
