"""The code of docs/python.md, run as a reader would."""

import importlib.util
import re

import numpy
import pytest

import dibstream
from conftest import SOURCE

PAGE = (SOURCE / "docs" / "python.md").read_text(encoding="utf-8")
BLOCKS = re.findall(r"^```python\n(.*?)^```$", PAGE, re.MULTILINE | re.DOTALL)


def can_run(block):
    return all(importlib.util.find_spec(name.split(".")[0]) for name in re.findall(r"^import (\S+)", block, re.MULTILINE))


def test_all_blocks_run_in_order(tmp_path, monkeypatch, capsys):
    monkeypatch.chdir(tmp_path)
    names = {}
    for block in BLOCKS:
        if can_run(block):
            exec(compile(block, "docs/python.md", "exec"), names)
    assert len(BLOCKS) >= 12
    printed = capsys.readouterr().out
    assert "<dibstream.Image 640x480, 24 bits, png> (640, 480) 24" in printed
    assert "gaussian: radius: '300' is outside 0 to 255" in printed and "radius (0.0, 255.0)" in printed
    assert dibstream.open("photo.tif").size == names["image"].size
    layers = list(names["open_layers"](SOURCE / "fuzz" / "seeds" / "psd" / "grey8-packed-mask.psd"))
    assert layers and all(image.size == (layer.width, layer.height) for layer, image in layers)


def block_with(text):
    block = next(block for block in BLOCKS if text in block)
    if not can_run(block):
        pytest.skip("not installed")
    return block


@pytest.mark.parametrize("text", ["PIL", "cv2"])
def test_other_libraries_see_the_same_colours(picture, text):
    names = {"image": picture, "dibstream": dibstream, "numpy": numpy}
    exec(block_with(text), names)
    blue, green, red = numpy.asarray(picture)[7, 9].tolist()
    if text == "PIL":
        assert names["pillow"].getpixel((9, 7)) == (red, green, blue)
        assert names["rgba"].getpixel((9, 7)) == (red, green, blue, 255)
        assert numpy.asarray(names["image"])[7, 9].tolist() == [blue, green, red, 255]
    else:
        assert names["matrix"][7, 63 - 9].tolist() == [blue, green, red]
        assert names["image"].base is names["matrix"]
