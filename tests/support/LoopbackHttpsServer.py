# The loopback HTTPS export servers of the tests (LoopbackHttpsServer.h), run by the system
# Python on every platform: on Linux directly, on Windows through Wine, which starts Linux
# programs too (and so openssl here, which a Windows test process could not run itself).
# Usage: LoopbackHttpsServer.py FOLDER
# Makes in FOLDER, with the openssl program, the certificates TestCertificates makes: a
# certificate authority (ca.pem), a server certificate it signed (signed.pem) and a self-signed
# one (self.pem), both for 127.0.0.1 and localhost, each server PEM with its key. Then serves
# HTTPS on two ports of 127.0.0.1 chosen by the system, one with each server certificate, and
# prints one line: "SIGNED_PORT SELF_PORT SIGNED_PIN SELF_PIN", the pins ("sha256//<base64>" of
# the public key) as openssl computes them. Every GET is answered 200 with the body "secure " and
# the path with its query (HEAD, which the Windows build sends to read a certificate, without
# the body). Serves until its standard input ends: the test closes it to stop the
# servers, and a test process that dies closes it too.
import base64
import http.server
import os
import select
import ssl
import subprocess
import sys
import threading

folder = sys.argv[1]


def openssl(*args, data=None):
    return subprocess.run(["openssl", *args], cwd=folder, input=data, check=True,
                          capture_output=True).stdout


def make_certificates():
    key = ["-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes", "-days", "2"]
    names = "subjectAltName=IP:127.0.0.1,DNS:localhost"
    with open(os.path.join(folder, "names.ext"), "w") as ext:
        ext.write(names + "\n")
    openssl("req", "-x509", *key, "-subj", "/CN=TESSELEX-test-CA", "-keyout", "ca.key",
            "-out", "ca.pem")
    openssl("req", *key, "-subj", "/CN=localhost", "-keyout", "signed.key", "-out", "signed.csr")
    openssl("x509", "-req", "-days", "2", "-in", "signed.csr", "-CA", "ca.pem", "-CAkey",
            "ca.key", "-CAcreateserial", "-extfile", "names.ext", "-out", "signed.crt")
    openssl("req", "-x509", *key, "-subj", "/CN=localhost", "-addext", names, "-keyout",
            "self.key", "-out", "self.crt")
    for name in ("signed", "self"):
        with open(os.path.join(folder, name + ".pem"), "wb") as pem:
            for part in (".crt", ".key"):
                with open(os.path.join(folder, name + part), "rb") as piece:
                    pem.write(piece.read())


def pin(name):
    public = openssl("x509", "-in", name + ".pem", "-pubkey", "-noout")
    der = openssl("pkey", "-pubin", "-outform", "der", data=public)
    digest = openssl("dgst", "-sha256", "-binary", data=der)
    return "sha256//" + base64.b64encode(digest).decode("ascii")


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_HEAD(self):
        body = ("secure " + self.path).encode("latin-1")
        self.send_response(200)
        self.send_header("Content-Type", "text/plain")
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        return body

    def do_GET(self):
        self.wfile.write(self.do_HEAD())

    def log_message(self, *args):
        pass


class Server(http.server.ThreadingHTTPServer):
    daemon_threads = True

    def handle_error(self, request, client_address):
        # A client that refuses the certificate breaks off the handshake: expected here.
        pass


def serve(name):
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(os.path.join(folder, name + ".pem"))
    server = Server(("127.0.0.1", 0), Handler)
    # The handshake is made in the request's own thread, so a client that stalls it holds no
    # other.
    server.socket = context.wrap_socket(server.socket, server_side=True,
                                        do_handshake_on_connect=False)
    threading.Thread(target=server.serve_forever, kwargs={"poll_interval": 0.05},
                     daemon=True).start()
    return server


make_certificates()
servers = [serve("signed"), serve("self")]
print(servers[0].server_address[1], servers[1].server_address[1], pin("signed"), pin("self"),
      flush=True)
# Standard input may be a non-blocking socket (Wine's), so only read what select says is there.
while True:
    try:
        if select.select([0], [], [], 0.05)[0] and not os.read(0, 512):
            break
    except BlockingIOError:
        continue
    except OSError:
        break
for server in servers:
    server.shutdown()
    server.server_close()
