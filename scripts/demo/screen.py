"""How the demo's story looks: three voices in three columns, cards for what a person sees, tables.

Each voice begins in a column of its own and may go on to the right margin, for one speaks at a time. What is too
long is cut with an ellipsis. Colours are chosen to be read on dark and on light, and left out in a file.
"""
import os
import shutil
import sys
import textwrap

APPLICATION, LIBRARY, SERVICE = range(3)
_NAMES = ("application", "library", "service")

_MANY = {"voices": ("38;5;32", "38;5;133", "38;5;64"), "trace": "38;5;244", "bad": "1;38;5;160", "strong": "1",
         "card": "38;5;166"}
_FEW = {"voices": ("36", "35", "32"), "trace": "2", "bad": "1;31", "strong": "1", "card": "33"}


def _colours():
    terminal = os.environ.get("TERM", "dumb")
    if not sys.stdout.isatty() or os.environ.get("NO_COLOR") or terminal == "dumb":
        return None
    return _MANY if "256" in terminal or os.environ.get("COLORTERM") else _FEW


_COLOURS = _colours()
sys.stdout.reconfigure(errors="replace")


def _painted(text, colour):
    return f"\x1b[{colour}m{text}\x1b[0m" if _COLOURS and colour and text else text


def _colour(name):
    return _COLOURS and _COLOURS[name]


def _voice(who):
    return _COLOURS and _COLOURS["voices"][who]


def _width():
    # One less: the last column makes some terminals begin a new line.
    return max(20, shutil.get_terminal_size((80, 24)).columns - 1)


def _column(who):
    return 2 + who * min(_width() // 5, 28)


def cut(text, width):
    """The text in at most `width` characters and without anything that would steer the terminal."""
    text = "".join(c if c.isprintable() else " " for c in text).rstrip()
    return text if len(text) <= width else text[: max(0, width - 1)] + "…"


def show(line=""):
    print(line, flush=True)


def _wrapped(text, colour, indent=""):
    for line in textwrap.wrap(text, _width(), initial_indent=indent, subsequent_indent=indent + "  "):
        show(_painted(line, colour))


def chapter(title):
    show()
    rule = "━" * min(_width(), 100)
    show(_painted(rule, _colour("strong")))
    _wrapped(title, _colour("strong"))
    show(_painted(rule, _colour("strong")))


def heads():
    """The columns' names."""
    line = ""
    for who, name in enumerate(_NAMES):
        is_last = who + 1 == len(_NAMES)
        room = (_width() if is_last else _column(who + 1) - 1) - _column(who)
        line += _painted(cut(name, room), _voice(who)) + " " * (0 if is_last else room + 1 - len(cut(name, room)))
    show("  " + line)


def step(title):
    show()
    _wrapped("▶ " + title, _colour("strong"))


def paragraph(text):
    for line in textwrap.wrap(text, min(_width(), 100)):
        show(line)


def legend(descriptions):
    """What each voice is, in its place and colour."""
    for who, text in enumerate(descriptions):
        line = " " * _column(who) + _NAMES[who] + ": "
        show(_painted(cut(line + text, _width()), _voice(who)))


def say(who, text, is_trace=False):
    """One line of one voice. Faint marks lead the eye along the columns before it."""
    before = "".join((" " * (_column(i) - (_column(i - 1) + 1 if i else 0))) + "·" for i in range(who))
    gap = " " * (_column(who) - len(before))
    colour = _colour("trace") if is_trace else _voice(who)
    show(_painted(before, _colour("trace")) + gap + _painted(cut(text, _width() - _column(who)), colour))


def card(title, rows):
    """What a person sees: rows are texts, or pairs of a text and "left", "right" or "center"."""
    inner = min(44, _width() - 6)
    place = {"left": str.ljust, "right": str.rjust, "center": str.center}
    head = cut(title, inner - 3)
    lines = ["┌─ " + head + " " + "─" * (inner - len(head) - 1) + "┐"]
    for row in rows:
        text, side = (row, "left") if isinstance(row, str) else row
        for line in textwrap.wrap(text, inner) or [""]:
            lines.append("│ " + place[side](line, inner) + " │")
    lines.append("└" + "─" * (inner + 2) + "┘")
    for line in lines:
        show("  " + _painted(line, _colour("card")))


def table(heads, rows):
    """Rows of a text, two numbers and whether they are as they should be. The text takes what room is left."""
    first = min(52, _width() - 2 - 5 - sum(len(head) + 2 for head in heads[1:]))
    numbers = [len(head) + 2 for head in heads[1:]]
    show("  " + _painted(heads[0].ljust(first) + "".join(h.rjust(n) for h, n in zip(heads[1:], numbers)),
                         _colour("strong")))
    show("  " + "─" * (first + sum(numbers) + 5))
    for text, *values, is_good in rows:
        line = cut(text, first).ljust(first) + "".join(str(v).rjust(n) for v, n in zip(values, numbers))
        mark = _painted("   ok", _voice(SERVICE)) if is_good else _painted("  BAD", _colour("bad"))
        show("  " + line + mark)


def conclude(text, is_good):
    _wrapped(text, _colour("strong") if is_good else _colour("bad"))
