"""Progress, cancelling, signals and threads."""

import os
import signal
import threading
import time

import numpy
import pytest

import dibstream


@pytest.fixture
def large(noise):
    """A picture on which a large median takes seconds."""
    return dibstream.from_array(noise).resize((1600, 1200), filter="area")


def test_fractions_rise_from_0_to_1(large, tmp_path):
    for work in (
        lambda progress: large.gaussian(20, progress=progress),
        lambda progress: large.apply("invert gaussian:9 invert", progress=progress),
        lambda progress: large.save(tmp_path / "a.png", progress=progress),
        lambda progress: large.encode("tiff", progress=progress),
        lambda progress: dibstream.open(large.encode("png"), progress=progress),
    ):
        fractions = []
        work(fractions.append)
        assert fractions == sorted(fractions) and len(fractions) > 1
        assert fractions[0] < 0.5 and fractions[-1] == 1


def test_false_cancels(large, tmp_path):
    for work in (
        lambda progress: large.gaussian(20, progress=progress),
        lambda progress: large.save(tmp_path / "a.png", progress=progress),
        lambda progress: dibstream.open(large.encode("bmp"), progress=progress),
    ):
        with pytest.raises(dibstream.Cancelled) as failure:
            work(lambda fraction: False)
        assert failure.value.code == dibstream.ErrorCode.INTERRUPTED
    assert not (tmp_path / "a.png").exists()


def test_exceptions_of_the_function_arrive(large):
    def fail(fraction):
        raise ZeroDivisionError("of the program")

    with pytest.raises(ZeroDivisionError, match="of the program"):
        large.gaussian(20, progress=fail)
    with pytest.raises(TypeError, match="progress must be"):
        large.gaussian(20, progress=5)


def test_bars_are_moved(large):
    class Bar:
        total = None
        n = 0

        def update(self, count):
            self.n += count

    bar = Bar()
    large.gaussian(20, progress=bar)
    assert bar.total == 1 and bar.n == pytest.approx(1)
    bar.total, bar.n = 100, 20
    large.invert(progress=bar)
    assert bar.n == pytest.approx(100)


def test_tqdm(large, tmp_path):
    tqdm = pytest.importorskip("tqdm")
    with open(tmp_path / "out", "w") as out, tqdm.tqdm(total=100, file=out) as bar:
        large.gaussian(20, progress=bar)
        assert bar.n == pytest.approx(100)


def test_ctrl_c_stops_an_operation(large):
    before = numpy.asarray(large).copy()
    timer = threading.Timer(0.1, os.kill, (os.getpid(), signal.SIGINT))
    timer.start()
    with pytest.raises(KeyboardInterrupt):
        large.apply("gaussian:250 " * 500)  # takes minutes
    timer.join()
    assert (numpy.asarray(large) == before).all()


def test_ctrl_c_stops_within_some_rows(large):
    reports = []
    pressed = []

    def press():
        pressed.append(len(reports))
        os.kill(os.getpid(), signal.SIGINT)

    timer = threading.Timer(0.1, press)
    timer.start()
    with pytest.raises(KeyboardInterrupt):
        large.apply("gaussian:250 " * 500, progress=reports.append)
    timer.join()
    assert len(reports) <= pressed[0] + 20


def test_signal_handlers_may_return(large):
    seen = []
    old = signal.signal(signal.SIGUSR1, lambda *_: seen.append(1))
    try:
        timer = threading.Timer(0.02, os.kill, (os.getpid(), signal.SIGUSR1))
        timer.start()
        while not seen:
            large.gaussian(20)
        timer.join()
    finally:
        signal.signal(signal.SIGUSR1, old)


def test_other_threads_run_meanwhile(large):
    """While one thread blurs, this one works: each sees the other's progress."""
    ticks = 0
    done = threading.Event()

    def work():
        large.gaussian(20)
        done.set()

    thread = threading.Thread(target=work)
    thread.start()
    while not done.is_set():
        ticks += 1
        time.sleep(0.0005)
    thread.join()
    assert ticks > 10


def test_threads_share_a_picture(picture):
    wanted = numpy.asarray(picture.rotate(33).gaussian(3)).copy()
    wrong = []

    def work():
        for _ in range(50):
            if not (numpy.asarray(picture.rotate(33).gaussian(3)) == wanted).all():
                wrong.append(1)

    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not wrong
