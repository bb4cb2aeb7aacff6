"""The demo's words for what is seen: requests, events, and what the host shows to a person."""
import os
import struct


def of_seconds(seconds):
    return f"{seconds:g} seconds"


def of_request(request):
    """A request in a person's words; the secret in the address stays out of it."""
    path, status = request["path"], request["status"]
    if "/sync/" in path:
        what = "is asked for the configuration"
    elif path.startswith("/report/events"):
        count = len(request["received"])
        what = f"receives {count} event" + ("" if count == 1 else "s")
        if any(name.lower() == "ak" for name, _ in request["headers"]) or "ak=" in (request["query"] or ""):
            what += ", signed"
    elif path.startswith("/assets/"):
        what = "is asked for the picture " + os.path.basename(path)
    elif "/test_device" in path:
        what = "enrols a test device"
    else:
        what = path
    reason = f" ({request['refusal']})" if request["refusal"] else ""
    return f"{what}: {status or 'no answer'}{reason}"


def of_event(event):
    kind, name = event.get("event_type"), event.get("name")
    own = {"lmr_app_open": "application opened", "lmr_app_session": "time in the application"}
    if kind == "init":
        return "device report: what it runs on"
    if kind == "session":
        return f"{own.get(name, 'session ' + str(name))}, {of_seconds(event['duration'])}"
    if kind == "checkpoint":
        return own.get(name, f"action {name}")
    if kind == "user":
        return "profile: " + ", ".join(f"{key} {value}" for key, value in sorted(event["user"].items()))
    if kind == "inapp":
        return f"message {event['inapp'].get('cid')}: {event['inapp'].get('subtype')}"
    if kind == "push":
        push = event["push"]
        return f"notification {push['cid']}: {push.get('subtype')}" if "cid" in push else "push token"
    return str(kind)


def _picture_size(path):
    with open(path, "rb") as file:
        start = file.read(24)
    return "{}×{}".format(*struct.unpack(">II", start[16:24])) if start.startswith(b"\x89PNG") else ""


def _of_message(screen):
    """A message's card: close button, picture, texts, buttons."""
    elements = screen["elements"]
    rows = []
    if "close_button" in elements:
        rows.append(("✕", "right"))
    for name in ("image", "background"):
        if file := elements.get(name, {}).get("file"):
            shade = "░" * 24
            rows += [(shade, "center"), (f"picture {os.path.basename(elements[name].get('uri') or file)}", "center"),
                     (f"{_picture_size(file)}", "center"), (shade, "center")]
    for name in ("primary_text", "secondary_text"):
        if text := elements.get(name, {}).get("text"):
            rows.append((text, "center"))
    buttons = [f"[ {elements[name].get('text')} ]" for name in ("primary_button", "secondary_button") if name in elements]
    if buttons:
        rows.append(("  ".join(buttons), "center"))
    return f"message of campaign {screen['campaign']}", rows


def of_output(line):
    """What the host shows: a card (title and rows), or else one line of the application's."""
    if "screen" in line:
        return _of_message(line["screen"]), None
    if alert := line.get("alert"):
        rows = [(alert["message"], "center")]
        if "text" in alert:
            rows.append((f"▏{alert['text']}▕", "center"))
        rows.append(("  ".join(f"[ {button} ]" for button in alert["buttons"]), "center"))
        return (f"question: {alert['title']}" if len(alert["buttons"]) > 1 else alert["title"], rows), None
    if notification := line.get("notification"):
        return ("notification", [str(notification["body"])]), None
    if "dismissed" in line:
        return None, "the message leaves the screen"
    if "opened_url" in line:
        return None, f"the browser opens {line['opened_url']}"
    return None, str(line)
