"""Blend modes and text by cairo, through its C functions: Debian's Python package of it may be missing."""
import ctypes
import ctypes.util

import numpy

NAME = ctypes.util.find_library("cairo")
LIBRARY = ctypes.CDLL(NAME) if NAME else None
ARGB, SLIGHT_HINTS, EXACT_METRICS = 0, 2, 1

# cairo_operator_t
OPERATORS = {name: 14 + i for i, name in enumerate((
    "multiply", "screen", "overlay", "darken", "lighten", "color-dodge", "color-burn", "hard-light", "soft-light", "difference",
    "exclusion", "hue", "saturation", "color", "luminosity"))} | {"normal": 2}


def function(name, *kinds, returns=None):
    found = getattr(LIBRARY, f"cairo_{name}")
    found.argtypes, found.restype = kinds, returns
    return found


def pointer(name, *values, kinds=None):
    return function(name, *(kinds or [ctypes.c_void_p] * len(values)), returns=ctypes.c_void_p)(*values)


class Surface:
    """A picture: blue, green, red and alpha, with colours multiplied by it."""

    def __init__(self, array):
        pixels = numpy.dstack([array, numpy.full(array.shape[:2], 255)]) if array.shape[2] == 3 else array
        self.bytes = numpy.ascontiguousarray(pixels[:, :, [2, 1, 0, 3]].astype(float))
        self.bytes[:, :, :3] *= self.bytes[:, :, 3:] / 255
        self.bytes = numpy.floor(self.bytes + 0.5).astype(numpy.uint8)
        height, width, _ = self.bytes.shape
        self.handle = pointer("image_surface_create_for_data", self.bytes.ctypes.data, ARGB, width, height, 4 * width,
                              kinds=[ctypes.c_void_p] + 4 * [ctypes.c_int])
        self.pen = pointer("create", self.handle)

    def do(self, name, *values):
        kinds = [ctypes.c_double if isinstance(value, float) else ctypes.c_int if isinstance(value, int) else ctypes.c_void_p
                 for value in values]
        function(name, ctypes.c_void_p, *kinds)(self.pen, *values)

    def shown(self):
        function("surface_flush", ctypes.c_void_p)(self.handle)
        array = self.bytes[:, :, [2, 1, 0, 3]].astype(float)
        array[:, :, :3] *= 255 / numpy.maximum(array[:, :, 3:], 1)
        function("destroy", ctypes.c_void_p)(self.pen)
        function("surface_destroy", ctypes.c_void_p)(self.handle)
        return numpy.floor(array + 0.5)


def blended(mode, x, y):
    """A second picture over the first at a place."""
    def run(under, over):
        to, source = Surface(under), Surface(over)
        pointer("set_source_surface", to.pen, source.handle, float(x), float(y),
                kinds=[ctypes.c_void_p, ctypes.c_void_p, ctypes.c_double, ctypes.c_double])
        to.do("set_operator", OPERATORS[mode])
        to.do("rectangle", float(x), float(y), float(over.shape[1]), float(over.shape[0]))
        to.do("fill")
        source.shown()
        return to.shown()
    return run


def written(text, x, baseline, size, color):
    """A line of text in DejaVu Sans."""
    def run(under):
        to = Surface(under)
        kinds = [ctypes.c_void_p, ctypes.c_int]
        options = pointer("font_options_create")
        function("font_options_set_hint_style", *kinds)(options, SLIGHT_HINTS)
        function("font_options_set_hint_metrics", *kinds)(options, EXACT_METRICS)
        function("font_options_set_antialias", *kinds)(options, 2)  # in grey
        function("set_font_options", ctypes.c_void_p, ctypes.c_void_p)(to.pen, options)
        function("select_font_face", ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int, ctypes.c_int)(to.pen, b"DejaVu Sans", 0, 0)
        to.do("set_font_size", float(size))
        to.do("set_source_rgb", *(channel / 255 for channel in color))
        to.do("move_to", float(x), float(baseline))
        function("show_text", ctypes.c_void_p, ctypes.c_char_p)(to.pen, text.encode())
        function("font_options_destroy", ctypes.c_void_p)(options)
        return to.shown()
    return run
