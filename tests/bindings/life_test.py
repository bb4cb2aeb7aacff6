"""A host's whole life, from the first launch to the end; then the service holds what was reported.

life_test.py COMMAND…: runs COMMAND host, and after it COMMAND next_run.
"""
import json
import pathlib
import sys
import tempfile

from service import EXAMPLES, Service

ODD_TEXT = "né 🎉 \0 end"
NESTED = {"text": ODD_TEXT, "number": -3, "large": 2**63, "part": 0.5, "yes": True, "nothing": None,
          "list": [1, [2, {"three": "3"}]], "map": {"a": {"b": [False]}}}


def reported():
    campaigns = json.loads((EXAMPLES / "accounts.json").read_text())["accounts"]["acme"]["campaigns"]
    with tempfile.TemporaryDirectory() as folder:
        service = Service(folder, config={"syncTimeOut": 10, "secure_mode": True}, access_key="key",
                          campaigns=[one for one in campaigns if one["cid"] == "welcome"])
        try:
            service.run_host(*sys.argv[1:], "host")
            service.run_host(*sys.argv[1:], "next_run")
            folders = [one.name for one in (service.folder / "home" / "data").iterdir()]
            # A runtime's name is not the application's, that of a program is.
            name = pathlib.Path(sys.argv[1]).name if len(sys.argv) == 2 else "com.example.tést"
            assert sorted(folders) == sorted([name, "lumora"]), folders
            return service.events()
        finally:
            service.end()


checkpoint = {"event_type": "checkpoint", "type": "custom"}
opened = {"event_type": "checkpoint", "name": "lmr_app_open", "type": "internal"}
expected = [
    {"event_type": "init"},
    opened,
    {**checkpoint, "name": "checkout", "metadata": {"Action Type": "purchase", "Action Metric": 12.5, **NESTED}},
    {"event_type": "user", "user": {"email": "ada@example.com", "plan": ODD_TEXT}},
    {"event_type": "session", "name": "visit", "duration": 1, "type": "internal"},
    {"event_type": "push", "push": {"push_token": "0001feff", "subtype": "init"}},
    {"event_type": "push", "push": {"cid": "spring", "subtype": "opened"}},
    {**checkpoint, "name": "profile_created"},
    {"event_type": "inapp", "inapp": {"cid": "welcome", "subtype": "tapped"}},
    {**checkpoint, "name": "last_words"},
    opened,
]
# A busy machine makes the host's session longer.
events = [{**event, "duration": min(event["duration"], 1)} if "duration" in event else event for event in reported()]
assert events == expected, events
