"""Callbacks while the collector runs all the time, threads that report, and an end in the middle of it all: see stress_test.py."""
import gc
import os
import resource
import sys
import threading

# No more than 1000 actions wait; the library drops the others.
THREADS, ACTIONS, CALLBACKS = 8, 100, 10000


def make(lumora, lines):
    platform = lumora.LinuxPlatform(
        info={"CFBundleIdentifier": "com.example.stress", "CFBundleShortVersionString": "1.0"},
        log_sink=lambda line: lines.append([line]), connect_to=os.environ["LUMORA_CONNECT_TO"],
        certificate_authority_file=os.environ["LUMORA_CERTIFICATES"])
    platform.install()
    return platform, lumora.Lumora.shared_instance()


def report(sdk, lumora, thread, count):
    for number in range(count):
        details = lumora.LumoraActionMetaData()
        details.set_key("number", f"{thread} {number}")
        sdk.report_action("stress", details)


def collect(ended):
    while not ended.is_set():
        gc.collect()


def peak():
    return resource.getrusage(resource.RUSAGE_SELF).ru_maxrss


def host():
    """All that is reported is at the service when the host ends, and the memory does not grow."""
    import lumora
    platform, sdk = make(lumora, [])
    sdk.initialize_with_tarrow_id("acme", "s3cret")
    ended = threading.Event()
    collector = threading.Thread(target=collect, args=(ended,))
    collector.start()
    reporters = [threading.Thread(target=report, args=(sdk, lumora, one, ACTIONS)) for one in range(THREADS)]
    for one in reporters:
        one.start()

    called = [0]

    def callbacks(count):
        class Observer(lumora.LumoraObserver):
            pass

        def task(_garbage):
            called[0] += 1

        for number in range(count):
            platform.post(lambda number=number: task([number]))
            if number % 100 == 0:
                sdk.set_observer(Observer())
                platform.run_pending()
        platform.run_pending()

    callbacks(CALLBACKS // 2)
    before = peak()
    callbacks(CALLBACKS // 2)
    grown = peak() - before
    for one in reporters:
        one.join()
    ended.set()
    collector.join()
    assert called == [CALLBACKS], called
    assert grown < 4096, f"{grown} KiB more"
    assert sdk.flush(60)


def ending():
    """The main thread ends while threads report, the log calls back, and nobody waits for them."""
    import lumora
    platform, sdk = make(lumora, [])
    sdk.initialize_with_tarrow_id("acme", "s3cret")
    started = threading.Barrier(THREADS + 2)

    def endless(thread):
        started.wait()
        report(sdk, lumora, thread, 20)
        while True:
            sdk.report_action("")  # Each writes a line, which calls Python back.
            platform.post(lambda: None)

    threading.Thread(target=collect, args=(threading.Event(),), daemon=True).start()
    for one in range(THREADS):
        threading.Thread(target=endless, args=(one,), daemon=True).start()
    threading.Thread(target=started.wait, daemon=True).start()
    started.wait()
    report(sdk, lumora, sys.argv[2], 100)
    sys.exit(0)


def next_run():
    import lumora
    _, sdk = make(lumora, [])
    sdk.initialize_with_tarrow_id("acme", "s3cret")
    assert sdk.flush(60)


{"host": host, "ending": ending, "next_run": next_run}[sys.argv[1]]()
