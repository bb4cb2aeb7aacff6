"""Whatever the service does, rows stay until it has taken them, memory stays bounded, and no call waits."""
import functools
import os
import ssl
import time
import zlib

from suite.host import Host
from suite.raw_server import CERTIFICATES, Certificates, RawServer, reset, server_context
from suite.scenario import Scenario
from suite.stores import waiting

LARGEST_MEMORY = 64
# How long a host waits for an answer, in seconds: no machine is so slow; and where nothing else ends the wait.
PATIENCE, SHORT_PATIENCE = 300, 5
JSON = "Content-Type: application/json\r\n"
SUCCESS = b'{"success":true}'
TAKEN = b"HTTP/1.1 200 OK\r\n" + JSON.encode() + b"Content-Length: 16\r\nConnection: close\r\n\r\n" + SUCCESS


def status(code, body=b"", headers=""):
    return (f"HTTP/1.1 {code} Odd\r\n{headers}Content-Length: {len(body)}\r\n\r\n").encode() + body


def send(*parts):
    """Sends the parts, and ends the connection."""
    def answer(request, connection):
        for part in parts:
            connection.sendall(part)
    return answer


def endless(start, block, count):
    return lambda request, connection: send(start, *(block for _ in range(count)))(request, connection)


def drip(request, connection):
    if request.method == "GET":  # One wait is enough.
        return connection.sendall(TAKEN)
    for byte in TAKEN:
        connection.sendall(bytes([byte]))
        time.sleep(0.25)


def silence(request, connection):
    if request.method == "GET":
        return connection.sendall(TAKEN)
    time.sleep(20)


def reset_after(count):
    def answer(request, connection):
        connection.sendall(TAKEN[:count])
        reset(connection)
    return answer


def chunked(*chunks, end=b"0\r\n\r\n"):
    body = b"".join(f"{len(chunk):x}\r\n".encode() + chunk + b"\r\n" for chunk in chunks)
    return b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n" + body + end


def lengths(*values):
    lines = "".join(f"Content-Length: {value}\r\n" for value in values)
    return b"HTTP/1.1 200 OK\r\n" + lines.encode() + b"\r\n" + SUCCESS


@functools.cache
def bomb():
    """A quarter of a gigabyte of blanks, in a megabyte."""
    packer = zlib.compressobj(1, wbits=31)
    block = b" " * (1 << 20)
    return b"".join(packer.compress(block) for _ in range(256)) + packer.flush()


def send_bomb(request, connection):
    connection.sendall(status(200, bomb(), "Content-Encoding: gzip\r\n"))


# What the service does, and whether the events are to be "kept", "taken", or "either": the answer came whole, in a way.
ANSWERS = [
    ("it takes the events", send(TAKEN), "taken"),
    ("it takes them in single bytes", send(*(bytes([byte]) for byte in TAKEN)), "taken"),
    ("chunks", send(chunked(b'{"success"', b":true}")), "taken"),
    ("trailers", send(chunked(SUCCESS, end=b"0\r\nX-Odd: 1\r\nContent-Length: 7\r\n\r\n")), "taken"),
    ("a megabyte of trailers", send(chunked(SUCCESS, end=b"0\r\n" + b"X-Odd: 1\r\n" * 100000 + b"\r\n")), "either"),
    ("chunks without an end", send(chunked(SUCCESS, end=b"")), "kept"),
    ("a chunk of a negative size", send(chunked() + b"-1\r\n"), "either"),
    ("a chunk of a huge size", send(b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nffffffffffffffffff\r\n{"), "kept"),
    ("a length that is too large", send(lengths(17)), "kept"),
    ("a length that is too small", send(lengths(8)), "kept"),
    ("a negative length", send(lengths(-1)), "either"),
    ("a length that is no number", send(lengths("x")), "either"),
    ("a length beyond all numbers", send(lengths("9" * 40)), "either"),
    ("two lengths", send(lengths(16, 4)), "either"),
    ("a length and chunks", send(b"HTTP/1.1 200 OK\r\nContent-Length: 3\r\nTransfer-Encoding: chunked\r\n\r\n10\r\n" +
                                 SUCCESS + b"\r\n0\r\n\r\n"), "either"),
    ("no length", send(b"HTTP/1.1 200 OK\r\n\r\n" + SUCCESS), "either"),
    ("an earlier version", send(b"HTTP/1.0 200 OK\r\n\r\n" + SUCCESS), "either"),
    ("no status", send(b"HTTP/1.1 \r\n\r\n" + SUCCESS), "kept"),
    ("no HTTP", send(b"\x00\xff" * 4000), "kept"),
    ("another protocol", send(b"SSH-2.0-Odd\r\n"), "kept"),
    ("nothing", send(), "kept"),
    ("an answer of 1 GB", endless(b"HTTP/1.1 200 OK\r\nContent-Length: 1073741824\r\n\r\n", b" " * 1048576, 1024), "kept"),
    ("an answer without an end", endless(b"HTTP/1.1 200 OK\r\n\r\n", b" " * 1048576, 1024), "kept"),
    ("chunks of 1 GB", endless(b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n40000000\r\n", b" " * 1048576,
                               1024), "kept"),
    ("headers without an end", endless(b"HTTP/1.1 200 OK\r\n", b"X: " + b"y" * 1000 + b"\r\n", 200000), "kept"),
    ("a header of 100 MB", endless(b"HTTP/1.1 200 OK\r\nX: ", b"y" * 1048576, 100), "kept"),
    ("a compression that is none", send(b"HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Length: 16\r\n\r\n" + SUCCESS),
     "either"),
    ("a compressed bomb", send_bomb, "kept"),
    ("interim answers", send(b"HTTP/1.1 103 Early\r\nX: 1\r\n\r\n" * 100, TAKEN), "taken"),
    ("interim answers without an end", endless(b"", b"HTTP/1.1 100 Continue\r\n\r\n" * 1000, 20000), "kept"),
    ("it drips", drip, "either"), ("it says nothing", silence, "kept"),
    ("a redirection", send(status(302, headers="Location: https://acme.lumora.example/report/events/\r\n")), "kept"),
    ("a redirection to a file", send(status(301, headers="Location: file:///etc/passwd\r\n")), "kept"),
    ("deep JSON", send(status(200, b"[" * 5000000)), "kept"),
    ("a page", send(status(200, b"<html>")), "kept"), ("an empty answer", send(status(200)), "kept"),
    ("no success", send(status(200, b'{"success":false}')), "kept"),
    ("success in words", send(status(200, b'{"success":"true"}')), "kept"),
    ("an array", send(status(200, b'[{"success":true}]')), "kept"),
    ("half of JSON", send(status(200, b'{"success":true')), "kept"),
    ("several upgrades", send(b"HTTP/1.1 101 Switching\r\nUpgrade: odd\r\n\r\n" + SUCCESS), "kept"),
] + [(f"a status of {code}", send(status(code, b"{}")), "kept") for code in (204, 400, 401, 404, 429, 500, 503, 999)] + [
    (f"a reset after {count} bytes", reset_after(count), "kept" if count < len(TAKEN) else "either")
    for count in range(len(TAKEN) + 1)]
MOST_UPLOADS = 10
NEVER_ENDING = ("interim answers without an end", "it drips", "it says nothing")
STORMS = [("a storm of 429", status(429, b"slow down", "Retry-After: 1\r\n")), ("a storm of 503", status(503, b"busy"))]
HANDSHAKES = ([(f"a certificate {kind}", kind, {"weak": True}) for kind in CERTIFICATES if kind != "good"] +
              [("TLS 1.0", "good", {"version": ssl.TLSVersion.TLSv1, "weak": True}),
               ("TLS 1.1", "good", {"version": ssl.TLSVersion.TLSv1_1}), ("no TLS", None, {})])


class HostileService(Scenario):
    name = "hostile-service"
    tries = ("a service that resets the connection at every byte of its answer, drips, is silent, lies about lengths, "
             "sends trailers, endless headers and 1 GB, storms of 429 and 503, and shows wrong certificates of every kind")
    holds = ("the rows stay until the service has said that it took them; memory stays below 64 MiB; no call of the host "
             "waits; a wrong certificate is shown nothing")
    workers = 4

    def prepare(self, suite):
        self.certificates = Certificates(os.path.join(suite.folder, "certificates"))
        self.cases = ([(name, self.try_answer, (answer, outcome, SHORT_PATIENCE if name in NEVER_ENDING else PATIENCE))
                       for name, answer, outcome in ANSWERS] +
                      [(name, self.try_storm, (answer,)) for name, answer in STORMS] +
                      [(name, self.try_handshake, rest) for name, *rest in HANDSHAKES])

    def rounds(self, size):
        """For a short run a sample of the resets, and everything else."""
        step = 16 if size == "ci" else 1
        return [number for number, (name, *_) in enumerate(self.cases, 1)
                if "a reset" not in name or number % step == 0]

    def play(self, round):
        name, attempt, arguments = self.cases[round.number - 1]
        try:
            attempt(round, *arguments)
        except Exception as error:
            error.args = (f"{name}: {error}",)
            raise

    def with_server(self, round, answer, context, act):
        """A host that knows its configuration already, whose events go to the hostile server."""
        folder = round.folder + "/host"
        first = Host(round.suite, folder, round.service)
        first.ask_all("init acme s3cret", "drain")
        first.quit()
        server = RawServer(context, answer)
        server.ca = self.certificates.authority_file
        host = Host(round.suite, folder, server)
        try:
            act(host, server, folder)
            memory = host.peak_memory()
            round.expect(memory < LARGEST_MEMORY, f"the host took {memory:.0f} MiB")
            round.figures["most memory in MiB"] = max(round.figures["most memory in MiB"], int(memory) + 1)
            host.quit()
        finally:
            server.stop()
            host.process.kill()
        round.count("attempts")

    def report(self, host, server, patience=PATIENCE):
        """The calls come back while the server does not answer at all: none of them waits for it."""
        host.ask_all(f"timeout {patience}", "init acme s3cret", *(f"action e-{number}" for number in range(3)),
                     "report-all", "can-report", "device-id")
        server.answers.set()
        host.ask("drain")

    def try_answer(self, round, answer, outcome, patience):
        def act(host, server, folder):
            self.report(host, server, patience)
            every = {f"e-{number}" for number in range(3)}
            # An upload on a connection that the server has just closed does not reach it, and is not repeated.
            for _ in range(MOST_UPLOADS):
                sent = {name for name in every for request in server.requests if name.encode() in request.body}
                if sent == every:
                    break
                host.ask_all("report-all", "drain")
            round.expect(sent == every, f"the server got only {sorted(sent)}: {host.log_end()}")
            left = set(waiting(folder))
            if outcome == "kept":
                round.expect(left == every, f"rows are gone: {sorted(left)} are left")
            elif outcome == "taken":
                round.expect(not left, f"rows are left: {sorted(left)}")
        self.with_server(round, answer, server_context(self.certificates.file("good")), act)

    def try_storm(self, round, answer):
        """Many uploads in a row are refused, then the service recovers."""
        calm = []

        def serve(request, connection):
            connection.sendall(TAKEN if calm else answer)
            return not calm

        def act(host, server, folder):
            self.report(host, server)
            host.ask_all(*("report-all" for _ in range(50)), "drain")
            round.expect(len(waiting(folder)) == 3, "rows are gone")
            calm.append(True)
            host.ask_all("report-all", "drain")
            round.expect(not waiting(folder), "rows are left")
        self.with_server(round, serve, server_context(self.certificates.file("good")), act)

    def try_handshake(self, round, kind, changes):
        context = server_context(self.certificates.file(kind), **changes) if kind else None

        def act(host, server, folder):
            self.report(host, server)
            round.expect(not server.requests, "it was sent a request")
            round.expect(len(waiting(folder)) == 3, "rows are gone")
        self.with_server(round, send(TAKEN), context, act)
