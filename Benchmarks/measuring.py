"""What the measurements of whole programs share: an X server and a session bus of their own, a relay that notes
what passes between programs and the X server, and processes."""

import contextlib
import os
import pathlib
import select
import shutil
import signal
import socket
import struct
import subprocess
import sys
import threading
import time

HERE = pathlib.Path(__file__).resolve().parent


def built(arguments):
    """The build folder, built anew when it is not given."""
    if arguments.build:
        return arguments.build.resolve()
    for command in (["cmake", "--preset", "benchmarks"], ["cmake", "--build", "--preset", "benchmarks"]):
        subprocess.run(command, cwd=HERE.parent, check=True, stdout=sys.stderr)
    return HERE.parent / "build" / "benchmarks"


def environment(folder):
    """The current one, with every place for the user's files in the folder."""
    result = dict(os.environ)
    for variable, name in (("HOME", "home"), ("XDG_CONFIG_HOME", "config"), ("XDG_RUNTIME_DIR", "runtime"),
                           ("XDG_CACHE_HOME", "cache"), ("XDG_STATE_HOME", "state")):
        path = folder / name
        path.mkdir(mode=0o700, parents=True, exist_ok=True)
        result[variable] = str(path)
    return result


# Processes, as /proc shows them


def alive(process):
    try:
        return proc(process, "stat").rsplit(")", 1)[1].split()[0] != "Z"
    except OSError:
        return False


def proc(process, name):
    return pathlib.Path(f"/proc/{process}/{name}").read_text(encoding="utf-8", errors="replace")


def family(process):
    """The process and all its descendants."""
    parents = {}
    for entry in pathlib.Path("/proc").iterdir():
        if entry.name.isdigit():
            with contextlib.suppress(OSError):
                parents[int(entry.name)] = int(proc(entry.name, "stat").rsplit(")", 1)[1].split()[1])
    members = [process]
    for member in members:
        members += [child for child, parent in parents.items() if parent == member]
    return [member for member in members if alive(member)]


def end(process, how=signal.SIGTERM, patience=8.0):
    """Ends the process and whoever it has started, kindly at first."""
    members = family(process)
    with contextlib.suppress(ProcessLookupError):
        os.kill(process, how)
    if wait_until(lambda: not any(map(alive, members)), patience):
        return
    for member in members:
        with contextlib.suppress(ProcessLookupError):
            os.kill(member, signal.SIGKILL)
    wait_until(lambda: not any(map(alive, members)), 2.0)


def wait_until(condition, seconds):
    deadline = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > deadline:
            return False
        time.sleep(0.002)
    return True


@contextlib.contextmanager
def x_server():
    read, write = os.pipe()
    process = subprocess.Popen(
        ["Xvfb", "-displayfd", str(write), "-screen", "0", "1280x720x24", "-noreset", "-nolisten", "tcp"],
        pass_fds=[write], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    os.close(write)
    try:
        with os.fdopen(read) as pipe:
            number = pipe.readline().strip()
        if not number:
            sys.exit("Xvfb does not start")
        yield number
    finally:
        process.terminate()
        process.wait()


@contextlib.contextmanager
def session_bus(wanted):
    os.environ.pop("DBUS_SESSION_BUS_ADDRESS", None)
    if not wanted or not shutil.which("dbus-daemon"):
        yield
        return
    process = subprocess.Popen(["dbus-daemon", "--session", "--nofork", "--print-address=1"],
                               stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    try:
        os.environ["DBUS_SESSION_BUS_ADDRESS"] = process.stdout.readline().strip()
        yield
    finally:
        process.terminate()
        process.wait()


class Relay:
    """Stands between clients and the X server on a display of its own, and notes what passes."""

    SET_GAMMA = "set gamma"
    GRAB_KEY = "grab key"
    KEY_RELEASE = "key release "  # and the key code
    GRAB_KEY_OPCODE = 33
    SET_GAMMA_MINOR = 24  # of RandR
    SET_GAMMA_BYTES = 12 + 3 * 2 * 256

    def __init__(self, server_number):
        self.server = f"/tmp/.X11-unix/X{server_number}"
        self.number = next(n for n in range(150, 400) if not os.path.exists(f"/tmp/.X11-unix/X{n}")
                           and not os.path.exists(f"/tmp/.X{n}-lock"))
        self.path = f"/tmp/.X11-unix/X{self.number}"
        self.events = []  # (when it came here, before it went on, in seconds; "request", "reply" or as above)
        self.listener = socket.socket(socket.AF_UNIX)
        self.listener.bind(self.path)
        self.listener.listen()
        self.thread = threading.Thread(target=self._serve, daemon=True)
        self.thread.start()

    def close(self):
        with contextlib.suppress(OSError):
            self.listener.shutdown(socket.SHUT_RDWR)
        self.listener.close()
        os.unlink(self.path)

    def _serve(self):
        with contextlib.suppress(OSError):
            while True:
                client, _ = self.listener.accept()
                threading.Thread(target=self._relay, args=(client,), daemon=True).start()

    def _relay(self, client):
        server = socket.socket(socket.AF_UNIX)
        server.connect(self.server)
        readers = {client: (server, self._requests()), server: (client, self._answers())}
        for _, reader in readers.values():
            next(reader)
        with contextlib.suppress(OSError):
            while True:
                for source in select.select(list(readers), [], [])[0]:
                    data = source.recv(1 << 16)
                    if not data:
                        return
                    moment = time.monotonic()
                    target, reader = readers[source]
                    target.sendall(data)
                    reader.send((data, moment))

    def _requests(self):
        """Takes the bytes of a client as they come."""
        stream = Stream()
        name, value = struct.unpack("<6xHH2x", (yield from stream.take(12)))
        yield from stream.take(padded(name) + padded(value))
        while True:
            opcode, minor, length = struct.unpack("<BBH", (yield from stream.take(4)))
            header = 4
            if length == 0:
                (length,) = struct.unpack("<I", (yield from stream.take(4)))
                header = 8
            yield from stream.take(4 * length - header)
            is_table = minor == self.SET_GAMMA_MINOR and 4 * length == self.SET_GAMMA_BYTES
            kind = self.SET_GAMMA if is_table else self.GRAB_KEY if opcode == self.GRAB_KEY_OPCODE else "request"
            self.events.append((stream.moment, kind))

    def _answers(self):
        """Takes the bytes of the server as they come."""
        stream = Stream()
        (length,) = struct.unpack("<6xH", (yield from stream.take(8)))
        yield from stream.take(4 * length)
        while True:
            kind, detail, length = struct.unpack("<BB2xI24x", (yield from stream.take(32)))
            if kind in (1, 35):  # a reply, or a long event
                yield from stream.take(4 * length)
            if kind in (1, 3):
                self.events.append((stream.moment, "reply" if kind == 1 else f"{self.KEY_RELEASE}{detail}"))


class Stream:
    """Cuts bytes that are sent to a generator in any portions into pieces of wanted lengths."""

    def __init__(self):
        self.buffer = b""
        self.moment = 0.0  # when the last portion came

    def take(self, count):
        while len(self.buffer) < count:
            portion, self.moment = yield
            self.buffer += portion
        piece, self.buffer = self.buffer[:count], self.buffer[count:]
        return piece


def padded(count):
    return (count + 3) // 4 * 4
