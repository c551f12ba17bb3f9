# The loopback FTP server of the tests (LoopbackFtpServer*.cpp), run by the system Python on
# every platform: on Linux directly, on Windows through Wine, which starts Linux programs too.
# Usage: LoopbackFtpServer.py USER PASSWORD ROOT
# Binds a port chosen by the system and prints it as its first line, so there is no race for a
# free port. Serves until its standard input ends: the test closes it to stop the server, and a
# test process that dies closes it too. Every connection is closed before the process ends.
import logging
import os
import select
import sys

from pyftpdlib.authorizers import DummyAuthorizer
from pyftpdlib.handlers import FTPHandler
from pyftpdlib.servers import FTPServer

logging.basicConfig(level=logging.WARNING)
user, password, root = sys.argv[1:4]
authorizer = DummyAuthorizer()
authorizer.add_user(user, password, root, perm="elradfmwMT")
authorizer.add_user("reader", password, root, perm="elr")


class Handler(FTPHandler):
    def ftp_STOR(self, file, mode="w"):
        # An upload named cut* loses its connection half way.
        if file.rsplit("/", 1)[-1].startswith("cut"):
            self.close()
            return
        return FTPHandler.ftp_STOR(self, file, mode)


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
server.serve_forever(handle_exit=False)
