# The loopback SFTP server of the tests (LoopbackFtpServer*.cpp with the sftp kind), paramiko
# run by the system Python. Usage:
#   LoopbackSftpServer.py USER PASSWORD ROOT sftp [ecdsa|rsa|ed25519]
# Makes a throw-away host key (ECDSA unless another kind is named) and offers that kind alone;
# binds a port chosen by the system and prints "PORT FINGERPRINT" (the key's SHA256 as OpenSSH
# shows it) as its first line. Serves until its standard input ends.
# The user (password only) sees ROOT as "/", which is also the log-in folder; "reader" with the
# same password may only read. An upload named cut* loses its connection half way, one named
# full* finds the server's disk full.
import base64
import hashlib
import io
import os
import select
import socket
import sys
import threading

import paramiko

user, password, root = sys.argv[1:4]
kind = sys.argv[5] if len(sys.argv) > 5 else "ecdsa"
if kind == "rsa":
    host_key = paramiko.RSAKey.generate(2048)
elif kind == "ed25519":
    # paramiko reads ed25519 keys but makes none: cryptography makes it.
    from cryptography.hazmat.primitives import serialization
    from cryptography.hazmat.primitives.asymmetric import ed25519

    made = ed25519.Ed25519PrivateKey.generate().private_bytes(
        serialization.Encoding.PEM, serialization.PrivateFormat.OpenSSH,
        serialization.NoEncryption())
    host_key = paramiko.Ed25519Key(file_obj=io.StringIO(made.decode()))
else:
    host_key = paramiko.ECDSAKey.generate()
NO_SPACE_ON_FILESYSTEM = 14


class Server(paramiko.ServerInterface):
    def __init__(self):
        self.user = None

    def get_allowed_auths(self, username):
        return "password"

    def check_auth_password(self, username, given):
        if given == password and username in (user, "reader"):
            self.user = username
            return paramiko.AUTH_SUCCESSFUL
        return paramiko.AUTH_FAILED

    def check_channel_request(self, kind, chanid):
        if kind == "session":
            return paramiko.OPEN_SUCCEEDED
        return paramiko.OPEN_FAILED_ADMINISTRATIVELY_PROHIBITED_OPEN_FAILED


def errno_status(error):
    return paramiko.SFTPServer.convert_errno(error.errno)


class Handle(paramiko.SFTPHandle):
    def __init__(self, transport, name, flags=0):
        super().__init__(flags)
        self.transport = transport
        self.name = name

    def write(self, offset, data):
        if self.name.startswith("cut"):
            self.transport.close()
            return paramiko.SFTP_CONNECTION_LOST
        return super().write(offset, data)


class Files(paramiko.SFTPServerInterface):
    def __init__(self, server, *args, **kwargs):
        super().__init__(server, *args, **kwargs)
        self.server = server

    def local(self, path):
        # Every path below ROOT, whatever ".." it holds.
        clean = os.path.normpath("/" + path).lstrip("/")
        return os.path.join(root, clean)

    def canonicalize(self, path):
        return os.path.normpath("/" + path)

    def list_folder(self, path):
        try:
            folder = self.local(path)
            out = []
            for name in os.listdir(folder):
                attr = paramiko.SFTPAttributes.from_stat(os.stat(os.path.join(folder, name)))
                attr.filename = name
                out.append(attr)
            return out
        except OSError as e:
            return errno_status(e)

    def stat(self, path):
        try:
            return paramiko.SFTPAttributes.from_stat(os.stat(self.local(path)))
        except OSError as e:
            return errno_status(e)

    lstat = stat

    def open(self, path, flags, attr):
        name = os.path.basename(path)
        writing = flags & (os.O_WRONLY | os.O_RDWR)
        if writing and self.server.user != user:
            return paramiko.SFTP_PERMISSION_DENIED
        if writing and name.startswith("full"):
            return NO_SPACE_ON_FILESYSTEM
        try:
            fd = os.open(self.local(path), flags | getattr(os, "O_BINARY", 0), 0o644)
            handle = Handle(self.server.transport, name, flags)
            handle.filename = self.local(path)
            mode = "wb" if writing and not flags & os.O_RDWR else ("r+b" if writing else "rb")
            if flags & os.O_APPEND:
                mode = "ab"
            f = os.fdopen(fd, mode)
            handle.readfile = f if not writing or flags & os.O_RDWR else None
            handle.writefile = f if writing else None
            return handle
        except OSError as e:
            return errno_status(e)

    def remove(self, path):
        try:
            os.remove(self.local(path))
            return paramiko.SFTP_OK
        except OSError as e:
            return errno_status(e)

    def rename(self, old, new):
        try:
            os.rename(self.local(old), self.local(new))
            return paramiko.SFTP_OK
        except OSError as e:
            return errno_status(e)

    def chattr(self, path, attr):
        return paramiko.SFTP_OK


transports = []
lock = threading.Lock()


def serve(connection):
    transport = paramiko.Transport(connection)
    transport.add_server_key(host_key)
    server = Server()
    server.transport = transport
    transport.set_subsystem_handler("sftp", paramiko.SFTPServer, Files)
    with lock:
        transports.append(transport)
    try:
        transport.start_server(server=server)
    except (paramiko.SSHException, EOFError, OSError):
        transport.close()


listening = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
listening.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
listening.bind(("127.0.0.1", 0))
listening.listen(16)
fingerprint = base64.b64encode(hashlib.sha256(host_key.asbytes()).digest()).decode().rstrip("=")
print(listening.getsockname()[1], "SHA256:" + fingerprint, flush=True)

while True:
    ready = select.select([listening, 0], [], [])[0]
    if 0 in ready:
        try:
            ended = not os.read(0, 512)
        except OSError:
            ended = True
        if ended:
            break
    if listening in ready:
        connection, _ = listening.accept()
        serve(connection)

listening.close()
with lock:
    for transport in transports:
        transport.close()
