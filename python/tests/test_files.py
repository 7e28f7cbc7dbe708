"""Opening, probing and saving."""

import io
import pathlib

import numpy
import pytest

import dibstream


def test_open_from_everywhere(picture, tmp_path):
    file = tmp_path / "picture.png"
    picture.save(file)
    whole = dibstream.open(file)
    assert (numpy.asarray(whole) == numpy.asarray(picture)).all()
    for source in (str(file), file.read_bytes(), bytearray(file.read_bytes()), io.BytesIO(file.read_bytes())):
        image = dibstream.open(source)
        assert image.size == whole.size and image.format == "png"
        assert numpy.array_equal(numpy.asarray(image), numpy.asarray(whole))
    with open(file, "rb") as stream:
        assert dibstream.open(stream).size == whole.size
    for source in (file, str(file), file.read_bytes(), io.BytesIO(file.read_bytes())):
        info = dibstream.probe(source)
        assert (info.width, info.height, info.bits, info.format) == (*whole.size, whole.bits, "png")


def test_probe_leaves_the_position(picture):
    stream = io.BytesIO(picture.encode("png"))
    assert dibstream.probe(stream).width == 64
    assert stream.tell() == 0 and dibstream.open(stream).width == 64


def test_save_to_everywhere(picture, tmp_path):
    block = picture.encode("png")
    assert block.startswith(b"\x89PNG")
    assert picture.save(tmp_path / "a.png") == () and (tmp_path / "a.png").read_bytes() == block
    picture.save(str(tmp_path / "b"), format="png")
    assert (tmp_path / "b").read_bytes() == block
    stream = io.BytesIO()
    picture.save(stream, format="png")
    assert stream.getvalue() == block
    with open(tmp_path / "c.png", "wb", buffering=0) as file:
        picture.save(file)
    assert (tmp_path / "c.png").read_bytes() == block
    with pytest.raises(TypeError, match="format must be given"):
        picture.save(io.BytesIO())
    with pytest.raises(TypeError, match="a path or a binary file"):
        picture.save(5)


def test_save_options(noise):
    image = dibstream.from_array(noise)
    assert len(image.encode("jpg", quality=20)) < len(image.encode("jpg", quality=95))
    assert len(image.encode("tiff", tiff_compression="none")) > 360000
    plain = dibstream.new(64, 64)
    assert len(plain.encode("tga", run_lengths=False)) > 10 * len(plain.encode("tga"))
    with pytest.raises(ValueError, match="'deflate', 'lzw', 'packbits' or 'none', not 'zip'"):
        image.encode("tiff", tiff_compression="zip")
    with pytest.raises(dibstream.RefusedError, match="quality"):
        image.encode("jpg", quality=101)


def test_losses_and_strict(tmp_path):
    image = dibstream.new(4, 4, 32)
    kinds = {note.kind for note in image.losses("jpg")}
    assert kinds == {"loss"}
    assert {note.kind for note in image.save(tmp_path / "x.jpg")} == {"loss"}
    with pytest.raises(dibstream.RefusedError) as failure:
        image.save(tmp_path / "y.jpg", strict=True)
    assert failure.value.code == 8 and not (tmp_path / "y.jpg").exists()
    assert image.losses("png") == ()
    with pytest.raises(dibstream.FormatError):
        image.losses("xyz")


def test_metadata_travels(picture, tmp_path):
    assert picture.metadata == dibstream.Metadata()
    picture.metadata = dibstream.Metadata(resolution=(300, 300), color_profile=None, exif=b"II*\0\x08\0\0\0\0\0\0\0\0\0")
    picture.rotate(90).save(tmp_path / "a.png")
    metadata = dibstream.open(tmp_path / "a.png").metadata
    assert metadata.resolution == pytest.approx((300, 300), abs=0.1)
    assert metadata.exif == picture.metadata.exif
    assert dibstream.probe(tmp_path / "a.png").metadata.resolution == metadata.resolution
    picture.save(tmp_path / "b.png", metadata=None)
    assert dibstream.open(tmp_path / "b.png").metadata == dibstream.Metadata()
    picture.save(tmp_path / "c.png", metadata=dibstream.Metadata(resolution=(72, 72)))
    assert dibstream.open(tmp_path / "c.png").metadata.resolution == pytest.approx((72, 72), abs=0.1)
    with pytest.raises(TypeError):
        picture.metadata = {}


def test_few_colours_keep_transparency(tmp_path):
    pixels = numpy.zeros((2, 2, 4), "uint8")
    pixels[0, 1] = (1, 2, 3, 255)
    image = dibstream.from_array(pixels)
    few = image.colors(4)
    assert few.bits == 1 and few.metadata.palette_alpha == b"\0"
    assert image.apply("colors:4 mirror").metadata.palette_alpha == b"\0"
    assert few.brighten(0.5).metadata.palette_alpha is None
    few.save(tmp_path / "few.png")
    assert numpy.array_equal(numpy.asarray(dibstream.open(tmp_path / "few.png")), pixels)


def test_palette_alpha_belongs_to_its_palette(picture):
    image = picture.bpp(8, "median")
    image.metadata = dibstream.Metadata(palette_alpha=b"\0\x80")
    image = dibstream.open(image.encode("png"), keep_palette=True)
    assert image.bits == 8 and image.metadata.palette_alpha == b"\0\x80"
    assert image.scroll(5, 5).crop(0, 0, (9, 9)).metadata.palette_alpha == b"\0\x80"
    assert image.apply("scroll:5,5 crop:0,0,9x9").metadata.palette_alpha == b"\0\x80"
    assert image.apply("scroll:5,5 brighten:0.5").metadata.palette_alpha is None
    assert image.brighten(0.5).metadata.palette_alpha is None
    assert image.bpp(24).metadata.palette_alpha is None
    assert dibstream.open(image.encode("png")).bits == 32


def test_failures_say_why(picture, tmp_path):
    with pytest.raises(FileNotFoundError, match="nowhere.png") as failure:
        dibstream.open(tmp_path / "nowhere.png")
    assert isinstance(failure.value, dibstream.MissingFileError)
    assert failure.value.code == dibstream.ErrorCode.OPEN and failure.value.filename == tmp_path / "nowhere.png"
    with pytest.raises(FileNotFoundError):
        picture.save(tmp_path / "none" / "a.png")
    with pytest.raises(dibstream.FileError):
        dibstream.open(tmp_path)
    with pytest.raises(dibstream.FormatError, match="format of the file is not known"):
        dibstream.open(b"nonsense")
    with pytest.raises(dibstream.FileError, match="in row 3 of 48") as failure:
        dibstream.open(picture.encode("bmp")[:500])
    assert failure.value.format == "bmp" and failure.value.code == dibstream.ErrorCode.READ
    assert failure.value.path is None and str(failure.value) == failure.value.reason
    with pytest.raises(TypeError, match="a path, bytes or a binary file"):
        dibstream.open(5)
    with pytest.raises(TypeError, match="binary mode"):
        dibstream.open(io.StringIO("text"))


def test_limits(picture):
    block = picture.encode("png")
    with pytest.raises(dibstream.RefusedError, match="3072"):
        dibstream.open(block, max_pixels=3071)
    assert dibstream.open(block, max_pixels=3072).size == (64, 48)
    with pytest.raises(dibstream.RefusedError):
        dibstream.open(block, formats=["bmp", "tga"])
    assert dibstream.open(block, formats=["bmp", "png"]).format == "png"
    with pytest.raises(dibstream.RefusedError):
        dibstream.open(block, page=1)
    with pytest.raises(ValueError, match="'guess' or 'stored'"):
        dibstream.open(block, alpha="none")
    with pytest.raises(ValueError, match="from 0"):
        dibstream.open(block, layer=-1)


def test_damaged_files_can_be_kept(noise):
    block = dibstream.from_array(noise).encode("png")[:200000]
    with pytest.raises(dibstream.Error):
        dibstream.open(block)
    image = dibstream.open(block, keep_damaged=True)
    assert (numpy.asarray(image)[:100] == noise[:100]).all()
    assert [note.kind for note in image.notes] == ["warning"]
    assert image.rotate(0).notes == image.notes


def test_alpha_that_is_zero_everywhere():
    block = dibstream.new(2, 2, 32).encode("tga")
    opaque = dibstream.open(block, name="a.tga")
    assert (numpy.asarray(opaque.alpha) == 255).all()
    assert [note.kind for note in opaque.notes] == ["assumption"]
    assert (numpy.asarray(dibstream.open(block, name="a.tga", alpha="stored").alpha) == 0).all()


def test_layers(seeds):
    documents = 0
    for file in sorted((seeds / "psd").glob("*.ps[bd]")):
        try:
            layers = dibstream.probe_layers(file)
        except dibstream.Error:
            continue
        for layer in layers:
            assert layer.index == layers.index(layer)
            if layer.width > 0 and layer.kind == "plain":
                image = dibstream.open(file, layer=layer.index)
                assert image.size == (layer.width, layer.height) and image.bits == 32
                first = next(each for each in layers if each.name == layer.name)
                if first is layer:
                    named = dibstream.open(file, layer=layer.name)
                    assert named.encode("bmp") == image.encode("bmp")
                documents += 1
    assert documents > 0
    assert dibstream.probe_layers(dibstream.new(1, 1).encode("bmp")) == []
    with pytest.raises(dibstream.RefusedError, match='the file has no layer "sky"'):
        dibstream.open(dibstream.new(1, 1).encode("bmp"), layer="sky")
    with pytest.raises(dibstream.RefusedError, match='there is no page "left": pages of bmp files have no names'):
        dibstream.probe(dibstream.new(1, 1).encode("bmp"), page="left")
    with pytest.raises(ValueError, match="page counts from 0"):
        dibstream.open(dibstream.new(1, 1).encode("bmp"), page=-1)


def test_formats(picture):
    known = {format.name: format for format in dibstream.formats()}
    assert known["png"].extensions == ("png",) and known["png"].is_available
    assert known["jpeg"].mime_types == ("image/jpeg",) and known["jpeg"].write_depths == (8, 24)
    for format in known.values():
        if format.write_depths and format.is_available:
            assert dibstream.open(picture.encode(format.name), name=f"a.{format.extensions[0]}").size == (64, 48)


def test_plugins(seeds):
    known = {format.name: format for format in dibstream.formats()}
    if not pathlib.Path(dibstream.plugin_folder(), "vexlibdds.bundle").exists():
        pytest.skip("plug-ins are not built")
    assert known["dds"].is_available
    assert dibstream.open(seeds / "dds" / "rgb24.dds").format == "dds"


def test_webp_keeps_every_pixel_without_a_quality(picture):
    known = {format.name: format for format in dibstream.formats()}
    if not known["webp"].is_available:
        pytest.skip("its plug-in is not built")
    exact = dibstream.open(picture.encode("webp"))
    assert exact.encode("bmp") == picture.encode("bmp")
    assert picture.losses("webp", metadata=None) == ()
    lossy = picture.encode("webp", quality=50)
    assert lossy != picture.encode("webp") and dibstream.open(lossy).size == picture.size


def test_notebooks_show_png(picture):
    assert dibstream.open(picture._repr_png_()).size == (64, 48)


def test_objects_that_fail():
    class Reader:
        def read(self, size):
            raise ZeroDivisionError("broken")

    class Writer:
        def write(self, block):
            raise ZeroDivisionError("broken")

    with pytest.raises(ZeroDivisionError, match="broken"):
        dibstream.open(Reader())
    with pytest.raises(ZeroDivisionError, match="broken"):
        dibstream.new(4, 4).save(Writer(), format="bmp")


def test_objects_that_read_and_write_little(picture):
    class Slow(io.RawIOBase):
        def __init__(self, block=b""):
            self.block = bytearray(block)

        def read(self, size=-1):
            part, self.block = bytes(self.block[:3]), self.block[3:]
            return part

        def write(self, block):
            self.block += bytes(block[:7])
            return min(7, len(block))

    writer = Slow()
    picture.save(writer, format="bmp")
    assert bytes(writer.block) == picture.encode("bmp")
    assert dibstream.open(Slow(picture.encode("bmp"))).size == (64, 48)


def test_thumbnails_fit_their_box(tmp_path):
    ramp = numpy.repeat(numpy.arange(0, 240, 4, dtype=numpy.uint8)[:, None], 100, axis=1)
    grey = dibstream.from_array(ramp)
    colored = grey.bpp(24)
    for image, bits in ((grey, 8), (colored, 24), (colored.bpp(32), 24)):
        block = image.encode("jpeg")
        small = dibstream.thumbnail(block, (20, 20))
        assert (small.size, small.bits) == ((20, 12), bits)
        assert [note.text for note in small.notes] == ["100x60 pixels were decoded at 1/2 of their size"]
        rows = numpy.asarray(small.bpp(24))[:, 10, 1].astype(int)
        assert (abs(rows - (8 + 20 * numpy.arange(12))) <= 3).all()
    path = tmp_path / "p.png"
    colored.save(path)
    assert dibstream.thumbnail(path, (50, 10)).size == (17, 10) and not dibstream.thumbnail(path, (50, 10)).notes
    assert dibstream.thumbnail(path, (100, 60)).size == dibstream.thumbnail(path, (500, 500)).size == (100, 60)
    assert dibstream.thumbnail(path, (1, 1)).size == (1, 1)
    red = dibstream.new(100, 60)
    numpy.asarray(red)[..., 2] = 200
    small = dibstream.thumbnail(red.bpp(8, method="median").encode("png"), (10, 10))
    assert (small.size, small.bits) == ((10, 6), 24) and abs(int(numpy.asarray(small)[3, 5, 2]) - 200) <= 8
    with pytest.raises(ValueError, match="1x1 or more, not 0x5"):
        dibstream.thumbnail(path, (0, 5))
    with pytest.raises(dibstream.FormatError):
        dibstream.thumbnail(b"nothing", (5, 5))


def test_open_at_least(picture):
    block = picture.resize((100, 60)).encode("jpeg")
    assert dibstream.open(block, at_least=(50, 30)).size == (50, 30)
    assert dibstream.open(block, at_least=(0, 8)).size == (13, 8)
    assert dibstream.open(block, at_least=(51, 30)).size == dibstream.open(block, at_least=(0, 0)).size == (100, 60)
    assert dibstream.open(picture.encode("png"), at_least=(1, 1)).size == picture.size
    with pytest.raises(dibstream.RefusedError, match="^least height is -1, but must be 0 or more$") as failure:
        dibstream.open(block, at_least=(1, -1))
    assert failure.value.parameter == "at_least"


def test_palette_files(tmp_path):
    colors = [(255, 128, 0), (16, 32, 48), (255, 255, 255)]
    image = dibstream.new(2, 2, 8)
    image.palette = colors
    for ending in ("gpl", "pal", "act"):
        path = tmp_path / f"three.{ending}"
        image.save_palette(path)
        assert dibstream.open_palette(path) == colors
        assert dibstream.open_palette(path.read_bytes()) == colors
        with open(path, "rb") as file:
            assert dibstream.open_palette(file) == colors
        block = io.BytesIO()
        image.save_palette(block, format=ending)
        assert block.getvalue() == path.read_bytes()
        with open(tmp_path / f"again.{ending}", "wb", buffering=0) as file:
            image.save_palette(file)
        assert (tmp_path / f"again.{ending}").read_bytes() == path.read_bytes()
    with pytest.raises(TypeError, match="format must be given"):
        image.save_palette(io.BytesIO())
    with pytest.raises(TypeError, match="saved to a path or a binary file, not to 5"):
        image.save_palette(5)
    with pytest.raises(TypeError):
        image.save_palette(io.StringIO(), format="gpl")
    image.save_palette(tmp_path / "colors", format="pal")
    assert (tmp_path / "colors").read_bytes().startswith(b"JASC-PAL")


def test_palette_files_are_refused(tmp_path):
    with pytest.raises(dibstream.MissingFileError):
        dibstream.open_palette(tmp_path / "missing.gpl")
    with pytest.raises(dibstream.FormatError):
        dibstream.open_palette(b"nothing")
    with pytest.raises(dibstream.RefusedError):
        dibstream.new(2, 2).save_palette(tmp_path / "none.gpl")
    with pytest.raises(dibstream.FormatError):
        dibstream.new(2, 2, 8).save_palette(tmp_path / "none.bmp")
    assert not list(tmp_path.iterdir())


def test_options_have_the_names_of_python(picture, tmp_path):
    """Where the reasons of the library have other words, `parameter` has the name."""
    with pytest.raises(dibstream.RefusedError, match=r"^quality is 101, but must be 1 to 100$") as failure:
        picture.encode("jpeg", quality=101)
    assert failure.value.parameter == "quality"
    with pytest.raises(dibstream.RefusedError, match=r"a\.png: compression level is 10, but must be -1 to 9$") as failure:
        picture.save(tmp_path / "a.png", compression=10)
    assert failure.value.parameter == "compression"
    block = picture.encode("bmp")
    with pytest.raises(dibstream.RefusedError, match=r"the limit of pixels is 3071 \(max_pixels\)$") as failure:
        dibstream.open(block, max_pixels=3071)
    assert failure.value.parameter == "max_pixels"
    with pytest.raises(dibstream.RefusedError, match="^level is -1, but must be 0 or more$"):
        dibstream.open(block, level=-1)
    with pytest.raises(dibstream.MissingFileError) as missing:
        dibstream.open(tmp_path / "absent.png")
    assert missing.value.parameter is None


def test_new_says_what_is_wrong():
    with pytest.raises(ValueError, match="^bits must be 1, 4, 8, 16, 24 or 32, not 7$"):
        dibstream.new(5, 5, 7)
    with pytest.raises(ValueError, match="^width and height must be 1 or more, not 0 and 5$"):
        dibstream.new(0, 5)
    with pytest.raises(dibstream.OutOfMemoryError):
        dibstream.new(2**31 - 1, 2**31 - 1)
    assert [dibstream.new(5, 4, bits).bits for bits in (1, 4, 8, 16, 24, 32)] == [1, 4, 8, 16, 24, 32]


def test_probe_tells_channels_and_places(picture):
    info = dibstream.probe(picture.encode("png"))
    assert (info.channels, info.video_place, info.palette_place) == (3, None, None)
    assert dibstream.probe(picture.bpp(8).encode("jpeg")).channels == 1
    file = bytes.fromhex("10000000 08000000 2c000000 1000e001 10000100") + bytes(32)
    file += bytes.fromhex("10000000 80020001 01000200 00000000")
    info = dibstream.probe(file, format="tim")
    assert (info.channels, info.video_place, info.palette_place) == (1, (640, 256), (16, 480))


def test_a_save_may_keep_what_exists(picture, tmp_path):
    path = tmp_path / "a.bmp"
    picture.save(path, keep_existing=True)
    before = path.read_bytes()
    with pytest.raises(dibstream.FileError, match="a.bmp: .*exists"):
        picture.reverse().save(path, keep_existing=True)
    assert path.read_bytes() == before
    picture.reverse().save(path)
    assert path.read_bytes() != before
