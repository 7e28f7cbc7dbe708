#include "python/src/Places.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace python {

bool isPath(const py::object& place) {
    return py::isinstance<py::str>(place) || py::hasattr(place, "__fspath__");
}

bool isPathToSave(const py::object& target) {
    const bool isOne = isPath(target);
    if (!isOne && !py::hasattr(target, "write"))
        throw py::type_error("pictures and palettes are saved to a path or a binary file, not to " +
                             py::repr(target).cast<std::string>());
    return isOne;
}

std::string formatOfStream(const py::object& stream) {
    const py::object name = py::getattr(stream, "name", py::none());
    if (py::isinstance<py::str>(name)) {
        const auto text = name.cast<std::string>();
        const std::size_t dot = text.rfind('.');
        if (dot != std::string::npos) return text.substr(dot + 1);
    }
    throw py::type_error("format must be given: the file has no name that ends with one");
}

std::string wholeText(std::string text) {
    if (text.find('\0') != std::string::npos) throw py::value_error("a text cannot have a zero byte in it");
    return text;
}

std::optional<std::uint8_t> channelOf(py::handle value) {
    if (PyIndex_Check(value.ptr()) == 0) return std::nullopt;
    const auto number = py::reinterpret_steal<py::object>(PyNumber_Index(value.ptr()));
    if (!number) throw py::error_already_set();
    int isTooLarge = 0;
    const long channel = PyLong_AsLongAndOverflow(number.ptr(), &isTooLarge);
    if (isTooLarge != 0 || channel < 0 || channel > 255) return std::nullopt;
    return static_cast<std::uint8_t>(channel);
}

std::string colorText(const py::sequence& values) {
    std::string text = "#";
    for (const py::handle value : values) {
        const std::optional<std::uint8_t> channel = channelOf(value);
        if (!channel) return py::repr(values).cast<std::string>();
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", unsigned{*channel});
        text += digits;
    }
    return values.size() == 3 || values.size() == 4 ? text : py::repr(values).cast<std::string>();
}

std::string encoded(py::handle path) {
    return wholeText(py::module_::import("os").attr("fsencode")(path).cast<std::string>());
}

Place sourceOf(const py::object& source) {
    if (isPath(source)) return {Place::kPath, encoded(source), source};
    if (PyObject_CheckBuffer(source.ptr()) != 0) {
        Place place{Place::kBytes, {}, py::none()};
        auto view = std::make_unique<Py_buffer>();
        if (PyObject_GetBuffer(source.ptr(), view.get(), PyBUF_SIMPLE) != 0) throw py::error_already_set();
        place.bytes.reset(view.release());
        return place;
    }
    if (py::hasattr(source, "read")) return {Place::kStream, {}, source};
    throw py::type_error("a picture is opened from a path, bytes or a binary file, not from " +
                         py::repr(source).cast<std::string>());
}

py::object wholeSource(const py::object& source) {
    if (isPath(source) || PyObject_CheckBuffer(source.ptr()) != 0 || !py::hasattr(source, "read"))
        return source;
    const bool canSeek = py::hasattr(source, "seekable") && source.attr("seekable")().cast<bool>();
    const py::object position = canSeek ? source.attr("tell")() : py::none();
    py::object bytes = source.attr("read")();
    if (canSeek) source.attr("seek")(position);
    if (!py::isinstance<py::bytes>(bytes)) throw py::type_error("the file must be opened in binary mode");
    return bytes;
}

template <class Work>
bool Stream::call(const Work& work) {
    const py::gil_scoped_acquire lock;
    try {
        work(object_.attr(method_));
        return true;
    } catch (py::error_already_set& error) {
        error_.emplace(std::move(error));
    } catch (const std::exception& error) {
        PyErr_SetString(PyExc_TypeError, error.what());
        error_.emplace();
    }
    return false;
}

std::size_t Stream::read(void* context, void* out, std::size_t bytes) {
    std::size_t got = 0;
    const bool isDone = static_cast<Stream*>(context)->call([&](const py::object& method) {
        const py::object block = method(bytes);
        if (!py::isinstance<py::bytes>(block)) throw py::type_error("the file must be opened in binary mode");
        const std::string_view text = block.cast<std::string_view>();
        got = std::min(text.size(), bytes);
        std::memcpy(out, text.data(), got);
    });
    return isDone ? got : DibReader::kFailed;
}

bool Stream::write(void* context, const void* from, std::size_t bytes) {
    return static_cast<Stream*>(context)->call([&](const py::object& method) {
        const auto* next = static_cast<const char*>(from);
        for (std::size_t left = bytes; left > 0;) {
            const py::object written =
                method(py::memoryview::from_memory(next, static_cast<py::ssize_t>(left)));
            // Raw files may write less than they get; other objects return nothing of interest.
            const std::size_t count = py::isinstance<py::int_>(written) ? written.cast<std::size_t>() : left;
            if (count == 0 || count > left) throw py::value_error("write() returned a wrong number");
            next += count;
            left -= count;
        }
    });
}

}  // namespace python
