"""Runs the program in terminal sessions: names lose their control characters there, and a long job has its line.

usage: terminal_end_to_end.py PROGRAM FIXTURES
"""
import fcntl
import os
import pathlib
import pty
import re
import resource
import select
import signal
import struct
import subprocess
import sys
import tempfile
import termios
import time

PROGRAM, FIXTURES = sys.argv[1], pathlib.Path(sys.argv[2])
SIGNING = ["-sign", "-key", FIXTURES / "signer.key", "-cert", FIXTURES / "valid.pem"]
temporary = tempfile.TemporaryDirectory()
folder = pathlib.Path(temporary.name)


def expect(what, got, wanted):
    if got != wanted:
        sys.exit(f"{what}: got {got!r}, wanted {wanted!r}")


def run(*arguments, terminals="", columns=80, term="xterm", stall=0.0, background=False, limit=None):
    """Returns what came to standard output and error; `terminals` names those that are terminals, "out err".

    Nothing is read for `stall` seconds.
    """
    ends = {}
    for name in ("out", "err"):
        ends[name] = pty.openpty() if name in terminals.split() else os.pipe()
        if name in terminals.split():
            fcntl.ioctl(ends[name][1], termios.TIOCSWINSZ, struct.pack("HHHH", 25, columns, 0, 0))
        else:
            os.set_inheritable(ends[name][1], True)

    def prepare():
        os.setsid()
        for name in terminals.split()[-1:]:
            fcntl.ioctl(ends[name][1], termios.TIOCSCTTY, 0)
        if background:
            other = os.fork()
            if not other:  # Has the terminal until the end of the session.
                os.closerange(0, 1024)
                signal.pause()
            os.setpgid(other, other)
            os.tcsetpgrp(ends["err"][1], other)
        if limit is not None:
            resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))

    process = subprocess.Popen([PROGRAM, *map(str, arguments)], stdin=subprocess.DEVNULL, stdout=ends["out"][1],
                               stderr=ends["err"][1], cwd=folder, preexec_fn=prepare, env={**os.environ, "TERM": term})
    for _, end in ends.values():
        os.close(end)
    time.sleep(stall)
    texts = {name: b"" for name in ends}
    left = {end[0]: name for name, end in ends.items()}
    while left:
        for end in select.select(list(left), [], [])[0]:
            try:
                got = os.read(end, 4096)
            except OSError:  # The other end of a terminal is closed.
                got = b""
            texts[left[end]] += got
            if not got:
                os.close(end)
                del left[end]
    expect(arguments, process.wait(), 0)
    return texts["out"].decode(), texts["err"].decode()


def screen(text):
    """The rows that a terminal shows in the end, without blanks at their ends."""
    rows = [""]
    for part in re.split("(\r\n|\r)", text):
        if part == "\r\n":
            rows.append("")
        elif part == "\r":
            column = 0
            continue
        else:
            column = 0 if not rows[-1] else column
            rows[-1] = rows[-1][:column] + part + rows[-1][column + len(part):]
            column += len(part)
    return [row.rstrip() for row in rows]


def drawn(text):
    return [part.rstrip() for part in re.split("[\r\n]", text) if re.match(r"(Fl|Unfl|Sign|Verif)\w*ing\b", part)]


# Names, on each stream by what it is.
NAMES = {"a\nb\x1b[2J": "a?b?[2J", "tab\there": "tab?here", "\x9b1m\u202e\x7f": "?1m??", "n\u00e4 \U0001f600": "n\u00e4 \U0001f600"}
contents = folder / "X.widget" / "Contents"
(contents / "in").mkdir(parents=True)
(contents / "main.wob").write_text("<widget/>")
for name in NAMES:
    (contents / name).write_text("")
    (contents / "in" / name).mkdir()
    os.mkfifo(contents / "in" / name / name)
odd = folder / "a\nb\x1b[2J"
odd.write_text("signed")
run("-flat", "X.widget", "-o", "./archive")
for command, options in [
    ([], {}),
    (["-x\there", "-v", "-list", "archive"], {}),
    (["-v", "-unflat", "archive", "-o", "./back"], {}),
    (["-v", "-flat", "X.widget", "-o", "./archive"], {}),
    (["-unflat", "archive", "-o", odd / "x"], {}),
    (["-verify", odd], {}),
    ([*SIGNING, odd], {"limit": 0}),
]:
    plain = run(*command, **options)
    shown = list(plain)
    for name, visible in [*NAMES.items(), ("-x\there", "-x?here")]:
        shown = [text.replace(name, visible) for text in shown]
    shown = [text.replace("\n", "\r\n") for text in shown]
    for terminals in ("out", "err", "out err"):
        wanted = tuple(shown[i] if name in terminals else plain[i] for i, name in enumerate(("out", "err")))
        expect((command, terminals), run(*command, terminals=terminals, **options), wanted)

# A line while the job is held up by whoever reads its messages, and none that anybody else would see.
contents = folder / "Y.widget" / "Contents"
for number in range(700):
    (contents / str(number)).mkdir(parents=True)
    (contents / str(number) / ("n" * 200)).write_text("content" * 10)
    (contents / str(number) / ("z" * 200)).symlink_to("nowhere")
(contents / "main.wob").write_text("<widget/>")
flat, unflat = ["-flat", "Y.widget", "-o", "./archive"], ["-v", "-unflat", "archive", "-o", "./back"]
plain_flat, plain_unflat = run(*flat), run(*unflat)
LINES = {"flat": r"Flattening: \d+ of \d+ files, \d+(\.\d)? k?B/s", "unflat": r"Unflattening: \d+%, \d+(\.\d)? k?B/s, \d+:\d\d left"}
for command, plain, line in ((flat, plain_flat, LINES["flat"]), (unflat, plain_unflat, LINES["unflat"])):
    out, err = run(*command, terminals="err", stall=1.5)
    expect((command, out), out == plain[0], True)
    expect((command, drawn(err)), bool(drawn(err)) and all(re.fullmatch(line, text) for text in drawn(err)), True)
    expect(command, screen(err), plain[1].split("\n"))
    for options in ({"terminals": "out"}, {"terminals": "err", "background": True}):
        out, err = run(*command, stall=1.5, **options)
        expect((command, options), (out.replace("\r", ""), err.replace("\r", "")), plain)
out, err = run(*unflat, terminals="err", stall=1.5, columns=20, term="dumb")
expect((drawn(err), "20 columns"), all(re.fullmatch(r"Unflattening: \d+%", text) for text in drawn(err)), True)
expect("the longest line", max(map(len, re.split("[\r\n]", err))) <= 19 and "\x1b" not in err, True)

# Signing and verifying a file that is large enough for some lines.
large = folder / "large"
size, err = 1 << 27, ""
while len(drawn(err)) < 6 and size < (1 << 32) - 8192:
    size = min(size * 2, (1 << 32) - 8192)
    large.write_bytes(b"")
    os.truncate(large, size)
    begin = time.monotonic()
    err = run(*SIGNING, large, terminals="err")[1]
    seconds = time.monotonic() - begin
line = r"(\w+): (\d+)%, \d+\.\d [kMG]B/s, 0:\d\d left"
shares = [int(re.fullmatch(line, text)[2]) for text in drawn(err)]
expect("shares of signing", (len(shares) > 3, len(shares) <= 10 * seconds, shares), (True, True, sorted(shares)))
expect("the screen", screen(err), [""])
out, err = run("-verify", large, terminals="out")
expect("the other terminal", (out[:12], err), ("File signatu", ""))
