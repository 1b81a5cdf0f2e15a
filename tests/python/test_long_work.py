import os
import re
import signal
import subprocess
import sys
import threading
import time
from pathlib import Path

import numpy as np
import pytest

import vorlen

# Some seconds of work on one thread.
LONG = dict(values=np.random.default_rng(1).normal(size=(20, 4000)).astype(np.float32), groups=[0] * 10 + [1] * 10,
            permutations=150000)


def test_progress_rises_to_the_end():
    told = []
    vorlen.compare(LONG["values"][:, :500], LONG["groups"], permutations=2000,
                   progress=lambda done, total: told.append((done, total)))
    assert told and told == sorted(told) and all(0 <= done <= total for done, total in told)


def test_what_progress_raises_ends_the_work():
    class Enough(Exception):
        pass

    def stop(done, total):
        raise Enough

    began = time.monotonic()
    with pytest.raises(Enough):
        vorlen.compare(**LONG, progress=stop)
    assert time.monotonic() - began < 60


def test_others_go_on_meanwhile():
    beats, done = [], threading.Event()

    def beat():
        while not done.is_set():
            beats.append(time.monotonic())
            time.sleep(0.01)

    class Stop(Exception):
        pass

    began = time.monotonic()

    def stop_later(*_):
        if time.monotonic() - began > 1:
            raise Stop

    other = threading.Thread(target=beat)
    other.start()
    try:
        with pytest.raises(Stop):
            vorlen.compare(**LONG, progress=stop_later)
    finally:
        done.set()
        other.join()
    assert sum(began < moment < began + 1 for moment in beats) > 10


def test_control_c_ends_the_work():
    script = ("import numpy, vorlen\n"
              "values = numpy.random.default_rng(1).normal(size=(20, 4000)).astype('f4')\n"
              "def tell(done, total):\n"
              "    print('working', flush=True)\n"
              "try:\n"
              "    vorlen.compare(values, [0] * 10 + [1] * 10, permutations=150000, progress=tell)\n"
              "except KeyboardInterrupt:\n"
              "    print('interrupted')\n")
    running = subprocess.Popen([sys.executable, "-c", script], stdout=subprocess.PIPE, text=True)
    assert running.stdout.readline() == "working\n"
    running.send_signal(signal.SIGINT)
    text, _ = running.communicate(timeout=60)
    assert text.endswith("interrupted\n") and running.returncode == 0


def test_a_stack_that_work_looks_at_is_left_alone(stack, tmp_path):
    stack.save(str(tmp_path / "own.sdf"))
    other = vorlen.open(str(tmp_path / "own.sdf"))
    tried = []

    def try_to_use(*_):
        if not tried:
            for use in (lambda: stack.add_model("New"), lambda: other.models, lambda: stack.register()):
                with pytest.raises(vorlen.Error, match="Long work"):
                    use()
            tried.append(True)

    vorlen.normalize([stack, other], progress=try_to_use)
    assert tried and [model.name for model in stack.models] == ["Ball"]
    stack.add_model("New")


def test_the_example_of_the_manual_runs(tmp_path):
    manual = Path(__file__).resolve().parents[2] / "docs" / "python.md"
    code = re.findall(r"^```python\n(.*?)^```", manual.read_text("utf-8"), re.M | re.S)[0]
    assert len(code.splitlines()) <= 32
    done = subprocess.run([sys.executable, "-c", code], cwd=tmp_path, env={**os.environ, "MPLBACKEND": "Agg"},
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    assert done.returncode == 0, done.stdout
    volume = float(re.search(r"volume ([0-9.]+)", done.stdout)[1])
    assert volume == pytest.approx(4 / 3 * np.pi * 20**3, rel=0.03)
    assert (tmp_path / "ball.png").stat().st_size > 5000
