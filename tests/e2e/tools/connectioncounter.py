#!/usr/bin/env python3
"""Listens on 127.0.0.1 and writes one line per accepted connection, then
closes it without a word: a store that is there but never answers. A test
reads the count to prove that a run sent nothing, or that it did.

usage: connectioncounter.py PORT_FILE COUNT_FILE
The port is written to PORT_FILE once the socket listens; SIGTERM ends it.
"""
import os
import signal
import socket
import sys

port_file, count_file = sys.argv[1], sys.argv[2]
server = socket.create_server(("127.0.0.1", 0), backlog=64)
open(count_file, "w").close()
with open(port_file + ".tmp", "w") as f:
    f.write(str(server.getsockname()[1]))
# renamed in one step: the reader never sees a half-written port
os.replace(port_file + ".tmp", port_file)
signal.signal(signal.SIGTERM, lambda *_: sys.exit(0))
while True:
    conn, peer = server.accept()
    with open(count_file, "a") as f:
        f.write(f"{peer[0]}:{peer[1]}\n")
    conn.close()
