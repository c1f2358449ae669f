"""Runs astroalign.find_transform on the scenes of a file; started by ptmatch_peers.

usage: astroalign_scenes.py FILE MAX_SECONDS

Prints a line per scene: whether it ended, whether there is a pose, the processor time of the call
in seconds, and the pose a b tx ty (x' = a x - b y + tx, y' = b x + a y + ty).
"""

import os
import signal
import sys
import time

# One thread, as everybody else here.
for variable in ("OMP_NUM_THREADS", "OPENBLAS_NUM_THREADS", "MKL_NUM_THREADS"):
    os.environ[variable] = "1"

import astroalign  # noqa: E402
import numpy  # noqa: E402


class OutOfTime(BaseException):
    """Not an Exception, so that no handler of the package takes it for one of its own."""


def stop(_signal, _frame):
    raise OutOfTime


def read_points(lines):
    count = int(next(lines))
    return numpy.array([[float(word) for word in next(lines).split()] for _ in range(count)])


def find(model, data, max_seconds):
    """Returns whether it ended, the transform or None, and the seconds."""
    start = time.process_time()
    transform, has_ended = None, True
    signal.setitimer(signal.ITIMER_PROF, max_seconds)
    try:
        # By default only the first 50 points count, which are the brightest in a list of stars;
        # these points have no order.
        transform, _ = astroalign.find_transform(
            model, data, max_control_points=max(len(model), len(data)))
    except OutOfTime:
        has_ended = False
    except Exception:  # noqa: BLE001  whatever the package raises, it found nothing
        pass
    finally:
        signal.setitimer(signal.ITIMER_PROF, 0)
    return has_ended, transform, time.process_time() - start


def main():
    signal.signal(signal.SIGPROF, stop)
    with open(sys.argv[1], encoding="ascii") as file:
        lines = iter(file.read().splitlines())
    scenes = [(read_points(lines), read_points(lines)) for _ in range(int(next(lines)))]
    if scenes:
        find(*scenes[0], float(sys.argv[2]))  # Warms up what is loaded late.
    for model, data in scenes:
        has_ended, transform, seconds = find(model, data, float(sys.argv[2]))
        pose = (0.0, 0.0, 0.0, 0.0)
        if transform is not None:
            matrix = transform.params
            pose = (matrix[0, 0], matrix[1, 0], matrix[0, 2], matrix[1, 2])
        print(int(has_ended), int(transform is not None), seconds, *(float(value) for value in pose))


if __name__ == "__main__":
    main()
