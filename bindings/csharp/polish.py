"""Makes what SWIG generates read as C#:  polish.py FOLDER XML

Questions become properties, parameters have names, what a callback throws stays in it, what was disposed of is refused,
and the documentation is that of the C++ headers as Doxygen gives it in its folder XML, and of the interface files,
without the C++.
"""
import html
import pathlib
import re
import sys
import textwrap
import xml.etree.ElementTree as ElementTree

BINDINGS = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(BINDINGS))
from names import PROPERTIES, SETTABLE, UNNAMED  # noqa: E402

CODE = ("programlisting", "verbatim", "preformatted")


def pascal(name):
    return name[:1].upper() + name[1:]


def text_of(element, operations):
    """The words of a paragraph, with C#'s names of operations, and without what is an example of C++."""
    parts = [element.text or ""]
    for child in element:
        if child.tag not in CODE:
            parts.append(text_of(child, operations))
        parts.append(child.tail or "")
    text = "".join(parts)
    if element.tag == "computeroutput" and ("::" in text or text in operations):
        return ".".join(pascal(one) for one in text.split("::"))
    return text


def paragraphs_of(element, operations):
    found = []
    for part in ("briefdescription", "detaileddescription"):
        for paragraph in element.findall(part + "/para"):
            text = " ".join(text_of(paragraph, operations).split())
            if paragraph.find(".//" + CODE[0]) is not None or paragraph.find(".//" + CODE[1]) is not None:
                text = re.sub(r":$", ".", text)
            found.append(text)
    return [one for one in found if one]


def read_documentation(folder):
    """The paragraphs for each class, and for each member by its class and name."""
    found = {}
    compounds = [one for file in folder.glob("*.xml") for one in ElementTree.parse(file).getroot().findall("compounddef")]
    operations = {one.findtext("name") for compound in compounds for one in compound.iter("memberdef")
                  if one.get("kind") == "function"}
    for compound in compounds:
        name = compound.findtext("compoundname").split("::")[-1]
        if compound.get("kind") in ("class", "struct"):
            found[name] = paragraphs_of(compound, operations)
        for member in compound.iter("memberdef"):
            found[name, pascal(member.findtext("name"))] = paragraphs_of(member, operations)
            if member.get("kind") == "enum":
                found[member.findtext("name")] = paragraphs_of(member, operations)
                for value in member.findall("enumvalue"):
                    found[member.findtext("name"), pascal(value.findtext("name"))] = paragraphs_of(value, operations)
    for file in BINDINGS.glob("*.i"):
        for block in re.finditer(r"^%extend lumora::(\w+) \{\n(.*?)^\}", file.read_text(), re.S | re.M):
            for member in re.finditer(r"((?: *///.*\n)+).*?(\w+)\(", block[2]):
                found[block[1], pascal(member[2])] = [" ".join(member[1].replace("///", "").split())]
    return found


def comment(indent, paragraphs):
    lines = []
    for tag, texts in (("summary", paragraphs[:1]), ("remarks", paragraphs[1:])):
        texts = [textwrap.fill(html.escape(one, quote=False), 110) for one in texts]
        if len(texts) > 1:
            texts = [f"<para>{one}</para>" for one in texts]
        if texts:
            lines += "\n".join([f"<{tag}>", *texts, f"</{tag}>"]).split("\n")
    return "".join(f"{indent}/// {line}\n" for line in lines)


def documented(text, documentation):
    lines, classes = [], []
    for line in text.split("\n"):
        indent = re.match(" *", line)[0]
        paragraphs = None
        if declared := re.match(r" *(?:public|internal) (?:class|enum) (\w+)", line):
            del classes[len(indent) // 2:]
            name = {"NativeOptions": "LinuxPlatformOptions", "ErrorReason": "Reason"}.get(declared[1], declared[1])
            classes.append(name)
            paragraphs = documentation.get(name)
        elif classes and (declared := re.match(r" *public [^(=]*?(\w+)(?:\(.*\))? \{$", line)):
            paragraphs = documentation.get((classes[-1], declared[1])) or documentation.get(
                (classes[-1], "Get" + declared[1]))
        elif classes and (declared := re.match(r" *([A-Z]\w*)(?: = \d+)?,?$", line)):
            paragraphs = documentation.get((classes[-1], declared[1]))
        if paragraphs:
            lines.append(comment(indent, paragraphs).rstrip("\n"))
        lines.append(line)
    return "\n".join(lines)


def with_properties(text):
    for name in PROPERTIES:
        prop = pascal(name.removeprefix("get"))
        body = r"\(([^\n]*)\) \{\n(.*?)\n  \}\n"
        setter = re.search(rf"  public void Set{prop}{body}\n", text, re.S) if name in SETTABLE else None

        def accessor(word, code):
            return f"    {word} {{\n{textwrap.indent(code, '  ')}\n    }}\n"

        def made(match):
            written = f"  public {match[1]} {prop} {{\n" + accessor("get", match[3])
            if setter:
                written += accessor("set", re.sub(rf"\b{setter[1].split()[-1]}\b", "value", setter[2]))
            return written + "  }\n"

        text = re.sub(rf"  public ([^\n(]+) {pascal(name)}{body}", made, text, flags=re.S)
        text = text.replace(setter[0], "") if setter else text
    return text


def with_names(match):
    text = match[0]
    for number, name in enumerate(UNNAMED[match[2][:1].lower() + match[2][1:]].split(", ")):
        text = re.sub(rf"\barg{number}\b", name, text)
    return text


def guarded(match):
    otherwise = "" if match[2] == "void" else f"\n    return default({match[2]});"
    return (f"{match[1]}{match[2]} SwigDirectorMethod{match[3]}({match[4]}) {{\n    try {{\n  {match[5]}\n"
            f"    }} catch (Exception exception) {{\n      Callbacks.Tell(\"{match[3]}\", exception);\n    }}"
            f"{otherwise}\n  }}")


def checked(text):
    """Objects that were disposed of reach the library no more, and those that it may still call stay."""
    text = re.sub(r"(NativePINVOKE\.(?!delete_)\w+\()swigCPtr\b", r"\1Owned.Address(swigCPtr, this)", text)
    text = text.replace(": obj.swigCPtr;", ": Owned.Address(obj.swigCPtr, obj);")
    if "SwigDirectorConnect" in text:
        text = text.replace("if (swigCPtr.Handle != global::System.IntPtr.Zero) {",
                            "if (swigCPtr.Handle != global::System.IntPtr.Zero && !Callbacks.IsKept(swigCPtr)) {")
    return text


def main():
    documentation = read_documentation(pathlib.Path(sys.argv[2]))
    unnamed = "|".join(pascal(one) for one in UNNAMED)
    for file in pathlib.Path(sys.argv[1]).glob("*.cs"):
        text = file.read_text()
        text = text.replace("namespace LumoraSdk {", "namespace LumoraSdk {\nusing System;\nusing System.Collections.Generic;")
        text = re.sub(rf"(public virtual void ({unnamed})\(.*?\n  \}})", with_names, text, flags=re.S)
        text = re.sub(r"(  private )(\w+) SwigDirectorMethod(\w+)\((.*?)\) \{\n(.*?)\n  \}", guarded, text, flags=re.S)
        text = text.replace("public delegate ", "internal delegate ")
        file.write_text(documented(with_properties(checked(text)), documentation))


main()
