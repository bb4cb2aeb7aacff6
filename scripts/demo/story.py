"""The demo's story, told to people:  python3 -B scripts/demo/story.py BUILD [--trace], from the repository's root.

What the application does, what the library's log says to developers and what the service sees stand in three
columns; words.py has the words for it, screen.py draws it, world.py runs the programs.
"""
import json
import pathlib
import signal
import sys
import time

import screen
import words
from screen import APPLICATION, LIBRARY, SERVICE
from world import GivenUp, World, quoted

ASSETS = pathlib.Path("examples/campaigns/assets").resolve()
CAMPAIGN = json.loads(pathlib.Path("examples/campaigns/layout4-once-per-session.json").read_text())


class Story:
    def __init__(self, world, has_trace):
        self._world = world
        self._has_trace = has_trace
        self.requests = 0
        self.events = 0

    def do(self, what, *command):
        """One thing that the application or a person does, and all that follows from it."""
        line = quoted(*command)
        screen.say(APPLICATION, what)
        if self._has_trace:
            screen.say(APPLICATION, "$ " + line, is_trace=True)
        _, shown = self._world.host.run(line)
        self._tell_of_log_and_requests()
        for output in shown:
            card, text = words.of_output(output)
            if card:
                screen.card(*card)
            else:
                screen.say(APPLICATION, text)

    def _tell_of_log_and_requests(self):
        """Each request stands where the library's trace says that it went out."""
        requests = self._world.service.requests()
        for line, is_trace in self._world.host.log_lines():
            if self._has_trace or not is_trace:
                screen.say(LIBRARY, line.removeprefix("LumoraSDK-").strip(), is_trace)
            if requests and requests[0]["path"] in line:
                self._tell_of_request(requests.pop(0))
        for request in requests:
            self._tell_of_request(request)

    def _tell_of_request(self, request):
        screen.say(SERVICE, words.of_request(request))
        for event in request["received"]:
            screen.say(SERVICE, "+ " + words.of_event(event))
        self.requests += 1
        self.events += len(request["received"])

    def launch(self, what, version="1.0", build="1", later=60):
        """The application was closed for a while before."""
        self._world.skip(later)
        self._world.launch(version, build)
        self.do(what, "init", "acme", "s3cret")

    def pass_time(self, seconds):
        self.do(f"{seconds} seconds pass", "advance", str(seconds))
        self._world.skip(seconds)

    def tell_of_waiting_events(self):
        count = self._world.host.waiting_events()
        texts = {0: "(no event waits in the database)", 1: "(1 event waits in the database)"}
        screen.say(LIBRARY, texts.get(count, f"({count} events wait in the database)"))

    def tell_of_pictures(self):
        screen.say(LIBRARY, f"(pictures on the disk: {', '.join(self._world.host.cached_pictures()) or 'none'})")


def tell_of_events(story, world):
    screen.chapter("Chapter 1: from the application's call to the service's answer")
    screen.heads()
    world.service.knows()
    world.service.start(ASSETS)

    screen.step("The first launch: the library fetches its configuration and reports this device")
    story.launch("starts, and initialises the library", later=0)

    screen.step("A session, two actions and the person's profile")
    story.do("a session begins: checkout", "start-session", "checkout")
    story.do("reports an action: coupon_applied", "action", "coupon_applied", '{"type":"purchase","metric":12.5}')
    odd = 'it\'s 100% "odd" – ünïcode'
    story.do(f"reports an action: {odd}", "action", odd)
    story.do("tells who the person is: Ada", "lead", '{"firstName":"Ada","email":"ada@example.com"}')
    story.pass_time(7)
    story.do("the session ends", "end-session", "checkout")
    story.tell_of_waiting_events()

    screen.step("The application goes to the background: its own session ends and is uploaded")
    story.pass_time(6)
    story.do("goes to the background", "background")
    world.close()

    screen.step("A second launch starts from what is stored")
    story.launch("starts again")

    screen.step("Offline, nothing is lost")
    story.do("the network goes away", "network", "offline")
    story.pass_time(6)
    story.do("reports an action: taken_offline", "action", "taken_offline")
    story.tell_of_waiting_events()
    world.close()

    screen.step("Killed in the middle: what was stored is still there")
    world.launch()
    story.do("starts without a network, not initialised yet", "network", "offline")
    story.do("reports an action: before_the_kill", "action", "before_the_kill")
    screen.say(APPLICATION, "is killed")
    world.kill()
    story.tell_of_waiting_events()

    screen.step("Online again: an application update reports the device anew, and everything goes out")
    story.launch("starts as version 2.0", version="2.0", build="7", later=0)
    story.tell_of_waiting_events()
    world.close()


def tell_of_a_campaign(story, world):
    screen.chapter("Chapter 2: a campaign's life")
    screen.heads()

    screen.step("The service has a campaign now; the library fetches it with its picture")
    world.service.knows(campaigns=[CAMPAIGN])
    story.launch("starts", version="2.0")
    story.tell_of_pictures()

    screen.step("The action that it waits for shows it")
    story.do("reports an action: collection_opened", "action", "collection_opened")

    screen.step("The tap is recorded, and opens the link")
    story.do("the person taps the picture", "tap", "image")

    screen.step("Once per session: the same action shows nothing now …")
    story.do("reports an action: collection_opened", "action", "collection_opened")

    screen.step("… until the next session")
    story.pass_time(20)
    story.do("goes to the background", "background")
    story.do("comes back", "foreground")
    story.do("reports an action: collection_opened", "action", "collection_opened")
    story.do("the person closes the message", "tap", "close_button")

    screen.step("The service stops the campaign, by its name alone: it disappears with its picture")
    world.service.knows(campaigns=[{"cid": CAMPAIGN["cid"], "status": "stop"}])
    story.pass_time(20)
    story.do("comes to the foreground", "foreground")
    story.tell_of_pictures()
    world.close()


def tell_of_push_and_links(story, world):
    screen.chapter("Chapter 3: push notifications, a test device and secure mode")
    screen.heads()

    screen.step("The push token is registered")
    story.launch("starts", version="2.0")
    story.do("registers its push token", "register-push", "0aff17c4")

    screen.step("A push in the foreground becomes a local notification; its tap is recorded and opens the link")
    payload = {"aps": {"alert": "Your desk is ready"}, "vs": {"cid": "push-7", "a": "acme.example/desk"}}
    story.do("a push notification arrives", "push", json.dumps(payload))
    story.do("the person taps the notification", "tap-notification")

    screen.step("A deep link enrols this phone as a test device")
    story.do("the person opens a link of the service's", "open-url", world.service.deep_link())
    story.do("the person names the phone, and says yes", "answer", "1", "Ada's test phone")
    story.do("the person says OK", "answer", "0")

    screen.step("Secure mode: uploads wait for a signature")
    world.service.knows(secure_mode=True, test_device=True)
    story.pass_time(11)
    story.do("comes to the foreground", "foreground")
    story.do("reports an action: while_unsigned", "action", "while_unsigned")
    story.tell_of_waiting_events()
    story.do("hands over its server's signature", "secure-signature", "key-1", "signed-by-our-server", "1478003131",
             "ada@example.com")
    story.tell_of_waiting_events()


def accounts_of(world):
    """What was recorded, how often, and how often the service has it."""
    def received(what, expected, condition):
        count = world.service.count(condition)
        return what, expected, count, count == expected

    def named(name):
        return "json_extract(event, '$.name') = '" + name.replace("'", "''") + "'"

    rows = [received(f"action {name}", 1, named(name))
            for name in ("coupon_applied", 'it\'s 100% "odd" – ünïcode', "taken_offline", "before_the_kill")]
    rows += [
        # On a busy machine the real seconds between the commands count too.
        received("session checkout of 7 seconds", 1,
                 named("checkout") + " AND json_extract(event, '$.duration') BETWEEN 7 AND 60"),
        received("profile of Ada", 1, "json_extract(event, '$.user.firstName') = 'Ada'"),
        received("device reports (first run, update)", 2, "json_extract(event, '$.event_type') = 'init'"),
        received("action collection_opened", 3, named("collection_opened")),
        received("taps on the campaign's messages", 2, "json_extract(event, '$.inapp.subtype') = 'tapped'"),
        received("push token", 1, "json_extract(event, '$.push.push_token') = '0aff17c4'"),
        received("opened notification", 1, "json_extract(event, '$.push.cid') = 'push-7'"),
        received("action held back by secure mode", 1, named("while_unsigned")),
        received("application opens", 6, named("lmr_app_open")),
        received("application sessions", 2, named("lmr_app_session")),
    ]
    everything = sum(expected for _, expected, *_ in rows)
    rows.append(received("all events together", everything, "true"))
    devices = world.service.query("SELECT COUNT(*) FROM test_devices")[0][0]
    rows.append(("test devices enrolled", 1, devices, devices == 1))
    waiting = world.host.waiting_events()
    rows.append(("events still waiting in the application", 0, waiting, waiting == 0))
    return rows


def tell(world, has_trace):
    screen.show()
    screen.paragraph("An application with Lumora in it runs here beside a service of its own, on this machine alone. "
                     "Three voices tell what happens; a frame is what a person sees on the screen.")
    screen.show()
    screen.legend(("what it does, and what the person does", "what its log tells a developer",
                   "what reaches it, and how it answers"))
    began = time.monotonic()
    story = Story(world, has_trace)
    tell_of_events(story, world)
    tell_of_a_campaign(story, world)
    tell_of_push_and_links(story, world)

    screen.chapter("Did everything arrive?")
    rows = accounts_of(world)
    screen.table(("what", "recorded", "received"), rows)
    screen.show()
    screen.paragraph(f"{story.events} events in {story.requests} requests, within {time.monotonic() - began:.1f} seconds.")
    bad = sum(not is_good for *_, is_good in rows)
    if bad:
        screen.conclude(f"{bad} of these accounts do not add up: the lines marked BAD say which.", is_good=False)
    else:
        screen.conclude("Every recorded event reached the service exactly once.", is_good=True)
        if not has_trace:
            screen.paragraph("./demo --trace shows the library's trace and the host's commands too.")
    return 1 if bad else 0


def main(arguments):
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    with World(arguments[0]) as world:
        try:
            return tell(world, "--trace" in arguments)
        except GivenUp as trouble:
            print(f"Error: {trouble}\n  What to do: look at the lines above, then run ./demo again", file=sys.stderr)
            return 1
        except KeyboardInterrupt:
            return 130
        except BrokenPipeError:  # Whoever looked on has gone.
            sys.stdout = None
            return 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
