"""Sheets of pictures."""

import numpy
import pytest

import dibstream


def plain(width, height, color):
    image = dibstream.new(width, height)
    numpy.asarray(image)[:] = color[::-1]
    return image


def test_pictures_lie_in_the_middle_of_cells():
    red, green = plain(3, 3, (255, 0, 0)), plain(1, 1, (0, 255, 0))
    sheet = dibstream.montage([red, green], gap=1, background=(1, 2, 3))
    assert sheet.size == (9, 5) and sheet.bits == 32
    pixels = numpy.asarray(sheet)
    assert pixels[0, 0].tolist() == [3, 2, 1, 255]
    assert pixels[1, 1].tolist() == [0, 0, 255, 255]
    assert pixels[2, 6].tolist() == [0, 255, 0, 255]
    assert pixels[2, 5].tolist() == [3, 2, 1, 255]


def test_columns_sizes_and_labels():
    pictures = (plain(40, 20, (9, 9, 9)) for _ in range(3))
    sheet = dibstream.montage(pictures, columns=1, fit=(10, 0), background="#00000000")
    assert sheet.size == (10, 15)
    assert numpy.asarray(sheet)[0, 0].tolist() == [9, 9, 9, 255]
    labelled = dibstream.montage([plain(30, 2, (9, 9, 9))] * 2, columns=2, labels=["-", None], label_size=10)
    assert labelled.size == (60, 16)
    dark = (numpy.asarray(labelled)[2:, :, :3] == 0).all(axis=2)
    assert dark[:, :30].any() and not dark[:, 30:].any()
    orange = dibstream.montage([plain(30, 2, (9, 9, 9))], labels=["-"], label_size=10, label_color="#ff8000")
    assert (numpy.asarray(orange)[2:, :, :3] == (0, 128, 255)).all(axis=2).any()


def test_progress_is_called_and_cancels():
    fractions = []
    pictures = [dibstream.new(64, 64)] * 4
    dibstream.montage(pictures, progress=fractions.append)
    assert fractions == sorted(fractions) and fractions[-1] == 1
    with pytest.raises(dibstream.Cancelled):
        dibstream.montage(pictures, progress=lambda fraction: False)


def test_what_is_wrong_is_named():
    picture = dibstream.new(2, 2)
    with pytest.raises(dibstream.ParameterError, match="there are no pictures"):
        dibstream.montage([])
    with pytest.raises(dibstream.ParameterError, match="gap: must be at least 0"):
        dibstream.montage([picture], gap=-1)
    with pytest.raises(dibstream.OutOfMemoryError):
        dibstream.montage([picture], gap=2_000_000_000)
    with pytest.raises(ValueError, match="background: 'red' must be a colour #rrggbb or #rrggbbaa"):
        dibstream.montage([picture], background="red")
    with pytest.raises(ValueError, match="label_color: .* must be a colour"):
        dibstream.montage([picture], label_color=(1, 2))
    with pytest.raises(ValueError, match="there are 1 labels for 2 pictures"):
        dibstream.montage([picture] * 2, labels=["one"])
    with pytest.raises(dibstream.Error, match="font"):
        dibstream.montage([picture], labels=["a"], label_font="absent.ttf")
    with pytest.raises(TypeError, match="background cannot be 7"):
        dibstream.montage([picture], background=7)
    with pytest.raises(TypeError, match="not 'a.png'"):
        dibstream.montage(["a.png"])
