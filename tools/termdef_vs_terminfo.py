#!/usr/bin/env python3
"""Holds data/termdef against the system's terminfo and fails on a mismatch.

Usage: tools/termdef_vs_terminfo.py --dump AVTERMDUMP [--termdef FILE] [NAME...]
       (default: every name in the file that terminfo knows)

What the program uses comes from avtermdump, which reads the description
through the terminal library itself; terminfo's side comes from the system's
curses. For each terminal it compares the cursor addressing (for a few
positions), the clear string, the arrow, function and editing keys, and the
class of line drawing (VT100 set, code page 437, UTF-8, none). A difference is
accepted only when DIFFERENCES below lists it with its reason. Exit status 1
on any mismatch, 0 otherwise.
"""
import json
import os
import re
import subprocess
import sys

TERMDEF = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "data", "termdef")
ESC = "\x1b"

# The dump's key name -> terminfo name.
KEYS = [("left", "kcub1"), ("right", "kcuf1"), ("up", "kcuu1"), ("down", "kcud1"),
        ("delete", "kdch1"), ("insert", "kich1"), ("backtab", "kcbt"), ("pgup", "kpp"),
        ("pgdn", "knp"), ("home", "khome"), ("end", "kend")] + \
       [("f%d" % i, "kf%d" % i) for i in range(1, 11)]
POSITIONS = [(0, 0), (4, 9), (12, 40), (23, 78)]
PIECES = ["GH", "GV", "G2", "G1", "G3", "G4", "GD", "GU", "GR", "GL", "GC"]
VT100 = "qxlkmjwvtun"  # the VT100 letters of the pieces, in PIECES order
CP437 = "\xc4\xb3\xda\xbf\xc0\xd9\xc2\xc1\xc3\xb4\xc5"
UTF8 = "".join(chr(c) for c in [0x2500, 0x2502, 0x250C, 0x2510, 0x2514, 0x2518, 0x252C,
                                0x2534, 0x251C, 0x2524, 0x253C]).encode().decode("latin-1")
# Terminals that are UTF-8 by nature and ignore the VT100 switch there.
UTF8_NATIVE = re.compile(r"^(linux|putty)([-.+].*)?$")

# Deliberate differences: (terminal pattern, capability, terminfo's value,
# ours, reason). The program never switches the keypad or cursor keys into
# their transmit (application) mode, so it carries what the keys send in the
# default mode wherever terminfo assumes that mode.
APP = "terminfo gives the keypad-transmit form; the default mode sends these"
OLD_XTERM = "an X11R5/R6-era description now run on xterm, which does this"
VT100_PF = "a VT100 has no F5-F10: terminfo names keypad keys that send digits in the \
default mode; emulators set to vt100 send these"
VT420_F = "terminfo counts the keys from F6 on as kf5 on; the keys labelled F6 to F10 \
send these, as on a VT220, and F6 must save"
DIFFERENCES = [(".*", "kcuu1", ESC + "OA", ESC + "[A", APP),
               (".*", "kcud1", ESC + "OB", ESC + "[B", APP),
               (".*", "kcuf1", ESC + "OC", ESC + "[C", APP),
               (".*", "kcub1", ESC + "OD", ESC + "[D", APP),
               (".*", "khome", ESC + "OH", ESC + "[H", APP),
               (".*", "kend", ESC + "OF", ESC + "[F", APP),
               ("st.*", "khome", ESC + "[1~", ESC + "[H", APP),
               ("st.*", "kdch1", ESC + "[3~", ESC + "[P", APP),
               ("st.*", "kich1", ESC + "[2~", ESC + "[4h", APP),
               ("xterm-r5", "khome", ESC + "[1~", ESC + "[H", OLD_XTERM),
               ("xterm-r5", "kend", ESC + "[4~", ESC + "[F", OLD_XTERM),
               ("xterm-r5", "acsc", "ascii", "vt100", OLD_XTERM)] + \
              [("xterm-(color|mono|r5|r6)", "kf%d" % i, ESC + "[1%d~" % i,
                ESC + "O" + "PQRS"[i - 1], OLD_XTERM) for i in range(1, 5)] + \
              [("vt10[02].*", "kf%d" % i, ESC + "O" + "tuvlwx"[i - 5], ESC + "[%d~" % n, VT100_PF)
               for i, n in zip(range(5, 11), [15, 17, 18, 19, 20, 21])] + \
              [("vt(4|5)[0-9]+", "kf%d" % i, ESC + "[%d~" % t, ESC + "[%d~" % n, VT420_F)
               for i, t, n in zip(range(5, 11), [17, 18, 19, 20, 21, 29],
                                  [15, 17, 18, 19, 20, 21])] + \
              [("vt52", "kf%d" % i, ESC + "?" + "tuvwx"[i - 5], None,
                "the VT52 keypad sends digits in its default mode") for i in range(5, 10)]
# Debian 12's ncurses-base: every one but dumb must have an entry of its own.
BASE = """Eterm Eterm-color ansi cons25 cons25-debian cygwin hurd linux mach mach-bold
mach-color mach-gnu mach-gnu-color pcansi rxvt rxvt-basic rxvt-m rxvt-unicode
rxvt-unicode-256color screen screen-256color screen-256color-bce screen-bce screen-s
screen-w screen.xterm-256color sun tmux tmux-256color vt100 vt102 vt220 vt52 wsvt25
wsvt25m xterm xterm-256color xterm-color xterm-debian xterm-mono xterm-r5 xterm-r6
xterm-vt220 xterm-xfree86""".split()


def names_in(path):
    """Every name of every entry in a description file (not the last, which
    describes the entry, when there are several)."""
    names = []
    for line in open(path, encoding="latin-1"):
        if line[:1] in ("", "#", " ", "\t", "\n"):
            continue
        field = line.partition(":")[0].split("|")
        names += field[:-1] if len(field) > 1 else field
    return names


def unshow(text):
    """The dump's byte notation back to bytes (in a latin-1 str)."""
    return re.sub(r"\\(E|\\|[0-7]{3})",
                  lambda m: ESC if m.group(1) == "E" else "\\" if m.group(1) == "\\"
                  else chr(int(m.group(1), 8)), text)


def ours(dump, termdef, name):
    """What the program uses on the terminal, or None without a description."""
    run = subprocess.run([dump, "-f", termdef, name], capture_output=True, text=True,
                         encoding="latin-1", env=dict(os.environ, LC_ALL="C"))
    if run.returncode != 0:
        return None
    caps = {"goto": [], "keys": {}}
    for line in run.stdout.splitlines():
        word = line.split(" ")
        if word[0] == "goto":
            caps["goto"].append(unshow(" ".join(word[3:])))
        elif word[0] in ("clear", "keypad-on"):
            caps[word[0]] = unshow(" ".join(word[1:]))
        elif word[0] == "line":
            caps[word[1]] = unshow(" ".join(word[2:]))
        elif word[0] == "key" and word[2] != "-":
            caps["keys"].setdefault(word[1], []).append(unshow(" ".join(word[4:])))
    return caps


DUMP = """
import curses, json, sys
curses.setupterm(sys.argv[1], sys.stdout.fileno())
caps = {}
for name in sys.argv[2:]:
    value = curses.tigetstr(name)
    caps[name] = None if value is None else value.decode("latin-1")
cup = curses.tigetstr("cup")
caps["cup@"] = [curses.tparm(cup, r, c).decode("latin-1") if cup else None
                for r, c in %r]
print(json.dumps(caps))
""" % (POSITIONS,)


def terminfo(name):
    """The terminal's terminfo strings (padding removed), or None if unknown."""
    names = [t for _, t in KEYS] + ["clear", "acsc", "smacs", "enacs", "smkx"]
    run = subprocess.run([sys.executable, "-c", DUMP, name] + names, capture_output=True,
                         text=True)
    if run.returncode != 0:
        return None
    caps = json.loads(run.stdout)
    unpad = lambda value: value and re.sub(r"\$<[0-9.*/]+>", "", value)
    caps = {key: [unpad(v) for v in value] if isinstance(value, list) else unpad(value)
            for key, value in caps.items()}
    return caps


def drawing_class(pieces):
    if pieces == list("-|+++++++++"):
        return "ascii"
    for cls, chars in (("vt100", VT100), ("cp437", CP437)):
        if pieces == list(chars):
            return cls
    if pieces == [UTF8[i:i + 3] for i in range(0, len(UTF8), 3)]:
        return "utf8"
    return "ascii" if None in pieces else "other"


def expected_class(name, info):
    if UTF8_NATIVE.match(name):
        return "utf8"
    acsc = info.get("acsc") or ""
    table = {acsc[i]: acsc[i + 1] for i in range(0, len(acsc) - 1, 2)}
    mapped = [table.get(c) for c in VT100]
    if None in mapped:
        return "ascii"
    if (info.get("smacs") or "").startswith(ESC + "[12m"):  # font with the high bit set
        mapped = [chr(ord(c) | 0x80) for c in mapped]
    return drawing_class(mapped)


def show(value):
    if value is None:
        return "(none)"
    return "".join("\\E" if c == ESC else "\\%03o" % ord(c) if ord(c) < 32 or ord(c) > 126
                   else c for c in value)


def allowed(name, info, cap, theirs, ours):
    """Listed in DIFFERENCES; a keypad-transmit form only where terminfo has that mode."""
    return any(re.fullmatch(pattern, name) and c == cap and t == theirs and v == ours and
               (reason != APP or info.get("smkx")) for pattern, c, t, v, reason in DIFFERENCES)


def check(name, mine, info):
    """The mismatches of one terminal, as lines of text."""
    problems = []
    if mine["goto"] != info["cup@"]:
        problems.append("cursor motion %s, terminfo %s" % ([show(m) for m in mine["goto"]],
                                                             [show(t) for t in info["cup@"]]))
    # With the cursor at home, erasing below it is erasing the whole screen.
    home_clear = lambda value: value and value.replace(ESC + "[H" + ESC + "[2J", ESC + "[H" + ESC + "[J")
    if home_clear(mine.get("clear")) != home_clear(info.get("clear")):
        problems.append("clear %s, terminfo clear %s" % (show(mine.get("clear")),
                                                         show(info["clear"])))
    for key, ti in KEYS:
        sequences, theirs = mine["keys"].get(key, []), info.get(ti)
        if theirs is None or theirs in sequences:
            continue
        if not any(allowed(name, info, ti, theirs, v) for v in sequences or [None]):
            problems.append("%s %s, terminfo %s %s" % (key, [show(v) for v in sequences], ti,
                                                       show(theirs)))
    pieces = [mine.get(p) for p in PIECES]
    have, want = drawing_class(pieces), expected_class(name, info)
    if have != want and not allowed(name, info, "acsc", want, have):
        problems.append("line drawing %s, expected %s" % (have, want))
    elif have == want == "vt100":
        smacs, enacs = info.get("smacs"), info.get("enacs") or ""
        ok = {smacs} | ({ESC + "(0"} if ESC + ")0" in enacs else set())
        if mine["GS"] not in ok:
            problems.append("GS %s, terminfo smacs %s" % (show(mine["GS"]), show(smacs)))
    return problems


def main(argv):
    path = TERMDEF
    dump = None
    while argv[:1] in (["--termdef"], ["--dump"]):
        if argv[0] == "--dump":
            dump = argv[1]
        else:
            path = argv[1]
        argv = argv[2:]
    if dump is None:
        print("usage: termdef_vs_terminfo.py --dump AVTERMDUMP [--termdef FILE] [NAME...]")
        return 2
    names = argv or [n for n in names_in(path) if not n.startswith("av-")]
    failed = checked = 0
    for name in BASE:
        if ours(dump, path, name) is None:
            print("%s: no entry" % name)
            failed += 1
    for name in names:
        info = terminfo(name)
        if info is None:
            continue
        mine = ours(dump, path, name)
        if mine is None:
            print("%s: no entry" % name)
            failed += 1
            continue
        checked += 1
        problems = check(name, mine, info)
        for problem in problems:
            print("%s: %s" % (name, problem))
        failed += bool(problems)
    print("%d of %d terminals known to terminfo differ" % (failed, checked))
    return 1 if failed or not checked else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
