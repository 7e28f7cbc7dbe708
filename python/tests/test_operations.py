"""Operations as methods."""

import inspect
import pathlib
import sys

import numpy
import pytest

import dibstream
from dibstream import _stubs, _table


def same(one, other):
    return one.bits == other.bits and numpy.array_equal(numpy.asarray(one), numpy.asarray(other))


def test_every_row_is_a_method_that_does_what_its_chain_does(picture, tmp_path):
    picture.save(tmp_path / "other.bmp")
    rows = dibstream.operations()
    assert len(rows) >= 31
    for row in rows:
        method = getattr(dibstream.Image, _table.python_name(row["name"]))
        names = [_table.python_name(parameter["name"]) for parameter in row["parameters"]]
        assert list(inspect.signature(method).parameters) == ["self", *names, "progress"]
        assert row["help"] in method.__doc__
        chain = row["example"].replace("other.bmp", str(tmp_path / "other.bmp"))
        source = picture.bpp(max(depth for depth in row["depths"] if depth <= 24))
        # Every parameter by its name, as the chain has it.
        given = chain.partition(":")[2].split(",") if ":" in chain else []
        values = dict(value.split("=", 1) if "=" in value else (names[i], value) for i, value in enumerate(given))
        seeded = {"seed": 5} if "seed" in names and "seed" not in values else {}
        suffix = (",seed=5" if ":" in chain else ":seed=5") if seeded else ""
        assert same(method(source, **values, **seeded), source.apply(chain + suffix)), row["name"]


def test_chaining_leaves_the_source_alone(picture):
    before = numpy.asarray(picture).copy()
    result = picture.rotate(30, wrap="xy").gaussian(4)
    assert same(result, picture.apply("rotate:30,wrap=xy gaussian:4"))
    assert (numpy.asarray(picture) == before).all()
    assert not same(result, picture)


@pytest.mark.parametrize(
    "call, chain",
    [
        (lambda p: p.rotate(30), "rotate:30"),
        (lambda p: p.rotate(30.5, wrap=("x", "y")), "rotate:30.5,wrap=xy"),
        (lambda p: p.rotate(30, wrap=()), "rotate:30"),
        (lambda p: p.rotate(30, wrap=None), "rotate:30"),
        (lambda p: p.rotate("0.5rad"), "rotate:0.5rad"),
        (lambda p: p.rotate(30, classic=True), "rotate:30,classic"),
        (lambda p: p.rotate(30, classic=False), "rotate:30"),
        (lambda p: p.rotate(numpy.float32(0.5)), "rotate:0.5"),
        (lambda p: p.mosaic(numpy.int64(5)), "mosaic:5"),
        (lambda p: p.mosaic(5.0), "mosaic:5"),
        (lambda p: p.resize((20, 30)), "resize:20x30"),
        (lambda p: p.resize(["50%", 30]), "resize:50%x30"),
        (lambda p: p.bpp(8, method="median"), "bpp:8,method=median"),
        (lambda p: p.canvas((70, 70), fill=(1, 2, 254)), "canvas:70x70,#0102fe"),
        (lambda p: p.bpp(32).canvas((70, 70), fill=(1, 2, 3, 4)), "bpp:32 canvas:70x70,#01020304"),
        (lambda p: p.canvas((70, 70), 255), "canvas:70x70,255"),
        (lambda p: p.color_noise("#ff0000", "40%", seed=3), "color-noise:#ff0000,0.4,seed=3"),
        (lambda p: p.motion_blur(9, angle=20), "motion-blur:9,angle=20"),
        (lambda p: p.ripple(100000.0, 1e-3), "ripple:100000,0.001"),
    ],
)
def test_values(picture, call, chain):
    assert same(call(picture), picture.apply(chain))


def test_pictures_as_second_pictures(picture, tmp_path):
    other = picture.invert()
    other.save(tmp_path / "a,b c.png")
    composed = picture.compose(other, 0.25, mode="tile")
    assert same(composed, picture.compose(tmp_path / "a,b c.png", 0.25, mode="tile"))
    assert same(composed, picture.compose(str(tmp_path / "a,b c.png"), "25%", "tile"))
    with pytest.raises(dibstream.MissingFileError, match="nowhere.png") as missing:
        picture.compose(tmp_path / "nowhere.png")
    assert isinstance(missing.value, FileNotFoundError) and missing.value.filename.endswith("nowhere.png")


def test_wrong_calls(picture):
    with pytest.raises(TypeError, match=r"size cannot be 320: sizes are \(width, height\), '320x240' or '50%'"):
        picture.resize(320, 240)
    with pytest.raises(TypeError, match=r"size cannot be \(320,\)"):
        picture.resize((320,))
    with pytest.raises(TypeError, match=r"gaussian\(\) missing required argument 'radius'"):
        picture.gaussian()
    with pytest.raises(TypeError, match="unexpected keyword argument 'warp'; did you mean 'wrap'"):
        picture.gaussian(3, warp="x")
    with pytest.raises(TypeError, match="multiple values for argument 'radius'"):
        picture.gaussian(3, radius=3)
    with pytest.raises(TypeError, match="at most 3 positional arguments"):
        picture.gaussian(3, "x", True, 1)
    for wrong in ([1], True, object(), b"3"):
        with pytest.raises(TypeError, match="radius"):
            picture.gaussian(wrong)
    for wrong in [(1, 2), (300, 0, 0), (0, 0, -1), (1, 2, 1.5), (1, 2, 3, 4, 5)]:
        with pytest.raises(dibstream.ParameterError) as refused:
            picture.canvas((5, 5), fill=wrong)
        assert refused.value.parameter == "fill", wrong
    assert not hasattr(picture, "pretned")


def test_wrong_values_name_parameter_range_and_suggestion(picture):
    with pytest.raises(ValueError) as failure:
        picture.gaussian(300)
    error = failure.value
    assert isinstance(error, dibstream.ParameterError) and isinstance(error, dibstream.Error)
    assert str(error) == error.reason == "gaussian: radius: '300' is outside 0 to 255"
    assert (error.code, error.operation, error.parameter, error.range) == (6, "gaussian", "radius", (0, 255))
    with pytest.raises(dibstream.ParameterError) as failure:
        picture.resize("50%", filter="biliner")
    assert failure.value.parameter == "filter" and failure.value.suggestion == "bilinear"
    with pytest.raises(dibstream.ParameterError) as failure:
        picture.apply("invert gaussan:3")
    assert failure.value.suggestion == "gaussian" and failure.value.step == 1
    with pytest.raises(dibstream.ParameterError) as failure:
        picture.bpp(16).brighten(2, classic=True)
    assert failure.value.code == dibstream.ErrorCode.MISMATCH
    with pytest.raises(dibstream.ParameterError, match="not a number"):
        picture.gaussian(float("nan"))


def test_sizes_that_no_picture_has(picture):
    with pytest.raises(dibstream.OutOfMemoryError) as failure:
        picture.resize((60000, 60000))
    assert isinstance(failure.value, MemoryError)
    with pytest.raises(MemoryError):
        dibstream.new(60000, 60000, 32)


def test_stub_is_up_to_date():
    built = pathlib.Path(dibstream.__file__).with_name("_core.pyi").read_text(encoding="utf-8")
    assert built == _stubs.stub()
    assert "def motion_blur(self, length: int, angle: float | str = 0, wrap: str | Sequence[str] = 'none', classic: bool = False" in built


def test_texts_have_the_signatures_of_the_stub():
    """The compiled functions and the stub that describes them have the same parameters and defaults."""
    import ast

    built = pathlib.Path(dibstream.__file__).with_name("_core.pyi").read_text(encoding="utf-8")
    tree = ast.parse(built)
    image = next(node for node in tree.body if isinstance(node, ast.ClassDef) and node.name == "Image")
    checked = 0
    for owner, nodes in ((dibstream._core, tree.body), (dibstream.Image, image.body)):
        for node in nodes:
            if not isinstance(node, ast.FunctionDef) or node.decorator_list:
                continue
            function = getattr(owner, node.name)
            if function.__text_signature__ is None:
                continue
            wanted = {
                name: ast.literal_eval(value)
                for name, value in [
                    *zip([a.arg for a in reversed(node.args.args)], reversed(node.args.defaults)),
                    *((a.arg, d) for a, d in zip(node.args.kwonlyargs, node.args.kw_defaults) if d is not None),
                ]
            }
            parameters = inspect.signature(function).parameters
            found = {name: p.default for name, p in parameters.items() if p.default is not p.empty}
            assert list(parameters) == [a.arg for a in (*node.args.args, *node.args.kwonlyargs)], node.name
            assert found == wanted, node.name
            checked += 1
    assert checked > 40


@pytest.mark.skipif(sys.flags.optimize > 1, reason="texts are left out")
def test_texts_explain_parameters():
    assert "counter-clockwise when positive" in dibstream.Image.rotate.__doc__
    assert "keep_damaged: " in dibstream.open.__doc__


def test_texts_with_a_zero_byte_are_refused(picture, tmp_path):
    for work in [
        lambda: picture.gaussian("3\x009"),
        lambda: picture.apply("rotate:30\0gausian"),
        lambda: dibstream.open("p.png\0x"),
        lambda: picture.save(f"{tmp_path}/nul.png\0.jpg"),
    ]:
        with pytest.raises(ValueError, match="zero byte"):
            work()
    assert list(tmp_path.iterdir()) == []


def test_turns_exchange_the_resolutions(picture, tmp_path):
    picture.metadata = dibstream.Metadata(resolution=(100, 200))
    assert picture.turn(90).metadata.resolution == (200, 100)
    assert picture.turn(180).metadata.resolution == (100, 200)
    assert picture.apply("turn:90 flip turn:270 turn:90").metadata.resolution == (200, 100)
    assert picture.metadata.resolution == (100, 200)
    assert dibstream.from_array(numpy.asarray(picture)).turn(90).metadata.resolution is None
    picture.turn(270).save(tmp_path / "turned.png")
    assert dibstream.probe(tmp_path / "turned.png").metadata.resolution == pytest.approx((200, 100), abs=0.1)


def test_difference(picture):
    other = picture.copy()
    assert picture.difference(other) == dibstream.Difference(3072, 0, 0, None, 0.0, float("inf"), True)
    numpy.asarray(other)[7, 9, 1] ^= 3
    found = picture.difference(other)
    assert (found.different_pixels, found.largest, found.place) == (1, 3, (9, 7))
    assert found.mean_square == 9 / (3072 * 3)
    assert found.psnr == pytest.approx(78.23, abs=0.01)
    assert not picture.difference(picture.crop(0, 0, (64, 47))).is_same_size
    with pytest.raises(TypeError):
        picture.difference("other.bmp")
    with pytest.raises(dibstream.Cancelled):
        picture.difference(other, progress=lambda fraction: False)
