#!/usr/bin/env python3
"""A TLS server posing as a store, to show what a client sends to it.

    tlsimpostor.py PORT CERT KEY LOG

Listens on 127.0.0.1:PORT with the given certificate. Appends one line to LOG per event:
"listening", "handshake refused: REASON", "handshake done", "request: FIRST LINE". A request
gets a 403 and the connection is closed.
"""
import socket
import ssl
import sys
import threading

port, cert, key, log_path = int(sys.argv[1]), sys.argv[2], sys.argv[3], sys.argv[4]
context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
context.load_cert_chain(cert, key)
lock = threading.Lock()


def note(line):
    with lock, open(log_path, "a", encoding="utf-8") as log:
        log.write(line + "\n")


def serve(connection):
    with connection:
        connection.settimeout(10)
        try:
            tls = context.wrap_socket(connection, server_side=True)
        except (ssl.SSLError, OSError) as error:
            note("handshake refused: %s" % (getattr(error, "reason", None) or error))
            return
        note("handshake done")
        data = b""
        try:
            while b"\r\n" not in data:
                piece = tls.recv(4096)
                if not piece:
                    break
                data += piece
        except (ssl.SSLError, OSError):
            pass
        if data:
            note("request: " + data.split(b"\r\n")[0].decode("latin-1"))
            tls.sendall(b"HTTP/1.1 403 Forbidden\r\nContent-Length: 0\r\nConnection: close\r\n\r\n")
        tls.close()


server = socket.create_server(("127.0.0.1", port))
note("listening")
while True:
    client, _ = server.accept()
    threading.Thread(target=serve, args=(client,), daemon=True).start()
