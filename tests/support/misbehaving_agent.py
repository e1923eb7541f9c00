#!/usr/bin/python3
"""An agent on loopback that misbehaves on demand: the token of a request names what it gets.

Prints the port that it listens on, then a JSON object for every request that it reads, a line each. It listens on
other addresses too: only what follows a redirect comes there.
"""
import json
import os
import re
import socket
import sys
import threading
import time

DISK = {"name": "sda", "path": "/dev/sda", "size_bytes": 9007199254740993, "size_human": "9.0 PB", "model": "Föhn",
        "is_system": False, "mountpoints": ["/srv/a"], "share_name": "A", "available": True}
SHARES = [{"name": name, "path": f"/srv/{name}", "free_bytes": 1, "total_bytes": 2, "smb_url": f"smb://pc/{name}"}
          for name in "AB"]
LISTING = {"disks": [DISK, dict(DISK, name="sdb", share_name=None, available=False)], "shares": SHARES}


def answer(status, body=b"", *headers):
    if isinstance(body, (dict, list)):
        body = json.dumps(body, ensure_ascii=False)
    if isinstance(body, str):
        body = body.encode()
    lines = [f"HTTP/1.1 {status} Reason", f"Content-Length: {len(body)}", *headers]
    return "\r\n".join(lines).encode() + b"\r\n\r\n" + body


def with_size(literal):
    return answer(200, json.dumps(LISTING).replace("9007199254740993", literal))


def text(size):
    return b"HTTP/1.1 200 OK\r\nContent-Length: %d\r\n\r\n" % size


CHUNKED = b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
CONTINUE = b"HTTP/1.1 100 Continue\r\n\r\n"


def slowly(connection, data):
    for byte in data:
        connection.sendall(bytes([byte]))
        time.sleep(1)


def body_a_byte_a_second(connection):
    body = json.dumps({"disks": [], "shares": []}).encode()[:-1]
    connection.sendall(text(len(body) + 1))
    slowly(connection, body)
    connection.sendall(b"}")


def endlessly(*pieces, pause=0.0):
    def send(connection):
        connection.sendall(pieces[0])
        while True:
            connection.sendall(pieces[-1])
            time.sleep(pause)
    return send


def padded(size):
    return answer(200, json.dumps(LISTING).encode().ljust(size))


def redirect(status, location):
    return answer(status, "moved away", f"Location: {location}")


BEHAVIOURS = {
    "listing": answer(200, LISTING),
    "8 MiB": padded(8 << 20),
    "8 MiB and one": padded((8 << 20) + 1),
    "endless chunks": endlessly(CHUNKED, b"10000\r\n" + b" " * 65536 + b"\r\n"),
    "silent chunks": CHUNKED + b"1\r\n{\r\n",
    "cut in its headers": b"HTTP/1.1 201 Created\r\nContent-Length: 0\r\n",
    "cut in its body": answer(201, "created")[:-1],
    "cut in its chunks": CHUNKED + b"1\r\n{\r\n",
    "cut after a chunk": CHUNKED + b"1a\r\n" + b'{"disks": [], "shares": []}'[:26] + b"\r\n",
    "to the connection's end": b"HTTP/1.0 200 OK\r\n\r\n" + json.dumps(LISTING).encode(),
    "a length beyond all": b"HTTP/1.1 200 OK\r\nContent-Length: 99999999999999999999\r\n\r\n" + json.dumps(LISTING).encode(),
    "continues": CONTINUE + answer(200, LISTING),
    "continues and ends": CONTINUE,
    "continues for ever": endlessly(CONTINUE, pause=5),
    "endless header": endlessly(b"HTTP/1.1 200 OK\r\nX-Endless: ", b"x" * 65536),
    "endless headers": endlessly(b"HTTP/1.1 200 OK\r\n", b"X-Endless: x\r\n" * 100),
    "endless trailers": endlessly(CHUNKED + b"1\r\n{\r\n0\r\n", b"X-Endless: x\r\n" * 100),
    "deep nesting": answer(200, b'{"disks": ' + b"[" * 100_000),
    "wrong type": answer(200, dict(LISTING, shares=[SHARES[0], dict(SHARES[1], free_bytes="1")])),
    "available missing": answer(200, {"disks": [{k: v for k, v in DISK.items() if k != "available"}], "shares": []}),
    "beyond 64 bits": with_size("9223372036854775808"),
    "whole as a fraction": with_size("9e3"),
    "invalid UTF-8": answer(200, json.dumps(LISTING).encode().replace(b"sda", b"s\xffa")),
    "a byte a second": body_a_byte_a_second,
    "a header a second": lambda connection: slowly(connection, b"HTTP/1.1 200 OK\r\nX-Slow: " + b"x" * 60),
    "elsewhere on this host": redirect(302, "/elsewhere"),
    "round and round": redirect(307, "/api/disks"),
    "another host": redirect(301, "http://127.0.0.2:{port}/api/disks"),
    "another port": redirect(308, "http://127.0.0.1:{other port}/api/disks"),
    "another scheme": redirect(302, "https://127.0.0.1:{port}/api/disks"),
    "not HTTP": b"SSH-2.0-OpenSSH_9.2p1 Debian\r\n" * 10,
    "closes at once": b"",
    "never answers": None,
    "unauthorized": answer(401, "who?", "WWW-Authenticate: Basic realm=x"),
    "created": answer(201, {"username": "anna"}),
    "exists": answer(409, "whatever"),
    "exists in the body": answer(200, {"error": "user_exists"}),
    "refused": answer(500, {"error": "disk_full", "message": "No room left"}),
    "refused oddly": answer(400, {"error": 7, "message": ["x"]}),
    "broken bytes": answer(500, b"\xff\xfe"),
    "no content": answer(204),
}


def tell(document):
    os.write(sys.stdout.fileno(), json.dumps(document).encode() + b"\n")  # whole: several threads write


def read_request(connection):
    data = b""
    while b"\r\n\r\n" not in data:
        piece = connection.recv(65536)
        if not piece:
            return None
        data += piece
    head, _, body = data.partition(b"\r\n\r\n")
    length = int((re.search(rb"(?i)\r\ncontent-length: *(\d+)", head) or [0, 0])[1])
    while len(body) < length:
        body += connection.recv(65536)
    line, *headers = head.decode("latin-1").split("\r\n")
    return {"line": line, "headers": headers, "body": body.decode()}


def serve(connection, ports):
    # A client that gives up early is what some of these are for.
    try:
        with connection:
            request = read_request(connection)
            if request is None:
                return
            token = next((header[19:] for header in request["headers"] if header.startswith("X-TernVault-Token: ")), "")
            tell(dict(request, token=token, at="%s:%d" % connection.getsockname()))
            behaviour = BEHAVIOURS["listing" if "/elsewhere" in request["line"] else token]
            if callable(behaviour):
                behaviour(connection)
            elif behaviour:
                connection.sendall(behaviour.replace(b"{port}", b"%d" % ports[0]).replace(b"{other port}", b"%d" % ports[1]))
            if behaviour is None or token == "silent chunks":
                connection.recv(1)
    except OSError:
        pass


def listen(listener, ports):
    while True:
        connection, _ = listener.accept()
        threading.Thread(target=serve, args=(connection, ports), daemon=True).start()


def main():
    listeners = [socket.create_server(("127.0.0.1", 0)) for _ in range(2)]
    ports = [listener.getsockname()[1] for listener in listeners]
    listeners.append(socket.create_server(("127.0.0.2", ports[0])))
    tell(ports[0])
    for listener in listeners:
        threading.Thread(target=listen, args=(listener, ports), daemon=True).start()
    sys.stdin.read()  # ends with the test that started it


main()
