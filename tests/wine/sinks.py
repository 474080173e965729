"""What tests/wine/show-sinks, tests/wine/record-sinks and tests/wine/trace-sinks share: the Wine prefix with the registered filter, the host
program, and the log of the filter."""
import os
import struct
import subprocess
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
BIN = os.path.join(ROOT, "out/build/mingw/bin")
TOOL = os.path.join(BIN, "qxstill.exe")
OUT = os.path.join(ROOT, "out/sinks")
LOG = os.path.join(OUT, "filter.log")


def windows(path):
    return "Z:" + os.path.abspath(path).replace("/", "\\")


ENVIRONMENT = dict(os.environ, WINEPREFIX=os.path.join(ROOT, "out/wine-sinks"), WINEDEBUG="-all", LC_ALL="C.UTF-8",
                   WINEDLLOVERRIDES="mscoree,mshtml=d;winemenubuilder.exe,winedbg.exe=d", QXLOG_FILE=windows(LOG))


def run(*command, **options):
    return subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, env=ENVIRONMENT, **options)


def qxstill(*arguments):
    """What the host program prints; its error line if it fails."""
    done = run("wine", TOOL, *arguments, timeout=300)
    return done.returncode, (done.stdout if done.returncode == 0 else done.stderr).decode().strip()


def prepare():
    """A prefix with the filter registered and its log switched on."""
    if not os.path.exists(TOOL):
        sys.exit("out/build/mingw has no qxstill.exe: ./test builds it")
    os.makedirs(OUT, exist_ok=True)
    subprocess.run([os.path.join(ROOT, "scripts/wine-prefix")], env=ENVIRONMENT, check=True)
    if run("wine", "regsvr32", "/s", windows(os.path.join(BIN, "QXStillSource.dll"))).returncode != 0:
        sys.exit("the filter could not be registered")
    code, text = qxstill("log", "on")
    if code != 0:
        sys.exit("the log could not be switched on: " + text)


def finish():
    subprocess.run(["wineserver", "-k"], env=ENVIRONMENT, stdin=subprocess.DEVNULL)


def start_screen():
    """A virtual screen of 1024 by 768 on a display of its own."""
    read, write = os.pipe()
    screen = subprocess.Popen(["Xvfb", "-displayfd", str(write), "-screen", "0", "1024x768x24"], pass_fds=[write],
                              stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    os.close(write)
    with os.fdopen(read) as pipe:
        number = pipe.readline().strip()
    if not number:
        sys.exit("Xvfb does not start")
    ENVIRONMENT["DISPLAY"] = ":" + number
    return screen


def clear_log():
    if os.path.exists(LOG):
        os.remove(LOG)


def log_lines(text):
    """How many lines of the filter's log have that text."""
    with open(LOG, encoding="utf-8", errors="replace") as file:
        return sum(text in line for line in file)


def write_tga(path, width, height, colour):
    """A picture of 24 bits; colour(x, y) gives red, green and blue, from the top left."""
    rows = bytearray()
    for y in range(height):
        for x in range(width):
            rows += bytes(reversed(colour(x, y)))
    with open(path, "wb") as file:
        file.write(struct.pack("<3B5x4H2B", 0, 0, 2, 0, 0, width, height, 24, 0x20) + rows)
