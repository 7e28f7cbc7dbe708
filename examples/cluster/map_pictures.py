#!/usr/bin/env python3
"""Applies a chain of operations to every picture of a folder or list, on all processors or on a Dask cluster.

    map_pictures.py photos small "resize:50% gaussian:2" --format jpg
    map_pictures.py photos small "resize:50%" --scheduler tcp://north:8786
    map_pictures.py --list objects.txt s3://bucket/small "resize:50%" --scheduler tcp://north:8786
    map_pictures.py s3://bucket/photos s3://bucket/small "resize:50%" --scheduler tcp://north:8786 --resume

The folders below SOURCE are kept below TARGET; the pictures of a list keep their names alone. Each result is complete or absent, whatever fails on the way:
when a worker dies, another one processes its picture again. The table of results gets one line a picture.
With --resume, pictures that have a result are skipped.

Exit: 0 when every picture is done, 1 when any failed, 2 for a mistake in the command.
"""
import argparse
import collections
import csv
import os
import pathlib
import posixpath
import sys
import time

import dibstream
import distributed
import tqdm

COLUMNS = ["source", "target", "state", "tries", "seconds", "worker", "reason"]
# Another try can cure these; a picture of the wrong kind stays what it is.
TEMPORARY = {dibstream.ErrorCode.MEMORY, dibstream.ErrorCode.OPEN, dibstream.ErrorCode.READ, dibstream.ErrorCode.WRITE}


def place_of(name):
    """A URL or a path."""
    return name.removeprefix("file://")


def is_url(place):
    return "://" in place


# ---- on a worker


def convert(source, target, chain):
    """Makes one result. Returns how that went, as columns of the table."""
    start = time.perf_counter()
    state, reason = "done", ""
    try:
        if is_url(source) or is_url(target):
            convert_objects(source, target, chain)
        else:
            pathlib.Path(target).parent.mkdir(parents=True, exist_ok=True)
            dibstream.open(source).apply(chain).save(target)
    except dibstream.Error as error:
        state, reason = "try again" if error.code in TEMPORARY else "failed", str(error)
    except OSError as error:
        state, reason = "try again", str(error)
    worker = distributed.get_worker().address
    return {"state": state, "seconds": round(time.perf_counter() - start, 4), "worker": worker, "reason": reason}


def convert_objects(source, target, chain):
    """Objects of any store that fsspec knows. Stores show an object when its upload is complete."""
    import fsspec

    with fsspec.open(source, "rb") as file:
        image = dibstream.open(file.read())
    data = image.apply(chain).encode(posixpath.splitext(target)[1].lstrip("."))
    with fsspec.open(target, "wb") as file:
        file.write(data)


# ---- on the machine that asks


def files_below(folder):
    """The paths of all files below a folder or URL, relative to it; none where there is no such folder."""
    if not is_url(folder):
        return [path.relative_to(folder).as_posix() for path in pathlib.Path(folder).rglob("*") if path.is_file()]
    import fsspec

    store, root = fsspec.core.url_to_fs(folder)
    return [posixpath.relpath(path, root) for path in store.find(root)]


def pictures_below(folder):
    """Every file below `folder` whose extension a format has, as path relative to it."""
    known = {extension for form in dibstream.formats() for extension in form.extensions}
    names = files_below(folder)
    if not names:
        raise ValueError(f"{folder}: no such folder, or there is nothing in it")
    return sorted(name for name in names if posixpath.splitext(name)[1].lower().lstrip(".") in known)


def jobs_of(options):
    """(source, target) of each picture. Raises ValueError when two pictures would have one result."""
    if options.list:
        with open(options.list, encoding="utf-8") as lines:
            sources = [place_of(line.rstrip("\r\n")) for line in lines if line.strip()]
        names = [posixpath.basename(source) for source in sources]
    else:
        names = pictures_below(options.source)
        sources = [posixpath.join(options.source, name) for name in names]
    if options.format:
        names = [posixpath.splitext(name)[0] + "." + options.format for name in names]
    if clash := [name for name, count in collections.Counter(names).items() if count > 1]:
        raise ValueError(f"{len(clash)} results would be written more than once, {clash[0]} among them")
    done = set(files_below(options.target)) if options.resume else set()
    return [(s, posixpath.join(options.target, name)) for s, name in zip(sources, names) if name not in done]


def results_of(client, jobs, options):
    """The row of each picture, in the order in which they end. A few pictures a worker are under way at once."""
    waiting = iter(jobs)
    under_way = distributed.as_completed()

    def start(source, target, tries):
        future = client.submit(convert, source, target, options.chain, pure=False)
        future.row = {"source": source, "target": target, "tries": tries}
        under_way.add(future)

    def start_next():
        if job := next(waiting, None):
            start(*job, tries=1)

    for _ in range(4 * max(1, len(client.scheduler_info()["workers"]))):
        start_next()
    for future in under_way:
        # The scheduler gives a picture to another worker when one dies, and gives up after some deaths.
        died = future.exception()
        row = future.row | ({"state": "failed", "reason": str(died)} if died else future.result())
        if row["state"] == "try again" and row["tries"] <= options.retries:
            start(row["source"], row["target"], row["tries"] + 1)
            continue
        yield row | {"state": "done" if row["state"] == "done" else "failed"}
        start_next()


def remove_leftovers(target):
    """Removes the temporary files of workers that were killed while they saved."""
    for file in pathlib.Path(target).rglob(".dib-*"):
        file.unlink(missing_ok=True)


def run(client, jobs, options):
    """Processes the pictures and writes the table. Returns how many failed."""
    print(f"{len(jobs)} pictures; dashboard: {client.dashboard_link}", file=sys.stderr)
    failed = 0
    with open(options.results, "a" if options.resume else "w", newline="", encoding="utf-8") as file:
        table = csv.DictWriter(file, COLUMNS, dialect="excel-tab")
        if file.tell() == 0:
            table.writeheader()
        for row in tqdm.tqdm(results_of(client, jobs, options), total=len(jobs), unit="picture"):
            table.writerow(row)
            file.flush()
            if row["state"] == "failed":
                failed += 1
                tqdm.tqdm.write(row["reason"], file=sys.stderr)
    return failed


def connect(options):
    """The cluster of the scheduler's address, or one of processes on this machine."""
    if options.scheduler:
        return distributed.Client(options.scheduler)
    cluster = distributed.LocalCluster(n_workers=options.workers, threads_per_worker=1, dashboard_address=":0")
    return distributed.Client(cluster)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("source", nargs="?", type=place_of, help="folder or URL of pictures")
    parser.add_argument("target", type=place_of, help="folder or URL of the results")
    parser.add_argument("chain", help='operations, as "resize:50%% gaussian:2"')
    parser.add_argument("--list", metavar="FILE", help="paths or URLs, one a line, instead of SOURCE")
    parser.add_argument("--format", metavar="EXT", help="extension of the results; else that of each source")
    parser.add_argument("--scheduler", metavar="ADDRESS", help="of a running cluster")
    parser.add_argument("--workers", type=int, default=os.cpu_count(), help="processes of this machine (%(default)s)")
    parser.add_argument("--retries", type=int, default=2, help="more tries after errors of files (%(default)s)")
    parser.add_argument("--results", metavar="FILE", default="results.tsv", help="table of results (%(default)s)")
    parser.add_argument("--resume", action="store_true", help="skip pictures that have a result")
    options = parser.parse_args()
    if bool(options.source) == bool(options.list):
        parser.error("give SOURCE or --list")
    try:
        dibstream.check_chain(options.chain)
        jobs = jobs_of(options)
    except (ValueError, OSError, ImportError) as error:
        parser.error(str(error))

    with connect(options) as client:
        failed = run(client, jobs, options)
    if not is_url(options.target):
        remove_leftovers(options.target)
    print(f"{len(jobs) - failed} done, {failed} failed; see {options.results}", file=sys.stderr)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
