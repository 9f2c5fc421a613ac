#!/usr/bin/env python3
"""Holds a listening port on 127.0.0.1 and [::1] and runs a server on it, like a
socket-activating supervisor: the server gets the two sockets as fds 3 and 4
(with "--listen-fds 3,4" appended to its command). When the server dies the port
stays open and new connections wait in the backlog; SIGUSR1 starts the server
again, SIGTERM stops both.

usage: socket-holder.py PORT_FILE CHILD_PID_FILE COMMAND...
"""
import os
import signal
import socket
import subprocess
import sys

port_file, pid_file, command = sys.argv[1], sys.argv[2], sys.argv[3:]

v4 = socket.create_server(("127.0.0.1", 0), backlog=128)
port = v4.getsockname()[1]
v6 = socket.create_server(("::1", port), family=socket.AF_INET6, backlog=128)
child = None


def start(*_):
    global child
    if child is not None and child.poll() is None:
        return
    os.dup2(v4.fileno(), 3, inheritable=True)
    os.dup2(v6.fileno(), 4, inheritable=True)
    child = subprocess.Popen(command + ["--listen-fds", "3,4"], pass_fds=(3, 4))
    with open(pid_file + ".tmp", "w") as f:
        f.write(f"{child.pid}\n")
    os.replace(pid_file + ".tmp", pid_file)


def stop(*_):
    if child is not None and child.poll() is None:
        child.kill()
    sys.exit(0)


signal.signal(signal.SIGUSR1, start)
signal.signal(signal.SIGTERM, stop)
start()
with open(port_file + ".tmp", "w") as f:
    f.write(f"{port}\n")
os.replace(port_file + ".tmp", port_file)
while True:
    signal.pause()
    if child is not None:
        child.poll()  # reap a killed server
