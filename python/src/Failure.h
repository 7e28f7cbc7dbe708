// Failures of the library as exceptions (dibstream/_errors.py), results as records (dibstream/_records.py).
#ifndef PYTHON_SRC_FAILURE_H
#define PYTHON_SRC_FAILURE_H

#include <DibOperation.h>
#include <pybind11/pybind11.h>

namespace python {

namespace py = pybind11;

// A class of dibstream/_records.py.
py::object record(const char* name);
// Notes as a tuple of Note.
py::tuple notesOf(const DibNote* notes, int count);

// Throws the exception of a failed call; `path` is the file, None when there is none.
[[noreturn]] void fail(const DibFileResult& result, const py::object& path);
[[noreturn]] void fail(const DibOperationResult& result);
[[noreturn]] void failWithoutMemory();

}  // namespace python

#endif
