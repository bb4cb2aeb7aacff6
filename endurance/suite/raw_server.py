"""A TLS server that says whatever bytes a scenario wants, with certificates of every kind, made by openssl."""
import os
import socket
import ssl
import struct
import subprocess
import threading

from suite.scenario import HANGING

HOST = "acme.lumora.example"
# Kinds of certificates, with what makes them so. All but the first must be refused.
CERTIFICATES = {
    "good": {},
    "expired": {"dates": ["-not_before", "20200101000000Z", "-not_after", "20210101000000Z"]},
    "not yet valid": {"dates": ["-not_before", "20900101000000Z", "-not_after", "20910101000000Z"]},
    "of another host": {"names": "DNS:evil.example"},
    "of the domain above": {"names": "DNS:lumora.example"},
    "of a deeper wildcard": {"names": "DNS:*.acme.lumora.example"},
    "of an address only": {"names": "IP:127.0.0.1"},
    "with a NUL in its name": {"names": "DNS:acme.lumora.example.evil.example"},
    "of another authority": {"authority": "other"},
    "signed by itself": {"authority": None},
    "of a server used as an authority": {"authority": "leaf"},
    "for clients": {"usage": "clientAuth"},
    "with a short key": {"key": ["rsa:512"]},
}


def run(*command, folder):
    subprocess.run(command, cwd=folder, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)


class Certificates:
    """One of each kind, in a folder; `authority_file` is what a host is told to trust."""

    def __init__(self, folder):
        self.folder = folder
        os.makedirs(folder)
        for name in ("trusted", "other"):
            self.make_authority(name)
        for kind in CERTIFICATES:
            self.make(kind)
        self.authority_file = os.path.join(folder, "trusted.pem")

    def make_authority(self, name):
        run("openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-days", "30",
            "-subj", f"/CN={name}", "-keyout", f"{name}.key", "-out", f"{name}.pem", folder=self.folder)

    def file(self, kind):
        """A file with a certificate of that kind and its key."""
        return os.path.join(self.folder, f"{list(CERTIFICATES).index(kind)}.both")

    def make(self, kind):
        name = str(list(CERTIFICATES).index(kind))
        made = CERTIFICATES[kind]
        key = made.get("key", ["ec", "-pkeyopt", "ec_paramgen_curve:P-256"])
        run("openssl", "req", "-newkey", *key, "-nodes", "-subj", f"/CN={HOST}", "-keyout", f"{name}.key", "-out",
            f"{name}.csr", folder=self.folder)
        with open(os.path.join(self.folder, f"{name}.ext"), "w") as file:
            file.write(f"subjectAltName={made.get('names', 'DNS:' + HOST)}\n"
                       f"extendedKeyUsage={made.get('usage', 'serverAuth')}\nbasicConstraints=CA:FALSE\n")
        authority = made.get("authority", "trusted")
        chain = []
        if authority == "leaf":  # Of the good one, which is made first.
            authority, chain = "0", ["0.pem"]
        self.sign(name, authority, made.get("dates", ["-days", "30"]))
        with open(self.file(kind), "w") as both:
            for part in (f"{name}.pem", f"{name}.key", *chain):
                with open(os.path.join(self.folder, part)) as file:
                    both.write(file.read())

    def sign(self, name, authority, dates):
        signer = ["-signkey", f"{name}.key"] if authority is None else ["-CA", f"{authority}.pem", "-CAkey",
                                                                        f"{authority}.key", "-CAcreateserial"]
        if dates[0] == "-days":
            return run("openssl", "x509", "-req", "-in", f"{name}.csr", *signer, *dates, "-extfile", f"{name}.ext", "-out",
                       f"{name}.pem", folder=self.folder)
        # Only `openssl ca` knows about dates of one's own.
        with open(os.path.join(self.folder, "ca.cnf"), "w") as file:
            file.write("[ca]\ndefault_ca=d\n[d]\ndatabase=index\nserial=serial\nnew_certs_dir=.\ndefault_md=sha256\n"
                       "policy=p\nunique_subject=no\n[p]\ncommonName=supplied\n")
        for file, text in (("index", ""), ("serial", "01")):
            with open(os.path.join(self.folder, file), "w") as output:
                output.write(text)
        dates = [{"-not_before": "-startdate", "-not_after": "-enddate"}.get(word, word) for word in dates]
        run("openssl", "ca", "-batch", "-config", "ca.cnf", "-cert", f"{authority}.pem", "-keyfile", f"{authority}.key",
            "-in", f"{name}.csr", *dates, "-extfile", f"{name}.ext", "-out", f"{name}.pem", "-notext", folder=self.folder)


class Request:
    def __init__(self, line, headers, body):
        self.method, self.target = line.split(" ")[:2]
        self.headers, self.body = headers, body


class RawServer:
    """Answers each request by what `answer(request, connection)` says: it may send bytes and close as it likes.
    A context of None is a server without TLS. Until `answers` is set it accepts connections, and says nothing."""

    def __init__(self, context, answer):
        self.context, self.answer = context, answer
        self.answers = threading.Event()
        self.socket = socket.create_server(("127.0.0.1", 0))
        self.port = self.socket.getsockname()[1]
        self.requests = []
        threading.Thread(target=self.accept, daemon=True).start()

    def accept(self):
        while True:
            try:
                connection, _ = self.socket.accept()
            except OSError:
                return
            threading.Thread(target=self.serve, args=(connection,), daemon=True).start()

    def serve(self, connection):
        try:
            connection.settimeout(HANGING)
            self.answers.wait()
            if not self.context:
                connection.recv(1)  # The client's greeting, which no HTTP server knows.
                connection.sendall(b"HTTP/1.1 400 Bad Request\r\nContent-Length: 0\r\n\r\n")
                return
            connection = self.context.wrap_socket(connection, server_side=True)
            while request := self.read(connection):
                self.requests.append(request)
                if not self.answer(request, connection):
                    return
        except (OSError, ValueError):
            pass  # The other side refused, or went away.
        finally:
            connection.close()

    def read(self, connection):
        """One request, whole; nothing at the connection's end."""
        data = b""
        while b"\r\n\r\n" not in data:
            part = connection.recv(65536)
            if not part:
                return None
            data += part
        head, body = data.split(b"\r\n\r\n", 1)
        line, *lines = head.decode("latin-1").split("\r\n")
        headers = dict(item.lower().split(": ", 1) for item in lines)
        while len(body) < int(headers.get("content-length", 0)):
            part = connection.recv(65536)
            if not part:
                return None
            body += part
        return Request(line, headers, body)

    def stop(self):
        self.answers.set()
        self.socket.close()


def reset(connection):
    """Ends a connection the hard way: what was sent may not even arrive."""
    raw = connection.detach() if isinstance(connection, ssl.SSLSocket) else connection.detach()
    plain = socket.socket(fileno=raw)
    plain.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    plain.close()


def server_context(certificate, **changes):
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    if "version" in changes or "weak" in changes:
        # Whatever is weak here is for the host to refuse.
        context.set_ciphers("ALL:@SECLEVEL=0")
    context.load_cert_chain(certificate)
    if "version" in changes:
        context.minimum_version = ssl.TLSVersion.TLSv1
        context.maximum_version = changes["version"]
    return context
