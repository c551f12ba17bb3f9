# The loopback FTP server of the tests (LoopbackFtpServer*.cpp), run by the system Python on
# every platform: on Linux directly, on Windows through Wine, which starts Linux programs too.
# Usage: LoopbackFtpServer.py USER PASSWORD ROOT [ftp|ftps|ftps-implicit CERTIFICATE_PEM
#        [require-session-reuse|tls-1.3-only]]
# Binds a port chosen by the system and prints it as its first line, so there is no race for a
# free port. Serves until its standard input ends: the test closes it to stop the server, and a
# test process that dies closes it too. Every connection is closed before the process ends.
# ftps takes AUTH TLS and requires it on the control and data connections; ftps-implicit speaks
# TLS from the first byte. The PEM file holds the certificate chain and the key. With
# require-session-reuse a data connection must resume the control connection's TLS session, or it
# is refused, as vsftpd's require_ssl_reuse and FileZilla Server do; with tls-1.3-only the server
# speaks no TLS older than 1.3.
import logging
import os
import select
import sys

from pyftpdlib.authorizers import DummyAuthorizer
from pyftpdlib.handlers import FTPHandler
from pyftpdlib.servers import FTPServer

logging.basicConfig(level=logging.WARNING)
user, password, root = sys.argv[1:4]
mode = sys.argv[4] if len(sys.argv) > 4 else "ftp"
authorizer = DummyAuthorizer()
authorizer.add_user(user, password, root, perm="elradfmwMT")
authorizer.add_user("reader", password, root, perm="elr")


def test_behaviour(base):
    class Handler(base):
        def ftp_STOR(self, file, mode="w"):
            name = file.rsplit("/", 1)[-1]
            # An upload named cut* loses its connection half way, one named full* finds the
            # server's disk full.
            if name.startswith("cut"):
                self.close()
                return
            if name.startswith("full"):
                self.respond("552 Requested file action aborted: exceeded storage allocation.")
                return
            return base.ftp_STOR(self, file, mode)

    return Handler


if mode == "ftp":
    Handler = test_behaviour(FTPHandler)
else:
    from OpenSSL._util import lib as openssl
    from pyftpdlib.handlers import TLS_DTPHandler, TLS_FTPHandler

    option = sys.argv[6] if len(sys.argv) > 6 else ""
    require_reuse = option == "require-session-reuse"

    class DataHandler(TLS_DTPHandler):
        # A data connection still in its TLS handshake must be read, or the handshake a client
        # starts before STOR stalls and the connection is reset (pyftpdlib issue 604).
        def readable(self):
            return self._ssl_accepting or super().readable()

        def handle_ssl_established(self):
            if require_reuse and not openssl.SSL_session_reused(self.socket._ssl):
                self.cmd_channel.respond("522 SSL connection failed: session reuse required")
                self.close()

    class ImplicitHandler(TLS_FTPHandler):
        # TLS from the first byte: the handshake comes before the greeting.
        def __init__(self, conn, server, ioloop=None):
            super().__init__(conn, server, ioloop)
            if self.connected:
                self.secure_connection(self.ssl_context)

    Handler = test_behaviour(TLS_FTPHandler if mode == "ftps" else ImplicitHandler)
    Handler.certfile = sys.argv[5]
    Handler.dtp_handler = DataHandler
    Handler.tls_control_required = True
    Handler.tls_data_required = True
    if option == "tls-1.3-only":
        from OpenSSL import SSL

        Handler.get_ssl_context().set_min_proto_version(SSL.TLS1_3_VERSION)

Handler.authorizer = authorizer
Handler.auth_failed_timeout = 0
server = FTPServer(("127.0.0.1", 0), Handler)


def stop_at_end_of_input():
    # Standard input may be a non-blocking socket (Wine's), so only read what select says is there.
    try:
        ended = select.select([0], [], [], 0)[0] and not os.read(0, 512)
    except OSError:
        ended = True
    if ended:
        server.close_all()


server.ioloop.call_every(0.05, stop_at_end_of_input)
print(server.address[1], flush=True)
# A short poll: the TLS data connection's close is otherwise seen only at the next one-second
# wake-up, which delays the reply to every upload on it.
server.serve_forever(timeout=0.05, handle_exit=False)
