# One of several tasks, numbered from 0, which share the photos.
# Run: python3 cluster.py $TASK $TASKS photos/*.jpg
import pathlib
import sys

import dibstream

task, tasks = int(sys.argv[1]), int(sys.argv[2])
pathlib.Path("small").mkdir(exist_ok=True)
for number, photo in enumerate(map(pathlib.Path, sys.argv[3:]), 1):
    target = pathlib.Path("small", photo.name)
    # Each result is whole or absent, so a task that is started again goes on where it stopped.
    if number % tasks == task and not target.exists():
        dibstream.open(photo).fit((320, 320)).save(target)
