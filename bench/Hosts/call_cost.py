"""What an action with four details costs its caller's thread in Python: prints the median, in microseconds."""
import os
import statistics
import time

import lumora

CALLS, ROUNDS, WARM_UP = 50, 40, 20


def call():
    details = lumora.LumoraActionMetaData()
    details.set_type("purchase")
    details.set_details("It's the \"summer\" coupon – 20 %")
    details.set_metric(12.5)
    details.set_key("item", "boots")
    sdk.report_action("checkout", details)


def settle():
    while not platform.is_idle:
        platform.run_pending()
        time.sleep(0.001)


def sample():
    begin = time.perf_counter()
    for _ in range(CALLS):
        call()
    taken = time.perf_counter() - begin
    settle()
    return taken * 1e6 / CALLS


platform = lumora.LinuxPlatform(
    info={"CFBundleIdentifier": "com.example.bench", "CFBundleShortVersionString": "1.0"}, log_sink=lambda line: None,
    connect_to=os.environ["LUMORA_CONNECT_TO"], certificate_authority_file=os.environ["LUMORA_CERTIFICATES"])
platform.install()
sdk = lumora.Lumora.shared_instance()
sdk.initialize_with_tarrow_id("acme", "s3cret")
settle()
print(statistics.median([sample() for _ in range(ROUNDS)][WARM_UP:]))
