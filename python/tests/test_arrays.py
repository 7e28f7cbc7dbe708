"""Pixels as arrays, and arrays as pictures."""

import gc
import weakref

import numpy
import pytest

import dibstream

SHAPES = {8: (3, 5), 16: (3, 5), 24: (3, 5, 3), 32: (3, 5, 4)}


@pytest.mark.parametrize("bits", SHAPES)
def test_array_is_a_view_in_both_row_orders(bits):
    image = dibstream.new(5, 3, bits)
    flipped = image.apply("flip-storage")
    assert {image.row_order, flipped.row_order} == {"bottom-up", "top-down"}
    for each in (image, flipped):
        array = numpy.asarray(each)
        assert array.shape == SHAPES[bits]
        assert array.dtype == (numpy.uint16 if bits == 16 else numpy.uint8)
        assert (array.strides[0] > 0) == (each.row_order == "top-down")
        assert not array.flags.owndata and array.flags.writeable
        array[0, 1] = 7
        array[2, 4] = 9
        again = numpy.asarray(each)
        assert (again[0, 1] == 7).all() and (again[2, 4] == 9).all()
        assert again.__array_interface__["data"] == array.__array_interface__["data"]
    # The operation sees the same rows: the first one is the top one.
    assert (numpy.asarray(image) == numpy.asarray(flipped)).all()


@pytest.mark.parametrize("bits, most", [(1, 1), (4, 15)])
def test_packed_indices_are_copied(bits, most):
    grey = numpy.array([[0, 255, 0, 255, 255], [255, 0, 0, 0, 255]], numpy.uint8)
    image = dibstream.from_array(grey).bpp(bits)
    assert image.bits == bits
    assert numpy.asarray(image).tolist() == (grey // 255 * most).tolist()
    with pytest.raises(BufferError, match="1 and 4 bits"):
        memoryview(image)


def test_channels_are_blue_green_red():
    image = dibstream.new(1, 1, 24).canvas((1, 1))
    numpy.asarray(image)[0, 0] = (1, 2, 3)
    assert image.bpp(32).save  # still a picture
    assert image.encode("ppm") == b"P6\n1 1\n255\n\x03\x02\x01"


def test_view_keeps_the_picture_alive():
    array = numpy.asarray(dibstream.new(5, 3, 8))
    gc.collect()
    array[:] = 200
    assert array.sum() == 3000


def test_consumers_that_need_contiguous_bytes_are_refused():
    bottom_up = dibstream.new(4, 3, 8)
    assert bottom_up.row_order == "bottom-up"
    with pytest.raises(BufferError):
        numpy.frombuffer(bottom_up, numpy.uint8)
    top_down = bottom_up.apply("flip-storage")
    assert len(numpy.frombuffer(top_down, numpy.uint8)) == 12
    padded = dibstream.new(5, 3, 8).apply("flip-storage")
    with pytest.raises(BufferError):
        numpy.frombuffer(padded, numpy.uint8)
    assert bytes(padded) == bytes(15)


@pytest.mark.parametrize(
    "shape, dtype, bits",
    [((3, 8), numpy.uint8, 8), ((3, 8), numpy.uint16, 16), ((3, 8, 3), numpy.uint8, 24), ((3, 5, 4), numpy.uint8, 32)],
)
def test_from_array_uses_the_memory(shape, dtype, bits):
    array = numpy.arange(numpy.prod(shape)).reshape(shape).astype(dtype)
    for each in (array, array[::-1]):
        image = dibstream.from_array(each, copy=False)
        assert image.base is each and image.bits == bits and image.size == (shape[1], 3)
        assert (numpy.asarray(image) == each).all()
        each[1, 2] = 77
        assert (numpy.asarray(image)[1, 2] == 77).all()
        # Operations do not change it.
        before = each.copy()
        assert (numpy.asarray(image.invert()) != before).any()
        assert (each == before).all()


def test_from_array_keeps_the_array_alive():
    class Array(numpy.ndarray):
        pass

    array = numpy.full((4, 4), 5, numpy.uint8).view(Array)
    gone = weakref.ref(array)
    image = dibstream.from_array(array)
    del array
    gc.collect()
    assert gone() is not None and numpy.asarray(image).sum() == 80
    del image
    gc.collect()
    assert gone() is None


def test_from_array_says_why_it_copies():
    wide = numpy.arange(3 * 8 * 3, dtype=numpy.uint8).reshape(3, 8, 3)
    for array, reason in [
        (wide[:, :7], "gaps between the rows"),
        (numpy.ascontiguousarray(wide[:, :5]), "multiple of 4"),
        (wide[..., ::-1], "do not follow each other"),
        (wide[:, ::2], "do not follow each other"),
        (numpy.arange(33, dtype=numpy.uint8)[1:].reshape(4, 8), "address"),
        (numpy.eye(4, dtype=bool), "packed"),
    ]:
        image = dibstream.from_array(array)
        assert image.base is None
        assert (numpy.asarray(image) == array).all()
        with pytest.raises(ValueError, match=reason):
            dibstream.from_array(array, copy=False)
    assert dibstream.from_array(wide, copy=True).base is None


def test_memory_that_is_read_only_stays_so():
    image = dibstream.from_array(memoryview(bytes(range(16))).cast("B", (4, 4)))
    array = numpy.asarray(image)
    assert not array.flags.writeable and array[3, 3] == 15
    assert numpy.asarray(image.invert()).flags.writeable


def test_arrays_that_are_no_pictures():
    for array in (
        numpy.zeros((2, 2), numpy.float32),
        numpy.zeros((2, 2, 2), numpy.uint8),
        numpy.zeros(4, numpy.uint8),
        numpy.zeros((2, 2, 3), numpy.uint16),
        numpy.zeros((2, 2), ">u2"),
    ):
        with pytest.raises(TypeError, match="uint8"):
            dibstream.from_array(array)
    with pytest.raises(ValueError, match="empty"):
        dibstream.from_array(numpy.zeros((0, 4), numpy.uint8))
    with pytest.raises(TypeError):
        dibstream.from_array("text")


def test_palette():
    image = dibstream.new(4, 4, 4)
    assert len(image.palette) == 16 and image.palette[15] == (255, 255, 255)
    image.palette = [(255, 0, 0), (0, 128, 255)]
    assert image.palette == [(255, 0, 0), (0, 128, 255)]
    assert numpy.asarray(image.bpp(24))[0, 0].tolist() == [0, 0, 255]
    for wrong in ([], [(0, 0, 0)] * 17):
        with pytest.raises(ValueError, match="1 to 16"):
            image.palette = wrong
    assert dibstream.new(1, 1, 24).palette is None
    for wrong in [(300, 0, 0), (1, 2), (0, 0, -1), 7]:
        with pytest.raises(ValueError, match="from 0 to 255, not"):
            image.palette = [wrong]
    with pytest.raises(ValueError, match="24 bits have no palette"):
        dibstream.new(1, 1, 24).palette = [(0, 0, 0)]


def test_alpha():
    colors = numpy.zeros((2, 4, 4), numpy.uint8)
    colors[..., 3] = [[1, 2, 3, 4], [5, 6, 7, 8]]
    image = dibstream.from_array(colors)
    assert numpy.asarray(image.alpha).tolist() == [[1, 2, 3, 4], [5, 6, 7, 8]]
    assert dibstream.new(1, 1, 24).alpha is None
    mask = dibstream.from_array(numpy.array([[9, 8, 7, 6], [0, 0, 0, 255]], numpy.uint8))
    for each in (mask, mask.apply("flip-storage")):
        assert numpy.asarray(image.bpp(24).with_alpha(each))[..., 3].tolist() == [[9, 8, 7, 6], [0, 0, 0, 255]]
    with pytest.raises(ValueError, match="same size"):
        image.with_alpha(dibstream.new(4, 3, 8))
