"""Copies and pickles, which carry pictures between processes."""

import copy
import pickle

import dibstream
import numpy
import pytest


def pictures():
    for bits in (1, 4, 8, 16, 24, 32):
        for order in ("bottom-up", "top-down"):
            image = dibstream.new(13, 7, 24).noise(200, seed=bits)
            image = image.bpp(bits, method="median") if bits in (4, 8) else image.bpp(bits)
            yield image if image.row_order == order else image.apply("flip-storage")


def assert_same(made, image):
    assert (made.size, made.bits, made.row_order) == (image.size, image.bits, image.row_order)
    assert (numpy.asarray(made) == numpy.asarray(image)).all()
    assert (made.palette, made.metadata, made.notes, made.format) == (
        image.palette,
        image.metadata,
        image.notes,
        image.format,
    )


def pickled(protocol):
    return lambda image: pickle.loads(pickle.dumps(image, protocol))


@pytest.mark.parametrize("again", [copy.copy, copy.deepcopy, *map(pickled, range(pickle.HIGHEST_PROTOCOL + 1))])
def test_copies_are_alike_and_independent(again):
    for image in pictures():
        image.metadata = dibstream.Metadata(resolution=(300, 150), exif=b"MM")
        made = again(image)
        assert made is not image and made.base is None
        assert_same(made, image)
        if image.bits >= 8:
            numpy.asarray(made)[0, 0] ^= 255
            assert (numpy.asarray(made) != numpy.asarray(image)).any()


def test_pickles_keep_alpha_notes_and_palettes():
    image = dibstream.new(3, 2, 32).canvas((5, 4), fill=(10, 20, 30, 40))
    assert pickle.loads(pickle.dumps(image, 5)).alpha.size == (5, 4)
    assert numpy.asarray(pickle.loads(pickle.dumps(image, 2)))[0, 0].tolist() == [30, 20, 10, 40]
    few = dibstream.new(3, 2, 8)
    few.palette = [(1, 2, 3), (4, 5, 6)]
    assert pickle.loads(pickle.dumps(few)).palette == [(1, 2, 3), (4, 5, 6)]
    opened = dibstream.open(few.encode("png"))
    assert pickle.loads(pickle.dumps(opened)).format == "png"
    ramp = numpy.arange(40, dtype=numpy.uint8).reshape(5, 8)
    assert_same(pickle.loads(pickle.dumps(dibstream.from_array(ramp))), dibstream.from_array(ramp))
    assert copy.deepcopy([few, few])[0].palette == few.palette


def test_rows_without_their_fill_bytes_are_pickled():
    assert len(pickle.dumps(dibstream.new(1001, 100, 24))) < 3003 * 100 + 1000
    assert len(pickle.dumps(dibstream.new(1001, 100, 1))) < 126 * 100 + 1000
    assert dibstream.new(1000, 100, 24).__sizeof__() >= 300000


def test_states_that_are_none_are_refused():
    restore, (state,) = dibstream.new(3, 2, 8).__reduce_ex__(2)
    for changed in (
        state[:9],
        (*state[:6], b"short", *state[7:]),
        (4, *state[1:]),
        (0, *state[1:]),
        (2**31 - 1, 2**31 - 1, *state[2:]),
        (*state[:2], 7, *state[3:]),
        (*state[:5], bytes(1028), *state[6:]),
        (*state[:8], None, state[9]),
    ):
        with pytest.raises(ValueError, match="no pickled picture"):
            restore(changed)


def test_pictures_are_made_by_functions_alone():
    for make in (dibstream.Image, lambda: dibstream.Image.__new__(dibstream.Image)):
        with pytest.raises(TypeError, match="pictures are made by dibstream.open"):
            make()


def test_failures_are_pickled():
    for failing in (lambda: dibstream.open("/none/such.png"), lambda: dibstream.new(2, 2).gaussian(300)):
        with pytest.raises(dibstream.Error) as failure:
            failing()
        again = pickle.loads(pickle.dumps(failure.value))
        assert type(again) is type(failure.value) and str(again) == str(failure.value)
        assert (again.code, again.reason, again.parameter) == (
            failure.value.code,
            failure.value.reason,
            failure.value.parameter,
        )
