// Images as objects of Python.
#ifndef PYTHON_SRC_IMAGE_H
#define PYTHON_SRC_IMAGE_H

#include <DibFile.h>
#include <DibHandle.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

namespace python {

namespace py = pybind11;

// What an image keeps of its file, also through operations.
struct Origin {
    explicit Origin(py::object data) : metadata(std::move(data)) {}
    Origin(py::object name, py::object data, py::tuple list)
        : format(std::move(name)), metadata(std::move(data)), notes(std::move(list)) {}

    py::object format = py::none();  // name of the format
    py::object metadata;             // a Metadata (dibstream/_records.py)
    py::tuple notes;                 // of Note
};

// An image whose blocks never move: arrays that show its pixels stay valid as long as they live.
class Image {
public:
    // Takes an image with pixels. Its colour table gets room for all entries of its depth.
    Image(DibHandle pixels, Origin origin);
    // The same with pixels that `memory` keeps alive, which is a memoryview of `base`.
    Image(DibHandle pixels, Origin origin, py::object base, py::object memory, bool isReadOnly);

    const DibStream* get() const { return pixels_.get(); }
    // An independent copy, without Python's lock. No image when memory is short.
    DibHandle clone() const;
    // Gives an image the same blocks, which it does not own and must not change.
    void lendTo(DibStream& borrower) const;

    int width() const { return pixels_.width(); }
    int height() const { return pixels_.height(); }
    int bitCount() const { return pixels_.bitCount(); }
    bool isTopDown() const { return get()->Header->biHeight < 0; }
    const unsigned char* row(int y) const { return pixels_.row(y); }

    // The entries of the colour table that the header announces.
    std::uint32_t paletteSize() const;
    DibBGRA* palette() const;
    void setPaletteSize(std::uint32_t count) const { get()->Header->biClrUsed = count; }

    // Fills a view of the pixels, as PEP 3118 describes. Returns -1 with a Python error set.
    int fillView(PyObject* self, Py_buffer* view, int flags) const;

    Origin origin;
    const py::object base;  // whose memory the pixels are; None when the image owns it

private:
    DibHandle pixels_;
    py::object memory_;
    bool isReadOnly_ = false;
    // rows, columns, bytes of a pixel
    mutable Py_ssize_t shape_[3] = {};
    mutable Py_ssize_t strides_[3] = {};
};

// Makes an object of Python.
py::object wrap(DibHandle pixels, Origin origin);

// Adds classes and functions to the module.
void bindImage(py::module_& module);
void bindPickling(py::module_& module, py::class_<Image>& image);
void bindLoad(py::module_& module);
void bindSave(py::class_<Image>& image);
void bindPalettes(py::module_& module, py::class_<Image>& image);
void bindOperations(py::module_& module, py::class_<Image>& image);
void bindMontage(py::module_& module);
void bindArrays(py::module_& module, py::class_<Image>& image);

}  // namespace python

#endif
