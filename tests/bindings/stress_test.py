"""Nothing is lost under stress, and nothing crashes.

stress_test.py COMMAND…: COMMAND host reports from 8 threads, while callbacks come and the collector runs. COMMAND ending
NAME ends in the middle of such; what its main thread has reported under that name, COMMAND next_run sends.
"""
import sys
import tempfile

from service import Service

# No more than 1000 actions wait; the library drops the others.
THREADS, ACTIONS, ENDINGS, LAST_ACTIONS = 8, 100, 5, 100


def numbers():
    return [event["metadata"]["number"] for event in service.events() if event.get("name") == "stress"]


with tempfile.TemporaryDirectory() as folder:
    service = Service(folder, config={"syncTimeOut": 10})
    try:
        service.run_host(*sys.argv[1:], "host")
        expected = [f"{one} {two}" for one in range(THREADS) for two in range(ACTIONS)]
        assert sorted(numbers()) == sorted(expected), len(numbers())
        for one in range(ENDINGS):
            service.run_host(*sys.argv[1:], "ending", f"main {one}")
            service.run_host(*sys.argv[1:], "next_run")
        # An upload that the end has aborted may have arrived all the same.
        lost = {f"main {one} {two}" for one in range(ENDINGS) for two in range(LAST_ACTIONS)} - set(numbers())
        assert not lost, lost
    finally:
        service.end()
