#!/usr/bin/env python3
"""Shows the key strings of data/termdef entries next to the system's
terminfo (infocmp), to check a terminal's entry when adding or changing it.

Usage: tools/termdef_vs_terminfo.py [NAME...]   (default: every terminal)

Terminfo describes some keys in application keypad/cursor mode (\\EOA,
\\EOH); the program never switches that mode, so those differ on purpose.
"""
import os
import re
import subprocess
import sys

TERMDEF = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "data", "termdef")
# Our key capability -> terminfo name.
KEYS = [("kl", "kcub1"), ("kr", "kcuf1"), ("ku", "kcuu1"), ("kd", "kcud1"),
        ("kb", "kbs"), ("dk", "kdch1"), ("al", "kich1"), ("bt", "kcbt"),
        ("PU", "kpp"), ("PD", "knp"), ("ho", "khome"), ("EN", "kend")] + \
       [("k%d" % (i % 10), "kf%d" % i) for i in range(1, 11)]


def entries():
    """Maps every name to (names, fields) of its entry, lines joined."""
    text = open(TERMDEF, encoding="latin-1").read().replace("\\\n", "")
    result = {}
    for line in text.splitlines():
        if not line or line.startswith("#"):
            continue
        head, _, rest = line.partition(":")
        fields = [f.strip() for f in rest.split(":") if f.strip()]
        names = head.split("|")
        for name in names[:-1] if len(names) > 1 else names:
            result[name] = fields
    return result


def resolve(all_entries, name):
    """Fields of the entry with its links followed; first occurrence wins."""
    caps, seen = {}, set()
    while name and name not in seen:
        seen.add(name)
        link = None
        for field in all_entries.get(name, []):
            m = re.match(r"([^=#@]+)([=#@]?)(.*)", field)
            key, kind, value = m.groups()
            if key == "tc":
                link = value
            elif key not in caps:
                caps[key] = None if kind == "@" else value
        name = link
    return caps


def normalise(value):
    """Writes a termcap value the way infocmp does (\\E, ^X, ^?)."""
    if value is None:
        return "-"
    value = value.replace("\\177", "^?").replace("\\E", "\x1b")
    value = value.replace("^I", "\t")
    out = ""
    for ch in value:
        if ch == "\x1b":
            out += "\\E"
        elif ord(ch) < 32:
            out += "^" + chr(ord(ch) + 64)
        else:
            out += ch
    return out


def terminfo(name):
    try:
        text = subprocess.run(["infocmp", "-1", name], capture_output=True, text=True,
                              check=True).stdout
    except (OSError, subprocess.CalledProcessError):
        return None
    caps = {}
    for line in text.splitlines():
        m = re.match(r"\t([a-z0-9]+)=(.*),$", line)
        if m:
            caps[m.group(1)] = m.group(2)
    return caps


def main():
    all_entries = entries()
    names = sys.argv[1:] or [n for n in all_entries if not n.startswith("av-")]
    for name in names:
        ours = resolve(all_entries, name)
        theirs = terminfo(name)
        print(name + ("" if theirs is not None else "  (no terminfo on this system)"))
        for cap, info in KEYS:
            mine = normalise(ours.get(cap))
            other = (theirs or {}).get(info, "-")
            mark = "" if theirs is None or mine == other else "   <- differs"
            print("  %-3s %-10s %-6s %-10s%s" % (cap, mine, info, other, mark))


if __name__ == "__main__":
    main()
