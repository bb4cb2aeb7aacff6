"""The Linux platform, as a Python host makes it: options by name, functions for callbacks, a pump for asyncio."""
import asyncio
import atexit
import contextlib
import functools
import logging
import os
import pathlib
import select

from . import _native
from ._enums import LogDestination

# Options that may be a pathlib.Path.
_PATHS = {"documents_directory", "caches_directory", "settings_file", "keychain_file", "resources_directory",
          "certificate_authority_file"}


def log_exception(where, exception):
    """What a callback raised goes no further than this."""
    logging.getLogger("lumora").error("A callback (%s) raised an exception.", where, exc_info=exception)


def _callable(function):
    if not callable(function):
        raise TypeError(f"a function is wanted, not {type(function).__name__}")
    return function


class _LogWriter(_native.LogWriter):
    def __init__(self, function):
        super().__init__()
        self.write = _callable(function)


class _URLOpener(_native.URLOpener):
    def __init__(self, function):
        super().__init__()
        self.function = _callable(function)

    def open(self, url):
        return bool(self.function(url))


class _AlertPresenter(_native.AlertPresenter):
    def __init__(self, function):
        super().__init__()
        self.show = _callable(function)


class _NotificationScheduler(_native.NotificationScheduler):
    def __init__(self, function, local):
        super().__init__()
        self.function, self.local = (one and _callable(one) for one in (function, local))

    def schedule(self, request, completion):
        if self.function is None:
            completion.finish("the host schedules no notifications")
        else:
            self.function(request, completion.finish)

    def schedule_local(self, notification):
        if self.local is not None:
            self.local(notification)


class LinuxPlatform:
    """The Linux implementation of every platform service.

    Made once, on the thread that is to be the main thread, before anything else of the library::

        platform = lumora.LinuxPlatform(
            info={"CFBundleIdentifier": "com.example.shop", "CFBundleShortVersionString": "1.0"},
            url_opener=webbrowser.open)
        platform.install()

    Its options are those of `LinuxPlatformOptions`, by name, and these:

    log_sink: a `LogDestination`, or a function that gets each line. It is called on any thread, also while the library
        holds locks of its own, so it must not call the library.
    url_opener: gets a link that a tap opens; gives whether it could be opened. Main thread.
    alert_presenter: gets an `Alert`; the person's answer goes to its `press`. Main thread.
    notification_scheduler: gets a `NotificationRequest` and a function that is to be called once, with None or with
        why the notification could not be scheduled. Main thread.
    local_notification_scheduler: gets a `LocalNotification`, with a system version before 10. Main thread.
    message_display: an object with `show(message, description)` and `dismiss(message)`, which draw in-app messages.
        Main thread.

    What is for the main thread only is refused with a RuntimeError elsewhere.

    What a callback raises is written to the logger "lumora" and goes no further. The callbacks are kept until
    `Lumora.shutdown`, and none is called once the interpreter ends.
    """

    def __init__(self, *, log_sink=None, url_opener=None, alert_presenter=None, notification_scheduler=None,
                 local_notification_scheduler=None, message_display=None, **options):
        made = _native.LinuxPlatformOptions()
        made.resources_directory = str(pathlib.Path(__file__).parent / "resources")
        for name, value in options.items():
            if name.startswith("_") or not isinstance(getattr(type(made), name, None), property) or name == "thisown":
                raise TypeError(f"there is no option {name}")
            setattr(made, name, os.fspath(value) if name in _PATHS else value)
        if isinstance(log_sink, LogDestination):
            made.set_log_destination(log_sink)
        elif log_sink is not None:
            made.set_log_writer(_LogWriter(log_sink))
        if url_opener is not None:
            made.set_url_opener(_URLOpener(url_opener))
        if alert_presenter is not None:
            made.set_alert_presenter(_AlertPresenter(alert_presenter))
        if notification_scheduler is not None or local_notification_scheduler is not None:
            made.set_notification_scheduler(
                _NotificationScheduler(notification_scheduler, local_notification_scheduler))
        self._screens = None
        if message_display is not None:
            self._screens = _native.screens_of(_Display(message_display))
            made.set_message_screens(self._screens)
        self._native = _native.LinuxPlatform(made)
        self._native.thisown = False
        self._is_stopped = False
        self._is_running = False
        _native.begin_library()

    def install(self):
        """Names it as the library's platform; before everything else. A RuntimeError says that this is too late."""
        if not self._native.install():
            raise RuntimeError("the library is in use already: install the platform once, before anything else")

    @property
    def descriptor(self):
        """Readable while tasks wait for the main thread; for loops that poll."""
        return self._native.descriptor()

    @property
    def is_idle(self):
        """Whether no task waits or runs, on the main queue or a thread of the library's."""
        return self._native.is_idle()

    def run_pending(self):
        """Runs the tasks that wait now, and gives how many they were. Main thread only; never blocks."""
        self._native.require_main_thread()
        return self._native.run_pending()

    def run(self):
        """Runs tasks until `stop` is called. Main thread only, and not within itself, where one stop would end both;
        Ctrl-C ends it as any other Python function."""
        self._native.require_main_thread()
        if self._is_running:
            raise RuntimeError("run runs the main queue already")
        self._is_stopped = False
        self._is_running = True
        try:
            while not self._is_stopped:
                select.select([self.descriptor], [], [])
                self.run_pending()
        finally:
            self._is_running = False

    def stop(self):
        """Lets `run` return. Any thread."""
        self.post(functools.partial(setattr, self, "_is_stopped", True))

    def post(self, task):
        """Has a function called on the main thread, soon. Any thread."""
        self._native.post(_callable(task))

    @contextlib.contextmanager
    def attached(self, loop=None):
        """While the context lasts, an asyncio loop runs the main queue: the running loop, if none is given. Its thread
        must be the main thread::

            with platform.attached():
                await shop()
        """
        self._native.require_main_thread()
        loop = loop or asyncio.get_running_loop()
        loop.add_reader(self.descriptor, self.run_pending)
        try:
            yield
        finally:
            loop.remove_reader(self.descriptor)

    def did_enter_background(self):
        """The application goes out of view. Main thread only."""
        self._native.require_main_thread()
        self._native.did_enter_background()

    def will_enter_foreground(self):
        """The application comes back into view. Main thread only."""
        self._native.require_main_thread()
        self._native.will_enter_foreground()

    @property
    def shown_message(self):
        """The topmost message; 0 when none is shown. Main thread only."""
        self._native.require_main_thread()
        return self._screens.shown if self._screens else 0

    def tap(self, message, element):
        """The person tapped a part of a message, named as in the description's "elements". False when the message is
        not shown, or has no such part that can be tapped. Main thread only."""
        self._native.require_main_thread()
        if not isinstance(message, int) or not isinstance(element, str):
            raise TypeError("a message's number and a part's name are wanted")
        return self._screens is not None and self._screens.tap(message, element)


class _Display(_native.MessageDisplay):
    def __init__(self, display):
        super().__init__()
        self.show, self.dismiss = display.show, display.dismiss


# No function of Python's, whose start Ctrl-C could cut short.
atexit.register(_native._lumora.end_library)
