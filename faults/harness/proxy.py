"""A TCP proxy between the volume and the server, which delays, cuts, resets and goes silent."""
import contextlib
import socket
import struct
import threading
import time

CHUNK = 65536


class Proxy:
    """Listens at `address` and relays to `server`; its threads end with the process."""

    def __init__(self, address, server, gate, bytes_per_second):
        self._server, self._gate, self._rate = server, gate, bytes_per_second
        self._lock = threading.Lock()
        self._connections = set()
        self._speaking = threading.Event()
        self._speaking.set()
        self._delay = 0
        self._listener = socket.create_server(address, backlog=64)
        threading.Thread(target=self._accept, daemon=True).start()

    def go_silent(self):
        self._speaking.clear()

    def speak(self):
        self._speaking.set()

    def delay(self, seconds):
        self._delay = seconds

    def cut(self, with_reset):
        with self._lock:
            connections, self._connections = self._connections, set()
        for pair in connections:
            for end in pair:
                close(end, with_reset)

    def _accept(self):
        while True:
            client, _ = self._listener.accept()
            threading.Thread(target=self._relay, args=(client,), daemon=True).start()

    def _relay(self, client):
        self._speaking.wait()
        try:
            server = socket.create_connection(self._server, timeout=10)
        except OSError:
            close(client, True)  # what a refused connection comes closest to
            return
        server.settimeout(None)
        pair = (client, server)
        for end in pair:
            end.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        with self._lock:
            self._connections.add(pair)
        threading.Thread(target=self._pump, args=(pair, server, client, False), daemon=True).start()
        self._pump(pair, client, server, True)

    def _pump(self, pair, source, target, to_server):
        with contextlib.suppress(OSError):
            while data := source.recv(CHUNK):
                self._pass_on(data, target, to_server)
        with self._lock:
            self._connections.discard(pair)
        for end in pair:
            close(end, False)

    def _pass_on(self, data, target, to_server):
        view = memoryview(data)
        while view:
            self._speaking.wait()
            if self._delay:
                time.sleep(self._delay)
            size = self._gate.allowance(len(view)) if to_server else len(view)
            self._speaking.wait()
            target.sendall(view[:size])
            if to_server:
                self._gate.count(size)
                if self._rate:
                    time.sleep(size / self._rate)
            view = view[size:]


def close(end, with_reset):
    with contextlib.suppress(OSError):
        if with_reset:
            end.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        else:
            end.shutdown(socket.SHUT_RDWR)
    if with_reset:
        with contextlib.suppress(OSError):
            end.close()
