#!/usr/bin/env python3
"""Runs the program on every terminal type the system's terminfo lists.

Usage: tools/every_terminal.py [--termcap-text] [--jobs N] PROGRAM PRODUCT_ROOT [TYPE...]
       (default: every type `toe -a` lists)

--termcap-text gives each type its `infocmp -C` entry, with FS#1 added, in
a file named by AVTERMCAP, which tries the standard termcap dialect instead
of the compiled database.

Not part of make test: it takes minutes. PROGRAM runs as root in a
pseudo-terminal with TERM set to each type and no other terminal variable,
so the search is the program's own: PRODUCT_ROOT/termdef (copied from
data/termdef when missing), the system's termcap files, then terminfo. For
each type it records whether the program starts and draws the main menu,
whether the highlight moves when the type's own kcud1 bytes are typed (the
item below is redrawn), and the cause of every refusal. Prints one
line per type and the counts at the end.
"""
import collections
import multiprocessing
import os
import pty
import select
import shutil
import signal
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
# Words of the main menu: the first drawing sends each word with its own
# cursor motion, a highlighted item in one run.
MENU = [b"Ardovane", b"Available", b"Environment", b"Exit"]
SECOND_ITEM = b"Available UNIX Commands"


def read_quiet(fd, quiet=0.4, limit=8.0):
    """Output until none comes for quiet seconds (or limit passes)."""
    out = b""
    end = time.time() + limit
    while time.time() < end:
        ready, _, _ = select.select([fd], [], [], quiet)
        if not ready:
            break
        try:
            chunk = os.read(fd, 65536)
        except OSError:
            break
        if not chunk:
            break
        out += chunk
    return out


def tput(term, *cap):
    run = subprocess.run(["tput", "-T", term] + list(cap), capture_output=True)
    return run.stdout if run.returncode == 0 else None


def run_one(program, term, termcap_text=False):
    down = tput(term, "kcud1")
    path = None
    env = {"PATH": "/usr/bin:/bin", "HOME": "/root", "TERM": term, "LANG": "C"}
    if termcap_text:
        text = subprocess.run(["infocmp", "-C", "-r", term], capture_output=True,
                              encoding="latin-1").stdout
        lines = [line for line in text.splitlines() if not line.startswith("#")]
        if lines:
            # The standard numbering of the function keys (k1 is F1).
            lines[0] = lines[0].replace(":", ":FS#1:", 1)
        handle, path = tempfile.mkstemp(prefix="every_terminal.")
        with os.fdopen(handle, "w", encoding="latin-1") as f:
            f.write("".join(line + "\n" for line in lines))
        env["AVTERMCAP"] = path
    pid, fd = pty.fork()
    if pid == 0:
        os.execve(program, [program], env)
    try:
        first = read_quiet(fd)
        status = None
        finished, raw = os.waitpid(pid, os.WNOHANG)
        if finished:
            status = os.waitstatus_to_exitcode(raw)
        if status is not None or not all(word in first for word in MENU):
            text = first.decode("latin-1").replace("\r", "").replace("\a", "").strip()
            if b"('cm' error)" in first:
                return "refused", "no cursor addressing the template can express"
            text = text.splitlines()[0] if text else "no output, status %s" % status
            return "refused", text.replace(term, "TYPE")
        if b"('cm' error)" in first:
            result = ("drawn-no-cm", "menu text drawn without cursor addressing")
        elif down is None or down == b"":
            result = ("drawn", "no kcud1 declared")
        else:
            os.write(fd, down)
            after = read_quiet(fd)
            # The item below redrawn highlighted. (No test for a bell: some
            # attribute strings hold BEL, vi500's normal one for example.)
            if SECOND_ITEM in after:
                result = ("moves", "")
            else:
                result = ("drawn", "kcud1 did not move the highlight: %r" % down)
        os.write(fd, b"x")
        read_quiet(fd, 0.3, 3.0)
        return result
    finally:
        try:
            os.kill(pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        try:
            os.waitpid(pid, 0)
        except ChildProcessError:
            pass
        if path:
            os.unlink(path)
        os.close(fd)


def main(argv):
    if len(argv) < 2:
        print(__doc__)
        return 2
    termcap_text, jobs = False, 1
    while argv[:1] in (["--termcap-text"], ["--jobs"]):
        if argv[0] == "--jobs":
            jobs, argv = int(argv[1]), argv[2:]
        else:
            termcap_text, argv = True, argv[1:]
    program, root, types = os.path.abspath(argv[0]), argv[1], argv[2:]
    if os.path.exists("/etc/termcap"):
        print("note: /etc/termcap exists and is searched before terminfo")
    if not os.path.exists(os.path.join(root, "termdef")):
        os.makedirs(root, exist_ok=True)
        shutil.copy(os.path.join(HERE, "..", "data", "termdef"), os.path.join(root, "termdef"))
    if not types:
        toe = subprocess.run(["toe", "-a"], capture_output=True, text=True).stdout
        types = sorted({line.split()[0] for line in toe.splitlines() if line.strip()})
    counts = collections.Counter()
    causes = collections.Counter()
    # Each run waits on the terminal most of its time: several at once.
    with multiprocessing.Pool(jobs) as pool:
        results = pool.starmap(run_one, [(program, t, termcap_text) for t in types])
    for term, (kind, why) in zip(types, results):
        counts[kind] += 1
        if why:
            causes[(kind, why.split(": b")[0])] += 1
        print("%-32s %-12s %s" % (term, kind, why), flush=True)
    print()
    print("%d types: %s" % (len(types), ", ".join("%s %d" % kv for kv in sorted(counts.items()))))
    for (kind, why), n in causes.most_common():
        print("%5d %-12s %s" % (n, kind, why))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
