"""Libraries that may be missing, and their functions on arrays of red, green, blue and alpha."""
import importlib

import cairo
import numpy
from PIL import Image

MARGIN = 16  # more than any filter reaches
MODULES = {"OpenCV": "cv2", "SciPy": "scipy.ndimage", "libvips": "gi.repository.Vips"}


def imported(name):
    try:
        if name == "libvips":
            importlib.import_module("gi").require_version("Vips", "8.0")
        return importlib.import_module(MODULES[name])
    except (ImportError, ValueError):
        return None


cv2, ndimage, Vips = (imported(name) for name in ("OpenCV", "SciPy", "libvips"))
PRESENT = {"Pillow": True, "NumPy": True, "OpenCV": cv2 is not None, "SciPy": ndimage is not None, "libvips": Vips is not None,
           "cairo": cairo.LIBRARY is not None}
if cv2 is not None:
    cv2.setNumThreads(1)
if Vips is not None:
    Vips.init("peers")


def pil(make):
    """A function of pictures of Pillow."""
    return lambda *arrays: numpy.asarray(make(*map(Image.fromarray, arrays)))


def vips(make):
    """A function of pictures of libvips."""
    def run(*arrays):
        arrays = [array if array.ndim == 3 else array[:, :, None] for array in arrays]
        images = [call("copy", Vips.Image.new_from_memory_copy(numpy.ascontiguousarray(array).tobytes(), array.shape[1], array.shape[0],
                                                          array.shape[2], Vips.BandFormat.UCHAR),
                       interpretation=Vips.Interpretation.SRGB if array.shape[2] > 1 else Vips.Interpretation.B_W) for array in arrays]
        made = call("cast", make(*images), format=Vips.BandFormat.UCHAR)
        return numpy.frombuffer(made.write_to_memory(), numpy.uint8).reshape(made.get_height(), made.get_width(), made.get_bands())
    return run


def call(name, *images, **settings):
    """An operation of libvips by its name: Debian has no pyvips."""
    operation = Vips.Operation.new(name)
    inputs = {1: ["in"], 2: ["in1", "in2"]}[len(images)]
    if name == "composite2":
        inputs = ["base", "overlay"]
    for key, value in [*zip(inputs, images), *settings.items()]:
        setattr(operation.props, key, value)
    operation = Vips.cache_operation_build(operation)
    made = operation.props.out
    operation.unref_outputs()
    return made


def doubles(values):
    return Vips.ArrayDouble.new(values)


def resized(width, height, kernel):
    """A size by Pillow in floats, as of bytes it would clip what lies between both directions. Edges are drawn out, colours weighed."""
    def run(array):
        planes = array.astype(numpy.float32)
        if planes.shape[2] == 4:
            planes[:, :, :3] *= planes[:, :, 3:] / 255
        planes = numpy.pad(planes, ((MARGIN, MARGIN), (MARGIN, MARGIN), (0, 0)), "edge")
        box = (MARGIN, MARGIN, MARGIN + array.shape[1], MARGIN + array.shape[0])
        made = numpy.dstack([Image.fromarray(plane).resize((width, height), kernel, box) for plane in numpy.moveaxis(planes, 2, 0)])
        if made.shape[2] == 4:
            made[:, :, :3] *= 255 / numpy.maximum(made[:, :, 3:], 0.5)
        return numpy.floor(numpy.clip(made, 0, 255) + 0.5)
    return run
