// Where pictures are opened from and saved to: paths, blocks of memory and objects with a method.
#ifndef PYTHON_SRC_PLACES_H
#define PYTHON_SRC_PLACES_H

#include <DibFile.h>
#include <pybind11/pybind11.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace python {

namespace py = pybind11;

bool isPath(const py::object& place);
// The same of a place to save to. Throws where it is neither a path nor a file.
bool isPathToSave(const py::object& target);
// The format of a stream: the extension of its name. Throws where it has none.
std::string formatOfStream(const py::object& stream);
// A text without zero bytes, where the library would end it; ValueError for others.
std::string wholeText(std::string text);
// A channel of a colour; nothing for anything else than a whole number from 0 to 255.
std::optional<std::uint8_t> channelOf(py::handle value);
// A colour of three or four channels in the notation of the table. Anything else becomes a text that is none.
std::string colorText(const py::sequence& values);
// A path in the encoding of the system.
std::string encoded(py::handle path);

// The place of a word in a list, with an exception that names what is accepted.
template <class Enum, int count>
Enum choice(const char* option, const std::string& word, const char* const (&words)[count]) {
    std::string accepted;
    for (int i = 0; i < count; ++i) {
        if (word == words[i]) return static_cast<Enum>(i);
        accepted += std::string(i == 0 ? "'" : i + 1 < count ? ", '" : " or '") + words[i] + "'";
    }
    throw py::value_error(std::string(option) + " must be " + accepted + ", not '" + word + "'");
}

// The bytes of a block of the library.
inline std::string_view viewOf(const DibBytes& block) {
    return {reinterpret_cast<const char*>(block.data), block.size};
}

struct ReleaseView {
    void operator()(Py_buffer* view) const {
        PyBuffer_Release(view);
        delete view;
    }
};

// Where bytes come from or go to: a path, a block of memory, or an object with a method.
struct Place {
    enum Kind { kPath, kBytes, kStream } kind;
    std::string path;                                         // kPath: in the encoding of the system
    py::object object;                                        // for messages, or the stream
    std::unique_ptr<Py_buffer, ReleaseView> bytes = nullptr;  // kBytes

    const void* data() const { return bytes->buf; }
    std::size_t size() const { return static_cast<std::size_t>(bytes->len); }
};
// Throws where nothing can be opened from an object.
Place sourceOf(const py::object& source);
// The same object, or the bytes of a file, which is read to its end; its position is restored.
py::object wholeSource(const py::object& source);

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
