"""Makes what SWIG generates read as Java:  polish.py FOLDER

Constants of enumerations are written as Java writes them, questions begin with "is", parameters have names, and the
documentation, which is that of the C++ headers, leaves out the C++.
"""
import pathlib
import re
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))
from names import UNNAMED  # noqa: E402


def polished_documentation(match):
    indent = match[1]
    lines = [re.sub(r"(<br>)?$", "", line.strip()[1:]) for line in match[2].strip("\n").split("\n")]
    paragraphs = [one for one in "\n".join(lines).split("\n \n") if one.strip()]
    # A paragraph further in is an example of C++, which a colon announces.
    kept = [one for one in paragraphs if not one.lstrip("\n").startswith("      ")]
    texts = [re.sub(r"^ +", "", one, flags=re.M).strip() for one in kept]
    if len(kept) < len(paragraphs):
        texts = [re.sub(r":$", ".", one) for one in texts]
    text = "\n\n<p>".join(texts)
    text = re.sub(r"`([\w:.]+)`", lambda span: "{@code " + span[1].replace("::", ".") + "}", text)
    text = re.sub(r"`([^`]*)`", r"{@code \1}", text)
    return "\n".join([f"{indent}/**", *(f"{indent} * {line}".rstrip() for line in text.split("\n")), f"{indent} */\n"])


def polished_enumeration(match):
    def constant(name):
        return name[1] + re.sub(r"(?<=[a-z])(?=[A-Z])", "_", name[2]).upper() + name[3]

    return match[1] + re.sub(r"^( +)(\w+)([,;])$", constant, match[2], flags=re.M) + match[3]


def polished_parameters(match):
    text = match[0]
    for number, name in enumerate(UNNAMED[match[1]].split(", ")):
        text = re.sub(rf"\barg{number}\b", name, text)
    return text


for file in pathlib.Path(sys.argv[1]).glob("*.java"):
    text = file.read_text()
    text = re.sub(r"^( *)/\*\*\n(.*?)\*/\n", polished_documentation, text, flags=re.S | re.M)
    text = re.sub(r"(enum \w+ \{)(.*?;)(\n)", polished_enumeration, text, flags=re.S)
    text = re.sub(rf" ({'|'.join(UNNAMED)})\(.*?\n  \}}", polished_parameters, text, flags=re.S)
    text = re.sub(r"\bgetIs([A-Z]\w*\(\))", r"is\1", text)
    text = re.sub(r"public (synchronized void delete\(\))", r"\1", text)
    text = re.sub(r"public (void swig\w+\()", r"\1", text)
    file.write_text(text)
