"""Libraries of Python that write files."""
import os

from pictures import CHANNELS, HEIGHT, WIDTH, samples_of

os.environ["OPENCV_IO_ENABLE_OPENEXR"] = "1"


def pillow_write(kind, picture, path, mode="", **options):
    from PIL import Image
    kept = CHANNELS.get(kind, "RGB")
    image = Image.frombytes("L" if kept == "1" else kept, (WIDTH, HEIGHT), samples_of(kind, picture))
    if mode == "P":
        image = image.quantize(256, dither=0)
    elif mode == "I;16":
        image = Image.frombytes("I;16", (WIDTH, HEIGHT), bytes(v for b in samples_of(kind, picture) for v in (b, b)))
    elif mode in ("I", "F"):
        image = image.convert("F").point(lambda v: v / 255 + 0) if mode == "F" else image.convert("I").point(lambda v: v * 257)
    elif mode:
        image = image.convert(mode, dither=0)
    if "exif" in options:
        exif = Image.Exif()
        exif[274] = int(options.pop("orientation"))
        options["exif"] = exif
    image.save(path, **{name: value for name, value in options.items() if value is not None})


def pillow_read(path):
    from PIL import Image
    image = Image.open(path).convert("RGBA")
    pixels = list(image.getdata())
    return [pixels[i:i + image.width] for i in range(0, len(pixels), image.width)]


def opencv_write(kind, picture, path, depth="uint8", parameters=()):
    import cv2
    import numpy
    count = len(CHANNELS.get(kind, "RGB"))
    pixels = numpy.frombuffer(samples_of(kind, picture), numpy.uint8).reshape(HEIGHT, WIDTH, count)
    if count >= 3:
        pixels = pixels[:, :, [2, 1, 0, 3][:count]]
    if depth == "uint16":
        pixels = pixels.astype(numpy.uint16) * 257
    elif depth != "uint8":
        pixels = pixels.astype(depth) / 255
    names = [getattr(cv2, word) if isinstance(word, str) else word for word in parameters]
    if not cv2.imwrite(str(path), pixels, names):
        raise ValueError("imwrite")


def openimageio_write(kind, picture, path, depth="uint8", tile=0, multiplied=False, **attributes):
    import OpenImageIO
    import numpy
    count = len(CHANNELS.get(kind, "RGB"))
    layout = OpenImageIO.ImageSpec(WIDTH, HEIGHT, count, depth)
    if count in (2, 4):
        layout.alpha_channel = count - 1
        layout.attribute("oiio:UnassociatedAlpha", 0 if multiplied else 1)
    if tile:
        layout.tile_width = layout.tile_height = tile
    for name, value in attributes.items():
        if value is not None:
            layout.attribute(name.replace("_", ":", 1), value)
    out = OpenImageIO.ImageOutput.create(str(path))
    pixels = numpy.frombuffer(samples_of(kind, picture), numpy.uint8).reshape(HEIGHT, WIDTH, count)
    if multiplied:  # by alpha, in floats: bytes of dark colours would not come back
        pixels = pixels.astype(numpy.float32) / 255
        pixels[:, :, :-1] *= pixels[:, :, -1:]
    if out is None or not out.open(str(path), layout) or not out.write_image(pixels) or not out.close():
        raise ValueError(OpenImageIO.geterror() or "write_image")


WRITERS = {"Pillow": ("PIL", pillow_write), "OpenCV": ("cv2", opencv_write), "OpenImageIO": ("OpenImageIO", openimageio_write)}
