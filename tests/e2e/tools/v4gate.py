#!/usr/bin/env python3
"""A V4-only gate in front of an S3 server, answering like Amazon does.

    v4gate.py LISTEN_PORT UPSTREAM_PORT LOG [BUCKET=REGION ...]

A request signed with Version 2 gets 400 InvalidRequest ("Please use
AWS4-HMAC-SHA256."), or a bare 400 when it is a HEAD. A Version 4 request whose
credential scope names another region than its bucket's gets 400
AuthorizationHeaderMalformed with the right <Region> (a HEAD: a bare 400 with
x-amz-bucket-region). Buckets not named on the command line are in us-east-1.
Everything else goes to 127.0.0.1:UPSTREAM_PORT as it came, Host included, so
that the server behind checks the signature itself. One line per request goes
to LOG: "v2", "region" or "pass", the method and the target.
"""
import http.client
import http.server
import re
import socket
import sys
import threading

DNS_SUFFIX = ".s3.localhost"
V2_MESSAGE = ("The authorization mechanism you have provided is not supported. "
              "Please use AWS4-HMAC-SHA256.")
HOP_BY_HOP = {"connection", "keep-alive", "transfer-encoding", "expect", "proxy-connection"}


class Gate(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    upstream_port = 0
    regions = {}
    log_file = None
    log_lock = threading.Lock()

    def log_message(self, *args):
        pass

    def note(self, verdict):
        with self.log_lock:
            self.log_file.write("%s %s %s\n" % (verdict, self.command, self.path))
            self.log_file.flush()

    def bucket(self):
        host = (self.headers.get("Host") or "").split(":")[0]
        if host.endswith(DNS_SUFFIX):
            return host[:-len(DNS_SUFFIX)]
        return self.path.lstrip("/").split("/")[0].split("?")[0]

    def refuse(self, code, message, extra="", region=None):
        body = b""
        if self.command != "HEAD":
            body = ('<?xml version="1.0" encoding="UTF-8"?>\n<Error><Code>%s</Code><Message>%s</Message>'
                    '%s<RequestId>v4gate</RequestId></Error>' % (code, message, extra)).encode()
        self.drain()
        self.send_response(400, "Bad Request")
        if body:
            self.send_header("Content-Type", "application/xml")
        if region:
            self.send_header("x-amz-bucket-region", region)
        self.send_header("Content-Length", str(len(body)))
        # The body of a refused upload is never read: the connection ends here.
        self.send_header("Connection", "close")
        self.end_headers()
        self.wfile.write(body)
        self.close_connection = True

    def drain(self):
        # A client that waits for "100 Continue" has sent no body yet.
        if "100-continue" in (self.headers.get("Expect") or "").lower():
            return
        length = int(self.headers.get("Content-Length") or 0)
        if length:
            self.rfile.read(length)

    def handle_expect_100(self):
        # The 100 is only given once the request is known to go through.
        return True

    def handle_one(self):
        auth = self.headers.get("Authorization") or ""
        if auth.startswith("AWS "):
            self.note("v2")
            return self.refuse("InvalidRequest", V2_MESSAGE)
        match = re.match(r"AWS4-HMAC-SHA256 Credential=[^/]+/\d{8}/([^/]+)/s3/aws4_request", auth)
        bucket = self.bucket()
        wanted = self.regions.get(bucket, "us-east-1")
        if match and bucket and match.group(1) != wanted:
            self.note("region")
            return self.refuse("AuthorizationHeaderMalformed",
                               "The authorization header is malformed; the region '%s' is wrong; "
                               "expecting '%s'" % (match.group(1), wanted),
                               "<Region>%s</Region>" % wanted, wanted)
        self.note("pass")
        self.forward()

    def forward(self):
        if "100-continue" in (self.headers.get("Expect") or "").lower():
            self.send_response_only(100)
            self.end_headers()
        length = int(self.headers.get("Content-Length") or 0)
        body = self.rfile.read(length) if length else None
        conn = http.client.HTTPConnection("127.0.0.1", self.upstream_port, timeout=120)
        conn.putrequest(self.command, self.path, skip_host=True, skip_accept_encoding=True)
        for key, value in self.headers.items():
            if key.lower() not in HOP_BY_HOP:
                conn.putheader(key, value)
        conn.endheaders(body)
        answer = conn.getresponse()
        data = answer.read()
        # The server's own Date and Server go back as they came.
        self.log_request(answer.status)
        self.send_response_only(answer.status, answer.reason)
        for key, value in answer.getheaders():
            if key.lower() not in HOP_BY_HOP and key.lower() != "content-length":
                self.send_header(key, value)
        if self.command == "HEAD":
            self.send_header("Content-Length", answer.getheader("Content-Length") or "0")
        else:
            self.send_header("Content-Length", str(len(data)))
        self.end_headers()
        if self.command != "HEAD":
            self.wfile.write(data)
        conn.close()

    do_GET = do_PUT = do_POST = do_DELETE = do_HEAD = handle_one


class V6Server(http.server.ThreadingHTTPServer):
    address_family = socket.AF_INET6


def main():
    port, upstream, log = int(sys.argv[1]), int(sys.argv[2]), sys.argv[3]
    Gate.upstream_port = upstream
    Gate.regions = dict(arg.split("=", 1) for arg in sys.argv[4:])
    Gate.log_file = open(log, "a", encoding="utf-8")
    servers = [http.server.ThreadingHTTPServer(("127.0.0.1", port), Gate)]
    # Names under .s3.localhost may resolve to ::1 first.
    try:
        servers.append(V6Server(("::1", port), Gate))
    except OSError:
        pass
    for server in servers:
        server.daemon_threads = True
        threading.Thread(target=server.serve_forever, daemon=True).start()
    threading.Event().wait()


if __name__ == "__main__":
    main()
