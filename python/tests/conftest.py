import pathlib

import numpy
import pytest

import dibstream

SOURCE = pathlib.Path(__file__).resolve().parent.parent.parent


@pytest.fixture
def seeds():
    """The folder of small files of every format."""
    return SOURCE / "fuzz" / "seeds"


@pytest.fixture
def picture():
    """A picture of 24 bits whose pixels all differ."""
    rows, columns = numpy.mgrid[0:48, 0:64]
    pixels = numpy.stack([columns * 4, rows * 5, (rows + columns) * 2], axis=2).astype(numpy.uint8)
    return dibstream.from_array(pixels)


@pytest.fixture
def noise():
    """Random pixels of 24 bits, which compress badly."""
    return numpy.random.default_rng(1).integers(0, 256, (300, 400, 3), numpy.uint8)
