"""Runs examples/cluster/map_pictures.py with two workers, kills one of them, and repairs what failed.
usage: cluster.py MAP_PICTURES WORK_DIR (with the package dibstream in PYTHONPATH)
"""
import csv
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import time

try:
    import distributed
    import numpy
    import tqdm  # noqa: F401, the example needs it
except ImportError as missing:
    print(f"{missing.name} is not installed")
    sys.exit(77)

import dibstream

PICTURES = 200
CHAIN = "resize:50% gaussian:2"
BROKEN = ["a/p6.png", "b/p101.png"]


def make_pictures(folder):
    random = numpy.random.default_rng(1)
    for i in range(PICTURES):
        path = folder / "ab"[i % 2] / f"p{i}.png"
        path.parent.mkdir(parents=True, exist_ok=True)
        dibstream.from_array(random.integers(0, 256, (180, 240, 3), numpy.uint8)).save(path)


def start(program, *arguments):
    return subprocess.Popen([sys.executable, program, *map(str, arguments)], stderr=subprocess.PIPE, text=True)


def rows_of(table):
    """The complete lines of the table, as dictionaries."""
    if not table.exists():
        return []
    return list(csv.DictReader(table.read_text().splitlines(), dialect="excel-tab"))


def wait_for_rows(table, count, process):
    end = time.monotonic() + 120
    while len(rows_of(table)) < count:
        assert process.poll() is None, process.stderr.read()
        assert time.monotonic() < end, "the pictures are too slow"
        time.sleep(0.01)


def expect_results(pictures, results, missing):
    names = {path.relative_to(pictures).as_posix() for path in pictures.rglob("*.png")} - set(missing)
    files = {path.relative_to(results).as_posix() for path in results.rglob("*") if path.is_file()}
    assert files == {name.replace(".png", ".bmp") for name in names}, "other files than one a picture"
    for name in names:
        expected = dibstream.open(pictures / name).apply(CHAIN)
        result = dibstream.open(results / name.replace(".png", ".bmp"))
        assert numpy.array_equal(numpy.asarray(result), numpy.asarray(expected)), name


def kill_a_worker(program, work):
    """One of two workers dies in the middle: each result is there once, failures are listed, the exit code tells."""
    pictures, results, table = work / "in", work / "out", work / "results.tsv"
    make_pictures(pictures)
    whole = {name: (pictures / name).read_bytes() for name in BROKEN}
    for name in BROKEN:
        (pictures / name).write_bytes(whole[name][:700])
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=":0") as cluster:
        arguments = [pictures, results, CHAIN, "--format", "bmp", "--results", table,
                     "--scheduler", cluster.scheduler_address]
        process = start(program, *arguments)
        wait_for_rows(table, PICTURES // 4, process)
        os.kill(cluster.workers[0].pid, signal.SIGKILL)
        done_at_death = len(rows_of(table))
        messages = process.communicate(timeout=200)[1]
        assert process.returncode == 1, messages
        assert done_at_death < PICTURES, "the worker died too late"
        expect_results(pictures, results, BROKEN)

        rows = rows_of(table)
        assert sorted(row["source"] for row in rows) == sorted(str(path) for path in pictures.rglob("*.png"))
        failed = {row["source"]: row for row in rows if row["state"] != "done"}
        assert set(failed) == {str(pictures / name) for name in BROKEN}
        for path, row in failed.items():
            assert row["tries"] == "3" and row["reason"].startswith(f"{path}: the file ends"), row
            assert row["reason"] in messages
        assert "198 done, 2 failed" in messages

        # Only failed pictures are left to do.
        for name in BROKEN:
            (pictures / name).write_bytes(whole[name])
        process = start(program, *arguments, "--resume")
        messages = process.communicate(timeout=200)[1]
        assert process.returncode == 0 and "2 done, 0 failed" in messages, messages
        assert len(rows_of(table)) == PICTURES + 2
        expect_results(pictures, results, [])


def on_this_machine(program, work):
    """Without a scheduler, from a list."""
    (work / "list.txt").write_text(f"{work}/in/a/p0.png\n{work}/in/b/p1.png\n")
    process = start(program, "--list", work / "list.txt", work / "listed", "reverse", "--workers", 1,
                    "--results", work / "listed.tsv")
    messages = process.communicate(timeout=200)[1]
    assert process.returncode == 0, messages
    assert sorted(os.listdir(work / "listed")) == ["p0.png", "p1.png"]


# A store of objects for which no server is needed.
STORE = """
from fsspec.implementations.local import LocalFileSystem

class Shelf(LocalFileSystem):
    protocol = "shelf"

    @classmethod
    def _strip_protocol(cls, path):
        return str(path).removeprefix("shelf://")
"""


def install_store(folder):
    """Registers the store in every Python program from now on, as an installed package does."""
    package = folder / "shelf-1.dist-info"
    package.mkdir(parents=True)
    (folder / "shelf.py").write_text(STORE)
    (package / "METADATA").write_text("Metadata-Version: 2.1\nName: shelf\nVersion: 1\n")
    (package / "entry_points.txt").write_text("[fsspec.specs]\nshelf = shelf:Shelf\n")
    os.environ["PYTHONPATH"] = os.pathsep.join([str(folder), os.environ["PYTHONPATH"]])
    sys.path.insert(0, str(folder))  # which workers take over


def done_by(program, *arguments):
    """How many pictures a run processed, all of them well."""
    process = start(program, *arguments)
    messages = process.communicate(timeout=200)[1]
    assert process.returncode == 0 and ", 0 failed" in messages, messages
    return int(re.search(r"(\d+) done", messages)[1])


def resumed(program, work):
    """Only what has no result is processed: of folders, of lists, and of URLs in both places."""
    names = ["a/p0.png", "a/p2.png", "b/p1.png"]
    for name in names:
        (work / "few" / name).parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(work / "in" / name, work / "few" / name)
    install_store(work / "store")
    url = f"shelf://{work}"
    (work / "paths.txt").write_text("".join(f"{work}/few/{name}\n" for name in names))
    (work / "urls.txt").write_text("".join(f"{url}/few/{name}\r\n" for name in names))
    (work / "files.txt").write_text("".join(f"file://{work}/few/{name}\n" for name in names))
    with distributed.LocalCluster(n_workers=1, threads_per_worker=1, dashboard_address=":0") as cluster:
        for i, (what, target) in enumerate([
            ([work / "few"], work / "r0"),
            (["--list", work / "paths.txt"], work / "r1"),
            (["--list", work / "files.txt"], f"file://{work}/r2"),
            ([f"{url}/few"], f"{url}/r3"),
            (["--list", work / "urls.txt"], f"{url}/r4"),
        ]):
            listed = what[0] == "--list"
            result = work / f"r{i}" / ("p2.bmp" if listed else "a/p2.bmp")
            arguments = [*what, target, "reverse", "--format", "bmp", "--resume", "--results", work / f"r{i}.tsv",
                         "--scheduler", cluster.scheduler_address]
            assert done_by(program, *arguments) == 3
            whole = result.read_bytes()
            result.unlink()
            assert done_by(program, *arguments) == 1
            assert result.read_bytes() == whole
            assert done_by(program, *arguments) == 0
            rows = rows_of(work / f"r{i}.tsv")
            assert len(rows) == 4 and rows[3]["source"].endswith("/few/a/p2.png"), rows
            expected = ["p0.bmp", "p1.bmp", "p2.bmp"] if listed else ["a/p0.bmp", "a/p2.bmp", "b/p1.bmp"]
            found = [path.relative_to(work / f"r{i}").as_posix() for path in (work / f"r{i}").rglob("*.*")]
            assert sorted(found) == expected, found


def expect_mistake(message, *arguments):
    process = start(*arguments)
    messages = process.communicate(timeout=60)[1]
    assert process.returncode == 2 and message in messages, messages


def mistakes(program, work):
    """Nothing starts when the command is wrong."""
    expect_mistake("did you mean 'gaussian'?", program, work / "in", work / "no", "gaussion")
    expect_mistake("no such folder", program, work / "nowhere", work / "no", "reverse")
    shutil.copy(work / "in/a/p0.png", work / "in/a/p0.bmp")
    expect_mistake("1 results would be written more than once", program, work / "in", work / "no", "reverse",
                   "--format", "png")
    assert not (work / "no").exists()


def main():
    program, work = sys.argv[1], pathlib.Path(sys.argv[2])
    shutil.rmtree(work, ignore_errors=True)
    work.mkdir(parents=True)
    kill_a_worker(program, work)
    on_this_machine(program, work)
    resumed(program, work)
    mistakes(program, work)
    shutil.rmtree(work)


if __name__ == "__main__":
    main()
