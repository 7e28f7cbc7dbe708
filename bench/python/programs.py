"""The ten jobs as each program does them: how it opens and saves files, and the operation of each job.

Settings are the same everywhere: JPEG of quality 85 with halved chroma, which is every program's default there; PNG at level 6,
with the row filters that the program selects by itself; libvips would use none and is given all. Thumbnails use the program's way to decode at a smaller scale.
"""
import math
import os

QUALITY = 85
LEVEL = 6
RESIZED = (1200, 900)
THUMBNAIL = (160, 90)
CROP = (560, 240, 800, 600)  # x, y, width, height
SIGMA = 4
ANGLE = 30
CONTRAST = 1.3  # about 128
OPACITY = 0.25
COLORS = 256


def dibstream():
    import dibstream
    return ("DibStream " + dibstream.__version__,
            lambda path, job: dibstream.thumbnail(path, THUMBNAIL) if job == "thumbnail" else dibstream.open(path),
            lambda image, path, job: image.save(path, quality=QUALITY, compression=LEVEL), {
        "resize": lambda image: image.resize(RESIZED, filter="area"),
        "thumbnail": lambda image: image,
        "convert": lambda image: image,
        "crop": lambda image: image.crop(CROP[0], CROP[1], CROP[2:]),
        "blur": lambda image: image.gaussian(3 * SIGMA),  # the radius is three deviations
        "rotate": lambda image: image.rotate(ANGLE),
        "palette": lambda image: image.bpp(8, method="median"),
        "grey": lambda image: image.bpp(8, method="grey"),
        "contrast": lambda image: image.contrast(CONTRAST),
        "blend": lambda image, second: image.compose(second, OPACITY),
    })


def pillow():
    import PIL
    from PIL import Image, ImageFilter

    def thumbnail(image):
        image.thumbnail(THUMBNAIL, Image.Resampling.BOX)
        return image

    return ("Pillow " + PIL.__version__,
            lambda path, job: Image.open(path),
            lambda image, path, job: image.save(path, quality=QUALITY, compress_level=LEVEL), {
        "resize": lambda image: image.resize(RESIZED, Image.Resampling.BOX),
        "thumbnail": thumbnail,
        "convert": lambda image: image,
        "crop": lambda image: image.crop((CROP[0], CROP[1], CROP[0] + CROP[2], CROP[1] + CROP[3])),
        "blur": lambda image: image.filter(ImageFilter.GaussianBlur(SIGMA)),
        "rotate": lambda image: image.rotate(ANGLE, Image.Resampling.BILINEAR),  # the others extend the edges
        "palette": lambda image: image.quantize(COLORS),
        "grey": lambda image: image.convert("L"),
        "contrast": lambda image: image.point([round(128 + CONTRAST * (value - 128)) for value in range(256)] * 3),
        "blend": lambda image, second: Image.blend(image, second, OPACITY),
    })


def opencv():
    """Without the job of a palette: it has no such pictures."""
    import cv2
    cv2.setNumThreads(1)
    settings = [cv2.IMWRITE_JPEG_QUALITY, QUALITY, cv2.IMWRITE_PNG_COMPRESSION, LEVEL]

    def rotate(image):
        height, width = image.shape[:2]
        turn = cv2.getRotationMatrix2D(((width - 1) / 2, (height - 1) / 2), ANGLE, 1)
        return cv2.warpAffine(image, turn, (width, height), borderMode=cv2.BORDER_REPLICATE)

    return ("OpenCV " + cv2.__version__,
            lambda path, job: cv2.imread(str(path), cv2.IMREAD_REDUCED_COLOR_8 if job == "thumbnail" else cv2.IMREAD_COLOR),
            lambda image, path, job: cv2.imwrite(str(path), image, settings), {
        "resize": lambda image: cv2.resize(image, RESIZED, interpolation=cv2.INTER_AREA),
        "thumbnail": lambda image: cv2.resize(image, THUMBNAIL, interpolation=cv2.INTER_AREA),
        "convert": lambda image: image,
        "crop": lambda image: image[CROP[1]:CROP[1] + CROP[3], CROP[0]:CROP[0] + CROP[2]],
        "blur": lambda image: cv2.GaussianBlur(image, (6 * SIGMA + 1, 6 * SIGMA + 1), SIGMA),
        "rotate": rotate,
        "grey": lambda image: cv2.cvtColor(image, cv2.COLOR_BGR2GRAY),
        "contrast": lambda image: cv2.addWeighted(image, CONTRAST, image, 0, 128 * (1 - CONTRAST)),
        "blend": lambda image, second: cv2.addWeighted(image, 1 - OPACITY, second, OPACITY, 0),
    })


def libvips():
    """Through GObject introspection: Debian has no pyvips, which calls the same operations. Rows stream from file to file."""
    os.environ["VIPS_CONCURRENCY"] = "1"  # read by init
    import gi
    gi.require_version("Vips", "8.0")
    from gi.repository import Vips
    Vips.init("jobs")
    Vips.cache_set_max(0)  # else a job is done once

    def call(name, image=None, **settings):
        operation = Vips.Operation.new(name)
        if image is not None:
            settings["in"] = image
        for key, value in settings.items():
            if isinstance(value, list):
                value = (Vips.ArrayInt if key == "oarea" else Vips.ArrayDouble).new(value)
            setattr(operation.props, key, value)
        operation = Vips.cache_operation_build(operation)
        made = None if name.endswith("save") else operation.props.out
        operation.unref_outputs()
        return made

    def opened(path, job):
        if job == "thumbnail":
            return call("thumbnail", filename=str(path), width=THUMBNAIL[0])
        access = Vips.Access.RANDOM if job == "rotate" else Vips.Access.SEQUENTIAL
        return call("pngload" if path.suffix == ".png" else "jpegload", filename=str(path), access=access)

    def save(image, path, job):
        settings = {"palette": True, "dither": 0} if job == "palette" else {"filter": Vips.ForeignPngFilter.ALL}
        if path.suffix == ".png":
            call("pngsave", image, filename=str(path), compression=LEVEL, **settings)
        else:
            call("jpegsave", image, filename=str(path), Q=QUALITY)

    def rotate(image):
        width, height = image.get_width(), image.get_height()
        x, y = (width - 1) / 2, (height - 1) / 2
        c, s = math.cos(math.radians(ANGLE)), math.sin(math.radians(ANGLE))
        return call("affine", image, matrix=[c, s, -s, c], oarea=[0, 0, width, height], odx=x - c * x - s * y,
                    ody=y + s * x - c * y, extend=Vips.Extend.COPY, interpolate=Vips.Interpolate.new("bilinear"))

    def scaled(image, factor):
        return call("linear", image, a=[factor], b=[0.0])

    def as_bytes(image):
        return call("cast", image, format=Vips.BandFormat.UCHAR)

    grey = Vips.Image.new_matrix_from_array(3, 1, [0.299, 0.587, 0.114])
    return "libvips " + Vips.version_string(), opened, save, {
        "resize": lambda image: call("shrink", image, hshrink=image.get_width() / RESIZED[0],
                                     vshrink=image.get_height() / RESIZED[1]),
        "thumbnail": lambda image: image,
        "convert": lambda image: image,
        "crop": lambda image: call("extract_area", input=image, left=CROP[0], top=CROP[1], width=CROP[2], height=CROP[3]),
        "blur": lambda image: call("gaussblur", image, sigma=SIGMA),
        "rotate": rotate,
        "palette": lambda image: image,
        "grey": lambda image: as_bytes(call("recomb", image, m=grey)),
        "contrast": lambda image: call("linear", image, a=[CONTRAST], b=[128 * (1 - CONTRAST)], uchar=True),
        "blend": lambda image, second: as_bytes(call("add", left=scaled(image, 1 - OPACITY), right=scaled(second, OPACITY))),
    }


PROGRAMS = {"dibstream": dibstream, "pillow": pillow, "opencv": opencv, "libvips": libvips}
