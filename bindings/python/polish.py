"""Makes what SWIG generates read as Python:  polish.py FILE SOURCE

Parameters get Python's names and their defaults, questions become properties, and the documentation, which is that of
the C++ headers, calls things by their names here and leaves out the C++. So do the errors of the C++ SOURCE.
"""
import pathlib
import re
import sys

PROPERTIES = {
    "access_key", "account_blocked", "action_metadata", "can_report", "can_update", "device_id", "email",
    "is_app_store_environment", "is_push_registered", "is_secure_mode_enabled", "is_valid", "push_device_token",
    "sdk_initialized", "shown", "signature", "time_stamp", "tracking_consent", "user_attributes",
}
# What SWIG has given no names: parameters with defaults, and those that the headers do not name.
PARAMETERS = {
    "initialize_with_tarrow_id": ["tarrow_id", "app_secret", "launch_options=None"],
    "set_tracking_consent": ["consent", "waiting=0"],
    "report_action": ["name", "meta_data=None"],
    "set_observer": ["observer"],
    "notification_tapped": ["request", "completion_handler=None"],
    "press": ["button", "text=\"\""],
    "initialization_failed": ["error"],
    "configuration_received": ["configuration"],
    "campaign_dropped": ["campaign"],
    "message_shown": ["campaign_id"],
    "message_dismissed": ["campaign_id"],
    "upload_finished": ["upload"],
    "upload_failed": ["error"],
    "events_dropped": ["why", "count"],
}


def snake(name):
    return re.sub(r"(?<=[a-z0-9])(?=[A-Z])|(?<=[A-Z])(?=[A-Z][a-z])", "_", name).lower()


def polished_function(match):
    indent, name, parameters, body = match.groups()
    given = [one.strip() for one in parameters.split(",")]
    first = given[:1] if given[0] == "self" else []
    wanted = first + PARAMETERS.get(name, [snake(one) for one in given[len(first):]])
    values = [one.split("=")[0] for one in wanted]
    body = re.sub(r"\(" + re.escape(parameters) + r"\)", "(" + ", ".join(values) + ")", body)
    header = f"{indent}def {name}({', '.join(wanted)}):"
    asked, told = name.removeprefix("get_"), name.removeprefix("set_")
    if asked in PROPERTIES and wanted == ["self"]:
        header = f"{indent}@property\n{indent}def {asked}(self):"
    elif told in PROPERTIES and told != name and len(wanted) == 2 and told in ("action_metadata", "user_attributes"):
        header = f"{indent}@{told}.setter\n{indent}def {told}({', '.join(wanted)}):"
    return header + body


def polished_documentation(match):
    paragraphs = match[2].split("\n\n")
    indent = re.match(r"\n?( *)", match[2])[1]
    kept = [one for one in paragraphs if not one.lstrip("\n").startswith(indent + "    ")]
    # An example of C++ is announced by a colon.
    text = re.sub(r":(\n\n|\s*$)", r".\1", "\n\n".join(kept)) if len(kept) < len(paragraphs) else "\n\n".join(kept)
    if len(kept) < len(paragraphs):
        text = text.rstrip() + "\n" + indent

    def code(span):
        parts = span[1].replace("::", ".").split(".")
        return "`" + ".".join(one if one[:1].isupper() else snake(one) for one in parts) + "`"

    return match[1] + re.sub(r"`([\w:]+)`", code, text).lstrip(" ") + match[3]


# What is wanted where C++ has one of these types.
WANTED = {"int": "an int of 32 bits", "long": "an int of 64 bits", "double": "a float", "bool": "a bool"}


def polished_error(match):
    operation, argument, cpp = match.groups()
    name = re.sub(r"\bconst\b|std::shared_ptr<|[>&*]", "", cpp).strip()
    wanted = WANTED.get(name)
    if wanted is None and name.startswith("lumora::") and name != "lumora::MessageScreens::MessageId":
        wanted = re.sub(r"^a (?=[AEIOU]|LMR)", "an ", "a " + name.split("::")[-1])
    owner, _, called = operation.partition("_")
    is_method = owner != "new"
    called = f"{owner}.{called}" if is_method else called
    place = int(argument) - is_method
    if place == 0:
        told = f"{called}: self"
    else:
        told = called.removesuffix("_set") if called.endswith("_set") else f"{called}: argument {place}"
    return f'"{told} has to be {wanted or "an int that is not negative"}"'


def main():
    source = pathlib.Path(sys.argv[2])
    text = re.sub(r'(?<="a "")lumora::(bindings::)?', '', source.read_text())
    text = text.replace('SWIG_ValueError, "invalid null', 'SWIG_TypeError, "invalid null')
    source.write_text(re.sub(
        r'(?:"invalid null reference " ?)?"in method \'" "(\w+)" "\', argument " "(\d+)"" of type \'" "([^"]+)""\'"',
        polished_error, text))
    file = pathlib.Path(sys.argv[1])
    text = file.read_text()
    text = re.sub(r'(r""")(.*?)(""")', polished_documentation, text, flags=re.S)
    text = re.sub(r"^( *)def ([a-z]\w*)\(([\w*, ]*)\):(.*?return _lumora\.[^\n]*)", polished_function, text,
                  flags=re.S | re.M)
    before, name, keeper = text.partition("class LumoraKeeper(")
    keeper = keeper.replace("__init__(self, *args)", "__init__(self, upload_after=60, refresh_every=21600)")
    text = before + name + keeper.replace("new_LumoraKeeper(*args)", "new_LumoraKeeper(upload_after, refresh_every)")
    # The types stand in the package's stubs.
    file.write_text("# mypy: ignore-errors\n" + text)


main()
