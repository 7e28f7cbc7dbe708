"""Runs examples/cluster/map_pictures.py with two workers, kills one of them, and repairs what failed.
usage: cluster.py MAP_PICTURES WORK_DIR (with the package dibstream in PYTHONPATH)
"""
import csv
import os
import pathlib
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
    mistakes(program, work)
    shutil.rmtree(work)


if __name__ == "__main__":
    main()
