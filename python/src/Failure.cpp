#include "python/src/Failure.h"

namespace python {

using py::literals::operator""_a;

namespace {

[[noreturn]] void raise(const py::object& exception) {
    PyErr_SetObject(py::type::handle_of(exception).ptr(), exception.ptr());
    throw py::error_already_set();
}

py::object failure(const char* name) { return py::module_::import("dibstream._errors").attr(name); }

py::object textOrNone(const char* text) {
    if (text == nullptr) return py::none();
    return py::str(text);
}

}  // namespace

py::object record(const char* name) { return py::module_::import("dibstream._records").attr(name); }

py::tuple notesOf(const DibNote* notes, int count) {
    constexpr const char* kKinds[] = {"warning", "assumption", "loss"};
    py::list list;
    for (int i = 0; i < count; ++i) list.append(record("Note")(kKinds[notes[i].kind], notes[i].text));
    return py::tuple(list);
}

void fail(const DibFileResult& result, const py::object& path) {
    raise(failure("of_file")(result.code, result.reason,
                             textOrNone(result.format != nullptr ? result.format->name : nullptr), path));
}

void fail(const DibOperationResult& result) {
    raise(
        failure("of_operation")(result.code, result.reason, result.step,
                                textOrNone(result.operation != nullptr ? result.operation->name : nullptr),
                                textOrNone(result.parameter != nullptr ? result.parameter->name : nullptr),
                                result.parameter != nullptr && result.parameter->min < result.parameter->max
                                    ? py::object(py::make_tuple(result.parameter->min, result.parameter->max))
                                    : py::object(py::none()),
                                textOrNone(result.suggestion)));
}

void failWithoutMemory() {
    DibFileResult result;
    result.code = DIB_ERROR_MEMORY;
    std::snprintf(result.reason, sizeof result.reason,
                  "there is not enough memory, or no image can have that size");
    fail(result, py::none());
}

}  // namespace python
