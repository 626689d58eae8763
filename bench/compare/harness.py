"""Cameras and clients as pinned processes, and what was measured with them."""

import contextlib
import json
import os
import pathlib
import signal
import statistics
import subprocess
import tempfile
import time

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
BIN = REPOSITORY / "build/bench/bin"
CLIENT_CPU = 0
DEVICE_CPU = 1 if (os.cpu_count() or 1) > 1 else 0


def pinned(command, cpu):
    return ["taskset", "--cpu-list", str(cpu), *[str(word) for word in command]]


def run(command, cpu=CLIENT_CPU, timeout=600, check=True):
    """Runs a program on a CPU; its standard output."""
    done = subprocess.run(pinned(command, cpu), capture_output=True, text=True, timeout=timeout)
    if check and done.returncode != 0:
        raise RuntimeError(f"{' '.join(map(str, command))}: {done.returncode}: {done.stderr.strip()}")
    return done.stdout


def measure(command, cpu=CLIENT_CPU, timeout=600):
    """Runs a program under bench-measure: its wall and CPU seconds and peak memory."""
    out = run([BIN / "bench-measure", *command], cpu, timeout)
    return json.loads(out.splitlines()[-1])


@contextlib.contextmanager
def busy(cpu=CLIENT_CPU):
    """Another program that never waits runs on a CPU until the block ends."""
    program = subprocess.Popen(pinned(["sh", "-c", "while :; do :; done"], cpu))
    try:
        yield
    finally:
        program.kill()
        program.wait()


class Camera:
    """A simulated camera, pinned, until the block ends."""

    def __init__(self, *options, cpu=DEVICE_CPU, prefix=()):
        self.folder = tempfile.TemporaryDirectory(prefix="camera-")
        self.events_file = pathlib.Path(self.folder.name) / "events"
        self.ready = pathlib.Path(self.folder.name) / "ready"
        words = [*prefix, BIN / "mirsko-simulator", "--ready-file", self.ready,
                 "--events", self.events_file, *options]
        if "--state" not in words:
            words += ["--state", pathlib.Path(self.folder.name) / "state"]
        self.process = subprocess.Popen(pinned(words, cpu))

    def __enter__(self):
        while not self.ready.exists():
            if self.process.poll() is not None:
                raise RuntimeError("the simulated camera does not start")
            time.sleep(0.01)
        return self

    def __exit__(self, *ignored):
        self.process.send_signal(signal.SIGTERM)
        self.process.wait(30)
        self.folder.cleanup()

    def events(self, name=None):
        lines = [json.loads(line) for line in self.events_file.read_text().splitlines()]
        return [line for line in lines if name is None or line["event"] == name]


_payloads = {}
_HEADER = 64


def payload(size):
    """A payload of so many bytes, header included, for the simulated camera."""
    if size not in _payloads:
        folder = pathlib.Path(tempfile.gettempdir())
        body, path = folder / f"body-{size}", folder / f"payload-{size}.dfw"
        with open(body, "wb") as file:
            for begin in range(0, size - _HEADER, 1 << 20):
                file.write(os.urandom(min(1 << 20, size - _HEADER - begin)))
        run([BIN / "mirsko-package", "payload", "--family", "MirskoSim", "--version", "2.1", body, path])
        body.unlink()
        _payloads[size] = path
    return _payloads[size]


def median(numbers):
    return statistics.median(numbers)


def alternate(rounds, contestants):
    """Calls each contestant once a round. @return the lists of what each returned."""
    found = {name: [] for name in contestants}
    for _ in range(rounds):
        for name, work in contestants.items():
            found[name].append(work())
    return found


def aim(text, value, limit, most=True):
    """One aim: a figure that has to be at most, or at least, a limit."""
    value = round(value, 3)
    return {"text": text, "value": value, "limit": limit, "most": most,
            "met": value <= limit if most else value >= limit}


def machine():
    model = "unknown CPU"
    for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            model = line.split(":", 1)[1].strip()
            break
    system = os.uname()
    return {"cpu": model, "cpus": os.cpu_count(), "kernel": f"{system.sysname} {system.release.split('-')[0]}",
            "date": time.strftime("%Y-%m-%d %H:%M UTC", time.gmtime()),
            "load": os.getloadavg()[0]}
