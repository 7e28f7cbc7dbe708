// The compiled part of the package dibstream.
#include "python/src/Image.h"

PYBIND11_MODULE(_core, module) {
    // Texts begin with the signature, from which inspect.signature reads it.
    pybind11::options options;
    options.disable_function_signatures();
    module.attr("__version__") = DIB_PROJECT_VERSION;
    module.attr("_plugin_folder") = DIB_PYTHON_PLUGIN_FOLDER;
    python::bindImage(module);
}
