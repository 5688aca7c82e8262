"""How the tests wait for what other processes do."""

import time

DEADLINE = 20.0  # seconds, for what takes a second or two on a machine with nothing else to do


def until(condition, what, seconds=DEADLINE, every=0.02):
    """The first true value of condition(); fails the test when there is none in time."""
    end = time.monotonic() + seconds
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            raise AssertionError(f"waited {seconds:g} s in vain for {what}")
        time.sleep(every)
