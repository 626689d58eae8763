"""What programs sent over the loopback interface, by the clock that bench-measure uses."""

import pathlib
import struct
import subprocess
import tempfile
import time
from dataclasses import dataclass

GVCP_PORT = 3956
TFTP_PORT = 69
DISCOVERY = 0x02
WRITE_MEMORY = 0x86
BUFFER = 0x1000000  # of the simulated camera's files
_LINK, _IP, _UDP = 14, 20, 8


@dataclass
class Packet:
    time: float
    source: int
    target: int
    data: bytes  # its beginning

    def is_command(self):
        return self.target == GVCP_PORT and self.data[:1] == b"\x42" and self.code() != DISCOVERY

    def is_discovery(self):
        return self.target == GVCP_PORT and self.data[:1] == b"\x42" and self.code() == DISCOVERY

    def code(self):
        return int.from_bytes(self.data[2:4], "big")

    def is_payload(self):
        """Whether it brings bytes into the camera's buffer, or is a TFTP DATA to a server."""
        if self.is_command():
            return self.code() == WRITE_MEMORY and int.from_bytes(self.data[8:12], "big") >= BUFFER
        return GVCP_PORT not in (self.source, self.target) and self.data[:2] == b"\x00\x03"


class Capture:
    def __init__(self):
        self.folder = tempfile.TemporaryDirectory(prefix="capture-")
        self.file = pathlib.Path(self.folder.name) / "packets"
        self.process = None

    def __enter__(self):
        self.process = subprocess.Popen(
            ["dumpcap", "-q", "-P", "-i", "lo", "-f", "udp", "-s", "64", "-B", "64", "-w", self.file],
            stderr=subprocess.PIPE, text=True)
        while not self.process.stderr.readline().startswith("File:"):
            if self.process.poll() is not None:
                raise RuntimeError("dumpcap does not start")
        return self

    def __exit__(self, *ignored):
        time.sleep(0.3)  # what is still in the kernel's buffer
        self.process.terminate()
        self.process.communicate(timeout=30)

    def packets(self):
        """All of them, after the capture has ended."""
        found = []
        bytes_ = self.file.read_bytes()
        order = "<" if bytes_[:4] in (b"\xd4\xc3\xb2\xa1", b"\x4d\x3c\xb2\xa1") else ">"
        fraction = 1e-9 if bytes_[:4] in (b"\x4d\x3c\xb2\xa1", b"\xa1\xb2\x3c\x4d") else 1e-6
        at = 24
        while at + 16 <= len(bytes_):
            seconds, part, length, _ = struct.unpack_from(order + "IIII", bytes_, at)
            frame = bytes_[at + 16:at + 16 + length]
            at += 16 + length
            source, target = struct.unpack_from(">HH", frame, _LINK + _IP)
            found.append(Packet(seconds + part * fraction, source, target, frame[_LINK + _IP + _UDP:]))
        self.folder.cleanup()
        return found
