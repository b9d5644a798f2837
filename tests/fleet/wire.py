# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""A network of two ends, with a delay, that can be cut in one direction or both.

    wire = Wire()                    # this thread moves into a network of its own, at wire.NEAR
    wire.delay = 0.15                # seconds, of every packet
    wire.there()                     # words before a command that is to run at the other end, wire.FAR
    wire.cut(towards_far=True)       # these packets are lost, nobody is told
    wire.mend()

Each end is a TUN device in a network namespace; threads carry the packets. The kernel makes no
difference between this and a cable. Needs CAP_SYS_ADMIN and CAP_NET_ADMIN.
"""
import collections
import ctypes
import fcntl
import os
import select
import struct
import subprocess
import threading
import time

_CLONE_NEWNET = 0x40000000
_TUNSETIFF = 0x400454CA
_IFF_TUN, _IFF_NO_PI = 1, 0x1000
_LIBC = ctypes.CDLL(None, use_errno=True)


def _check(result):
    if result < 0:
        error = ctypes.get_errno()
        raise OSError(error, os.strerror(error))


class _End:
    """One end, in the namespace of the thread that makes it."""

    def __init__(self, address):
        self.descriptor = os.open("/dev/net/tun", os.O_RDWR | os.O_CLOEXEC)
        fcntl.ioctl(self.descriptor, _TUNSETIFF, struct.pack("16sH", b"wire", _IFF_TUN | _IFF_NO_PI))
        for words in (("link", "set", "lo", "up"), ("address", "add", address + "/24", "dev", "wire"),
                      ("link", "set", "wire", "up")):
            subprocess.run(["ip", *words], check=True)


class Wire:
    NEAR, FAR = "10.77.0.1", "10.77.0.2"

    def __init__(self):
        self.delay = 0
        self.lost = {True: False, False: False}  # towards the far end, towards this one
        _check(_LIBC.unshare(_CLONE_NEWNET))
        self._near = _End(self.NEAR)
        self._holder = subprocess.Popen(  # pylint: disable=R1732
            ["unshare", "--net", "sh", "-c", "echo; exec sleep infinity"], stdout=subprocess.PIPE)
        self._holder.stdout.readline()  # it is in its namespace
        self._far = None
        maker = threading.Thread(target=self._make_far)
        maker.start()
        maker.join()
        self._ended = False
        self._threads = [threading.Thread(target=self._carry, args=ends, daemon=True)
                         for ends in ((self._near, self._far, True), (self._far, self._near, False))]
        for thread in self._threads:
            thread.start()

    def _make_far(self):
        with open(f"/proc/{self._holder.pid}/ns/net", "rb") as namespace:
            _check(_LIBC.setns(namespace.fileno(), _CLONE_NEWNET))
        self._far = _End(self.FAR)

    def _carry(self, source, target, towards_far):
        waiting = collections.deque()  # when it arrives, packet
        while not self._ended:
            now = time.monotonic()
            while waiting and waiting[0][0] <= now:
                os.write(target.descriptor, waiting.popleft()[1])
            patience = max(0, waiting[0][0] - now) if waiting else 0.2
            if not select.select([source.descriptor], [], [], patience)[0]:
                continue
            packet = os.read(source.descriptor, 65536)
            if not self.lost[towards_far]:
                waiting.append((time.monotonic() + self.delay, packet))

    def there(self):
        return ["nsenter", "--net", "--target", str(self._holder.pid), "--"]

    def cut(self, towards_far=False, towards_near=False):
        self.lost = {True: towards_far, False: towards_near}

    def mend(self):
        self.cut()

    def close(self):
        self._ended = True
        for thread in self._threads:
            thread.join()
        for end in (self._near, self._far):
            os.close(end.descriptor)
        self._holder.kill()
        self._holder.wait()
        self._holder.stdout.close()
