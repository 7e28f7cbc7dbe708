"""Types: the package and a program that uses it, checked by mypy."""

import os
import pathlib
import subprocess
import sys

import pytest

import dibstream

HERE = pathlib.Path(__file__).parent
PACKAGE = pathlib.Path(dibstream.__file__).parent


def mypy(*arguments, cache):
    pytest.importorskip("mypy")
    # mypy finds installed packages itself and refuses their folder.
    is_installed = PACKAGE.parent.name.endswith("-packages")
    run = subprocess.run(
        [sys.executable, "-m", "mypy", "--strict", "--cache-dir", cache, *arguments],
        cwd=HERE if is_installed else PACKAGE.parent,
        env={"PATH": os.environ["PATH"]} | ({} if is_installed else {"MYPYPATH": str(PACKAGE.parent)}),
        capture_output=True,
        text=True,
    )
    return run.returncode, run.stdout + run.stderr


def test_package_and_sample_program_pass(picture, tmp_path):
    code, said = mypy("-p", "dibstream", cache=tmp_path)
    assert code == 0, said
    code, said = mypy(HERE / "sample_program.py", cache=tmp_path)
    assert code == 0, said
    # Mistakes are found.
    wrong = tmp_path / "wrong.py"
    wrong.write_text(
        "import dibstream\n"
        "image = dibstream.new(1, 1)\n"
        "image.gaussian('x')\n"
        "image.bpp(7)\n"
        "image.rotate()\n"
        "image.pretend(3)\n"
        "dibstream.open(5)\n"
    )
    code, said = mypy(wrong, cache=tmp_path)
    assert code == 1
    assert [line.split(":")[1] for line in said.splitlines() if "error:" in line] == ["3", "4", "5", "6", "7"], said


def test_sample_program_runs(picture, tmp_path):
    sys.path.insert(0, str(HERE))
    import sample_program

    picture.save(tmp_path / "in.png")
    assert sample_program.turned(tmp_path / "in.png", tmp_path / "out.png") == ["32"]
