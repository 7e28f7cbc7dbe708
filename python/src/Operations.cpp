// Operations as methods: each row of the table is one (DibOperation.h).
#include <DibOperation.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "python/src/Failure.h"
#include "python/src/Image.h"
#include "python/src/Places.h"
#include "python/src/Watch.h"

namespace python {

namespace {

// The second pictures that are images instead of files.
class Pictures {
public:
    // The name by which a step finds the image.
    std::string add(const Image& image) {
        images_.push_back(&image);
        return nameOf(images_.size() - 1);
    }
    void install(DibApplyOptions& how) {
        if (images_.empty()) return;
        how.open = &Pictures::open;
        how.context = this;
    }

private:
    static std::string nameOf(std::size_t index) { return "picture " + std::to_string(index); }
    static bool open(void* context, const char* name, DibStream* image, DibFileResult* result,
                     DibProgressCallback callback, void* user) {
        const auto& images = static_cast<Pictures*>(context)->images_;
        for (std::size_t i = 0; i < images.size(); ++i) {
            if (nameOf(i) != name) continue;
            images[i]->lendTo(*image);
            return true;
        }
        return DibLoadFile(name, image, nullptr, result, callback, user);
    }

    std::vector<const Image*> images_;
};

std::string numberText(long long number) { return std::to_string(number); }
// Without an exponent where that is readable, so that 100000.0 is a whole number.
std::string numberText(double number) {
    char text[64];
    const bool isPlain = number > -1e15 && number < 1e15;
    const auto [end, error] = std::to_chars(std::begin(text), std::end(text), number,
                                            isPlain ? std::chars_format::fixed : std::chars_format::general);
    return error == std::errc() ? std::string(std::begin(text), end) : std::to_string(number);
}

// One value, in the notation of the table.
class ValueText {
public:
    ValueText(const DibParameter& parameter, Pictures& pictures)
        : parameter_(parameter), pictures_(pictures) {}

    std::string of(py::handle value) const {
        if (parameter_.kind == DIB_PARAMETER_SIZE && PyUnicode_Check(value.ptr()) == 0 && !isPair(value))
            throw py::type_error(std::string(parameter_.name) + " cannot be " +
                                 py::repr(value).cast<std::string>() +
                                 ": sizes are (width, height), '320x240' or '50%'");
        return textOf(value);
    }

private:
    static bool isPair(py::handle value) { return PySequence_Check(value.ptr()) != 0 && py::len(value) == 2; }
    std::string textOf(py::handle value) const {
        if (parameter_.kind == DIB_PARAMETER_SWITCH && PyBool_Check(value.ptr()) != 0)
            return value.cast<bool>() ? "yes" : "no";
        if (PyUnicode_Check(value.ptr()) != 0)
            return ofPath() ? encoded(value) : wholeText(value.cast<std::string>());
        if (PyBool_Check(value.ptr()) == 0) {
            if (PyLong_Check(value.ptr()) != 0) return integerText(value);
            if (PyFloat_Check(value.ptr()) != 0) return numberText(PyFloat_AS_DOUBLE(value.ptr()));
            if (ofPath())
                return py::isinstance<Image>(value) ? pictures_.add(value.cast<const Image&>())
                                                    : encoded(value);
            if (PySequence_Check(value.ptr()) != 0)
                return sequenceText(py::reinterpret_borrow<py::sequence>(value));
            if (PyIndex_Check(value.ptr()) != 0)
                return integerText(py::reinterpret_steal<py::object>(checked(PyNumber_Index(value.ptr()))));
            if (PyNumber_Check(value.ptr()) != 0) return numberText(value.cast<double>());
        }
        throw py::type_error(std::string(parameter_.name) + " cannot be " +
                             py::repr(value).cast<std::string>());
    }
    bool ofPath() const { return parameter_.kind == DIB_PARAMETER_PATH; }

    static PyObject* checked(PyObject* object) {
        if (object == nullptr) throw py::error_already_set();
        return object;
    }
    static std::string integerText(py::handle value) {
        int isTooLarge = 0;
        const long long number = PyLong_AsLongLongAndOverflow(value.ptr(), &isTooLarge);
        return isTooLarge == 0 ? numberText(number) : py::str(value).cast<std::string>();
    }
    std::string sequenceText(const py::sequence& values) const {
        switch (parameter_.kind) {
            case DIB_PARAMETER_SIZE: return joined(values, "x");
            case DIB_PARAMETER_FLAGS: return values.empty() ? "none" : joined(values, "+");
            case DIB_PARAMETER_COLOR:
            case DIB_PARAMETER_FILL: return colorText(values);
            default: throw py::type_error(std::string(parameter_.name) + " cannot be a sequence");
        }
    }
    std::string joined(const py::sequence& values, const char* separator) const {
        std::string text;
        for (const py::handle value : values) text += (text.empty() ? "" : separator) + textOf(value);
        return text;
    }

    const DibParameter& parameter_;
    Pictures& pictures_;
};

// Applies steps to an image that borrows the pixels of another one.
py::object applied(const Image& image, const DibStep* steps, int stepCount, Pictures& pictures,
                   bool isClassic, const py::object& progress) {
    DibApplyOptions how;
    how.classic = isClassic;
    pictures.install(how);
    Watch watch(progress);
    DibOperationResult result;
    DibHandle made = DibHandle::make();
    if (!made) failWithoutMemory();
    image.lendTo(*made);
    const bool isDone = [&] {
        const py::gil_scoped_release unlocked;
        return DibApply(made.get(), steps, stepCount, &how, &result, watch.callback(), &watch);
    }();
    watch.rethrow();
    if (!isDone) fail(result);
    Origin origin = image.origin;
    if (result.noteCount > 0)
        origin.notes = py::tuple(origin.notes + notesOf(result.notes, result.noteCount));
    // Pixels that have changed are transparent by the indices that the steps gave them.
    const bool keepsIndices = std::all_of(steps, steps + stepCount,
                                          [](const DibStep& step) { return step.operation->movesPixels; });
    const DibBytes& alpha = result.paletteAlpha;
    if (!keepsIndices && (alpha.size > 0 || !origin.metadata.attr("palette_alpha").is_none())) {
        py::object entries = py::none();
        if (alpha.size > 0) entries = py::bytes(viewOf(alpha));
        origin.metadata = origin.metadata.attr("with_palette_alpha")(entries);
    }
    if (result.exchangesAxes) origin.metadata = origin.metadata.attr("with_axes_exchanged")();
    return wrap(std::move(made), std::move(origin));
}

py::object difference(const Image& image, const Image& other, const py::object& progress) {
    Watch watch(progress);
    DibOperationResult result;
    DibDifference found;
    const bool isDone = [&] {
        const py::gil_scoped_release unlocked;
        return DibCompare(image.get(), other.get(), &found, nullptr, 1, &result, watch.callback(), &watch);
    }();
    watch.rethrow();
    if (!isDone) fail(result);
    py::object place = py::none();
    if (found.x >= 0) place = py::make_tuple(found.x, found.y);
    return record("Difference")(found.pixels, found.differentPixels, found.largest, place, found.meanSquare,
                                found.psnr, found.isSameSize);
}

// A method that applies one operation.
class Method {
public:
    Method(const DibOperation& operation, std::string name)
        : operation_(operation), parameters_(operation.parameters), name_(std::move(name)) {
        for (const DibParameter* parameter : parameters_) {
            std::string spelled = parameter->name;
            std::replace(spelled.begin(), spelled.end(), '-', '_');
            names_.push_back(std::move(spelled));
        }
    }

    py::object operator()(const Image& image, const py::args& args, const py::kwargs& kwargs) const {
        Pictures pictures;
        std::vector<std::string> texts(names_.size());
        std::vector<const char*> values(names_.size());
        const auto take = [&](std::size_t i, py::handle value) {
            if (value.is_none()) return;
            texts[i] = ValueText(*parameters_[i], pictures).of(value);
            values[i] = texts[i].c_str();
        };
        if (args.size() > names_.size()) failTooMany(args.size());
        for (std::size_t i = 0; i < args.size(); ++i) take(i, args[i]);
        py::object progress = py::none();
        for (const auto& [key, value] : kwargs) {
            const std::size_t i = indexOf(key);
            if (i == names_.size()) {
                progress = py::reinterpret_borrow<py::object>(value);
                continue;
            }
            if (i < args.size())
                throw py::type_error(name_ + "() got multiple values for argument '" + names_[i] + "'");
            take(i, value);
        }
        for (std::size_t i = 0; i < names_.size(); ++i) {
            if (values[i] == nullptr && parameters_[i]->standard == nullptr)
                throw py::type_error(name_ + "() missing required argument '" + names_[i] + "'");
        }
        const DibStep step = {&operation_, values.data()};
        return applied(image, &step, 1, pictures, false, progress);
    }

private:
    // The number of a parameter; after the last one for `progress`.
    std::size_t indexOf(py::handle key) const {
        for (std::size_t i = 0; i < names_.size(); ++i) {
            if (PyUnicode_CompareWithASCIIString(key.ptr(), names_[i].c_str()) == 0) return i;
        }
        if (PyUnicode_CompareWithASCIIString(key.ptr(), "progress") == 0) return names_.size();
        std::vector<const char*> known;
        for (const std::string& name : names_) known.push_back(name.c_str());
        known.insert(known.end(), {"progress", nullptr});
        const auto typed = key.cast<std::string>();
        const char* nearest = DibNearestName(typed.c_str(), known.data());
        throw py::type_error(name_ + "() got an unexpected keyword argument '" + typed + "'" +
                             (nearest != nullptr ? "; did you mean '" + std::string(nearest) + "'?" : ""));
    }
    [[noreturn]] void failTooMany(std::size_t given) const {
        throw py::type_error(name_ + "() takes at most " + std::to_string(names_.size()) +
                             " positional arguments (" + std::to_string(given) + " given)");
    }

    const DibOperation& operation_;
    DibList<DibParameter> parameters_;
    std::string name_;
    std::vector<std::string> names_;
};

py::object applyChain(const Image& image, const std::string& chain, bool isClassic,
                      const py::object& progress) {
    DibChain parsed;
    DibOperationResult result;
    if (!DibParseChain(wholeText(chain).c_str(), &parsed, &result)) fail(result);
    Pictures none;
    return applied(image, parsed.steps, parsed.stepCount, none, isClassic, progress);
}

void checkChain(const std::string& chain) {
    DibChain parsed;
    DibOperationResult result;
    if (!DibParseChain(wholeText(chain).c_str(), &parsed, &result)) fail(result);
}

}  // namespace

void bindOperations(py::module_& module, py::class_<Image>& image) {
    module.def("describe_operations", [] {
        DibBytes text;
        if (!DibDescribeOperations(DIB_DESCRIBE_JSON, &text)) failWithoutMemory();
        return py::str(viewOf(text));
    });
    module.def("check_chain", &checkChain, py::arg("chain"), R"(check_chain(chain)
--

Raises ParameterError when the text is no chain of operations: before many pictures are opened.)");
    module.def("add_method",
               [image](const char* operation, const std::string& name, const std::string& doc) mutable {
                   const DibOperation* found = DibFindOperation(operation);
                   if (found == nullptr) throw py::key_error(operation);
                   py::options options;
                   options.disable_function_signatures();
                   image.attr(name.c_str()) = py::cpp_function(Method(*found, name), py::name(name.c_str()),
                                                               py::is_method(image), py::doc(doc.c_str()));
               });
    image.def("apply", &applyChain, py::arg("chain"), py::kw_only(), py::arg("classic") = false,
              py::arg("progress") = py::none(),
              R"(apply(self, chain, *, classic=False, progress=None)
--

Applies operations that are written as a text: 'rotate:30,wrap=xy gaussian:4'.

classic: sets the switch of all steps that have it)");
    image.def("difference", &difference, py::arg("other"), py::kw_only(), py::arg("progress") = py::none(),
              R"(difference(self, other, *, progress=None)
--

What differs between two pictures of any depth, as numbers; compare() shows it as a picture.)");
}

}  // namespace python
