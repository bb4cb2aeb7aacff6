"""A host's whole life in Python, from the first launch to the end; life_test.py knows what the service holds then."""
import asyncio
import datetime
import logging
import os
import pathlib
import sys
import threading

ODD_TEXT = "né 🎉 \0 end"
WHEN = datetime.datetime(2026, 2, 3, 4, 5, 6, 789000, tzinfo=datetime.timezone.utc)
NESTED = {"text": ODD_TEXT, "number": -3, "large": 2**63, "part": 0.5, "yes": True, "nothing": None,
          "list": [1, [2, {"three": "3"}]], "map": {"a": {"b": [False]}}}
OPTIONS = {"connect_to": os.environ["LUMORA_CONNECT_TO"],
           "certificate_authority_file": pathlib.Path(os.environ["LUMORA_CERTIFICATES"])}
PAYLOAD = {"vs": {"cid": "spring", "a": "https://acme.example/spring"}, "aps": {"alert": "Spring!"}}


def host():
    import lumora

    told, opened, lines, requests, drawn, threads = [], [], [], [], [], set()

    class Watcher(lumora.LumoraObserver):
        def initialized(self):
            told.append("initialized")
            threads.add(threading.current_thread())

        def message_shown(self, campaign_id):
            told.append(("shown", campaign_id))

        def message_dismissed(self, campaign_id):
            told.append(("dismissed", campaign_id))
            raise LookupError("of an observer")

        def upload_failed(self, error):
            told.append(error)

    class Screens:
        def show(self, message, description):
            drawn.append((message, description))
            platform.post(lambda: drawn.append(platform.tap(message, "primary_button")))

        def dismiss(self, message):
            drawn.append(message)

    def open_url(url):
        opened.append(url)
        if len(opened) == 2:
            raise OSError("nothing opens this link")  # It counts as a no.
        return True

    def schedule(request, done):
        requests.append(request)
        done(None)

    logged = []
    handler = logging.Handler()
    handler.emit = logged.append
    logging.getLogger("lumora").addHandler(handler)

    platform = lumora.LinuxPlatform(
        info={"CFBundleIdentifier": "com.example.tést", "CFBundleShortVersionString": "1.0"}, log_sink=lines.append,
        url_opener=open_url, notification_scheduler=schedule, message_display=Screens(),
        **OPTIONS)
    platform.install()
    sdk = lumora.Lumora.shared_instance()

    async def until(condition):
        while not condition():
            await asyncio.sleep(0.01)

    async def flushed():
        return await asyncio.to_thread(sdk.flush, datetime.timedelta(seconds=20))

    def refused(error, call, *arguments):
        try:
            call(*arguments)
        except error:
            return
        raise AssertionError(f"{arguments} should have been refused")

    def nested(levels):
        return {"deeper": nested(levels - 1)} if levels > 1 else {}

    def try_main_thread():
        async def attach():
            with platform.attached():
                pass

        def elsewhere():
            for call in [platform.run_pending, platform.run, lambda: platform.tap(1, "x"), lambda: platform.shown_message,
                         platform.did_enter_background, lambda: asyncio.run(attach()), lambda: sdk.open_url("a://b")]:
                refused(RuntimeError, call)
            done.append("refused")

        def interrupted():
            raise KeyboardInterrupt

        done = []
        thread = threading.Thread(target=elsewhere)
        thread.start()
        thread.join()
        # Ctrl-C in a task reaches the host once the other tasks are done.
        platform.post(interrupted)
        platform.post(lambda: done.append("task"))
        refused(KeyboardInterrupt, platform.run_pending)
        assert done == ["refused", "task"], done
        # No loop runs within the loop.
        platform.post(lambda: refused(RuntimeError, platform.run))
        platform.post(lambda: done.append("still running"))
        platform.stop()
        platform.run()
        assert done[-1] == "still running", done

    async def live():
        sdk.set_observer(Watcher())
        sdk.initialize_with_tarrow_id("acme", "s3cret")
        await until(lambda: "initialized" in told)
        assert threads == {threading.main_thread()}

        # Secure mode holds everything back until there is a signature.
        assert sdk.is_secure_mode_enabled
        details = lumora.LumoraActionMetaData()
        details.set_type("purchase")
        details.set_metric(12.5)
        details.action_metadata = {**details.action_metadata, **NESTED}
        sdk.report_action("checkout", details)
        details.action_metadata = {}  # What was reported is a copy, and so below.
        assert not await flushed()
        assert lumora.LMRSecuritySignature.init_with_access_key("key", "signed", None, "ada@example.com") is None
        signature = lumora.LMRSecuritySignature.init_with_access_key("key", "signed", "1", "ada@example.com")
        assert (signature.access_key, signature.email) == ("key", "ada@example.com")
        await asyncio.to_thread(sdk.set_secure_signature, signature)

        lead = lumora.LumoraLead()
        lead.set_email("ada@example.com")
        lead.set_field_name("plan", ODD_TEXT)
        lead.set_city(None)
        assert lead.user_attributes == {"email": "ada@example.com", "plan": ODD_TEXT}
        sdk.associate_lead(lead)
        lead.user_attributes = {}
        sdk.start_session("visit")
        assert await flushed()  # It has begun.
        await asyncio.sleep(1.1)  # A session's time goes by the clock of the system.
        sdk.end_session("visit")

        sdk.register_push_device_token(b"\x00\x01\xfe\xff")
        assert await flushed()
        assert sdk.is_push_registered and sdk.push_device_token == "0001feff"
        sdk.handle_push_notification(PAYLOAD)
        await until(lambda: requests)
        answered = []
        sdk.notification_tapped(requests[0], lambda: answered.append(True))
        assert answered == [True]
        await until(lambda: opened)

        sdk.report_action("profile_created")
        await until(lambda: ("dismissed", "welcome") in told)
        await until(lambda: len(opened) == 2)
        assert await flushed()
        status = sdk.status()
        assert status.is_initialized and status.waiting_events == 0 and status.last_upload.tzinfo is not None
        assert status.last_error.error.reason is lumora.Reason.SIGNATURE_MISSING, status.last_error.error.reason
        assert status.last_error.operation is lumora.Operation.UPLOAD

    async def main():
        with platform.attached():
            await asyncio.wait_for(live(), 120)

    # What no value of the library can be.
    details = lumora.LumoraActionMetaData()
    endless = []
    endless.append(endless)
    refused(ValueError, sdk.report_action, "lone \ud800")
    refused(TypeError, sdk.report_action, 7)
    sdk.set_observer(None)
    refused(TypeError, sdk.set_observer, object())
    refused(TypeError, platform.post, None)
    refused(TypeError, platform.tap, "1", "x")
    refused(TypeError, lambda: lumora.LinuxPlatform(log_sink=7))
    refused(RuntimeError, platform.install)
    refused(TypeError, sdk.flush, "5")
    refused(ValueError, sdk.set_tracking_consent, 9)
    refused(TypeError, details.set_metric, "1")
    refused(TypeError, lambda: lumora.LinuxPlatform(documents_directory=7))
    # Texts of errors say nothing of C++.
    for call, wanted in [(lambda: sdk.report_action("x", {}), "Lumora.report_action: argument 2 has to be a LumoraActionMetaData"),
                         (lambda: sdk.notification_tapped(None), "Lumora.notification_tapped: argument 1 has to be a Notif"),
                         (lambda: sdk.set_timeout_interval(1.5), "Lumora.set_timeout_interval: argument 1 has to be an int")]:
        try:
            call()
        except TypeError as error:
            assert str(error).startswith(wanted), error
        else:
            raise AssertionError(wanted)
    try_main_thread()
    last = datetime.datetime(9999, 12, 31, 23, tzinfo=datetime.timezone(datetime.timedelta(hours=-2)))
    for error, value in [(ValueError, "\udfff"), (ValueError, datetime.datetime(2026, 1, 1)), (ValueError, last), (TypeError, object()),
                         (OverflowError, 2**64), (OverflowError, -2**63 - 1), (ValueError, endless), (ValueError, nested(511)), (TypeError, {1: 2})]:
        refused(error, setattr, details, "action_metadata", {"value": value})
    details.action_metadata = nested(511)
    for value in [None, True, -2**63, 2**64 - 1, 0.1, ODD_TEXT, b"\0\xff", WHEN, [[], {}], NESTED]:
        details.action_metadata = {"value": value}
        assert details.action_metadata == {"value": value}
        assert type(details.action_metadata["value"]) is type(value)

    asyncio.run(main())
    (message, description), tapped = drawn[0], [one for one in drawn[1:] if isinstance(one, bool)]
    assert description["elements"]["primary_text"]["text"] == "Welcome to base camp" and tapped == [True]
    assert message in drawn and ("shown", "welcome") in told, told
    assert opened == ["https://acme.example/spring", "https://acme.example/welcome"], opened
    assert any(line.startswith("LumoraSDK-") for line in lines)
    assert any(record.exc_info[0] is LookupError for record in logged), logged
    # Nothing waits for this one: it is stored at the end, and sent by the next run.
    sdk.report_action("last_words")


def next_run():
    import lumora
    platform = lumora.LinuxPlatform(
        info={"CFBundleIdentifier": "com.example.tést", "CFBundleShortVersionString": "1.0"},
        **OPTIONS)
    platform.install()
    sdk = lumora.Lumora.shared_instance()
    sdk.initialize_with_tarrow_id("acme", "s3cret")
    assert sdk.flush(20)


{"host": host, "next_run": next_run}[sys.argv[1]]()
