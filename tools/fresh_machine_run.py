#!/usr/bin/env python3
"""Runs "make run" (the command given) on a 24 by 80 pseudo-terminal, waits
for the main menu, presses X and expects the program to end with status 0.

    fresh_machine_run.py COMMAND [ARG...]

Everything the terminal shows is copied to standard output (the log).
Exit status 0 when the menu appeared and X ended the run with status 0.
"""
import fcntl
import os
import pty
import re
import select
import struct
import sys
import termios
import time

# The build comes first, and the machine may be busy.
MENU_TIMEOUT = 3600
EXIT_TIMEOUT = 60
# The menu's last item. The refresh skips cells that are already blank, so
# words arrive separated by cursor motions rather than spaces: compare with
# escape sequences and white space taken out.
MENU_MARK = b"X-ExitConfigurationProgram"
ESCAPES = re.compile(rb"\x1b(\[[0-?]*[ -/]*[@-~]|[()][0-9A-Za-z]|[^\[()])")


def flat(screen):
    return re.sub(rb"\s+", b"", ESCAPES.sub(b"", screen))


def main():
    if len(sys.argv) < 2:
        print(__doc__, file=sys.stderr)
        return 2
    pid, fd = pty.fork()
    if pid == 0:
        try:
            os.execvp(sys.argv[1], sys.argv[1:])
        finally:
            os._exit(127)
    fcntl.ioctl(fd, termios.TIOCSWINSZ, struct.pack("HHHH", 24, 80, 0, 0))

    seen = b""
    pressed = None
    start = time.monotonic()
    status = None
    while status is None:
        now = time.monotonic()
        if pressed is None and now - start > MENU_TIMEOUT:
            print("\nfresh_machine: no main menu within %d s" % MENU_TIMEOUT, flush=True)
            break
        if pressed is not None and now - pressed > EXIT_TIMEOUT:
            print("\nfresh_machine: X did not end the program", flush=True)
            break
        ready, _, _ = select.select([fd], [], [], 0.5)
        if ready:
            try:
                data = os.read(fd, 65536)
            except OSError:  # the child is gone and the terminal closed
                data = b""
            if data:
                sys.stdout.buffer.write(data)
                sys.stdout.flush()
                seen += data
                if pressed is None and MENU_MARK in flat(seen[-65536:]):
                    time.sleep(0.5)  # let the menu settle into its key loop
                    os.write(fd, b"X")
                    pressed = time.monotonic()
        done, wstatus = os.waitpid(pid, os.WNOHANG)
        if done:
            status = os.waitstatus_to_exitcode(wstatus)
    if status is None:
        os.kill(pid, 9)
        os.waitpid(pid, 0)
        return 1
    if pressed is None:
        print("\nfresh_machine: the program ended (status %d) without a main menu" % status,
              flush=True)
        return 1
    print("\nfresh_machine: the program ended with status %d" % status, flush=True)
    return 0 if status == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
