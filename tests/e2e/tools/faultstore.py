#!/usr/bin/env python3
"""A tiny S3 store that misbehaves on request, for the fault tests. Standard library only.

usage: faultstore.py --port-file FILE --log FILE --rules FILE [--port N] [--bucket NAME]...
                    [--parent PID]    (ends when that process is gone)

It serves buckets and objects from memory (path style, or virtual-host style through a
"<bucket>.s3.localhost" Host), checks no signature, and listens on 127.0.0.1 and ::1 with one
port (0: any free one), written to the port file once it listens.

The rules file is JSON: a list of rules, read again whenever it changes. The first rule that
matches a request decides its fate; a request no rule matches is served normally. A rule:
  "method", "path", "query",  regular expressions (re.search) on the method, the path as sent
  "host"                      (still %-encoded), the query string and the Host header; a missing
                              one matches all
  "times": N                  the rule matches N times, then stands aside (default: always)
  "action":
    "close"                   close as soon as the head is read (no "100 Continue", no body read)
    "close-after-body"        read the whole body, then close without an answer
    "reset"                   read "bytes" of the body (default: half of it), then reset (RST)
    "hang"                    read the body, then never answer (until the client goes, max 120 s)
    "slow"                    read the body at "rate" bytes a second (default 1000000), then serve
                              normally: keeps an upload's source open for a while
    "status"                  answer "status" (default 500) with an error document of "code"
                              (default InternalError); optional "retry_after", "headers" (extra
                              header lines) and "elements" (extra elements of the document, e.g.
                              {"ServerTime": "2030-01-01T00:00:00.000Z"})
    "truncate"                serve normally, but send only "bytes" (default half) of the body
                              with the full Content-Length, then close
    "listing"                 a bucket listing made of "keys" (sizes 1), optionally "truncated"
                              (IsTruncated stays true, NextMarker is always "marker"), and
                              "pad" bytes of XML comment inside the document
Multipart uploads are served too (initiate, parts, complete, abort, and the bucket's "?uploads"
listing), so that a fault can hit one part of them.
The log gets one line per request, tab-separated: seconds since the epoch (ms precision),
method, path[?query], outcome (a status, or the action taken), the request's Date and Host headers.
"""
import argparse
import email.utils
import hashlib
import http.server
import json
import os
import re
import socket
import socketserver
import struct
import sys
import threading
import time
import urllib.parse
from xml.sax.saxutils import escape

LOCK = threading.Lock()
BUCKETS = {}      # name -> {key: (body, meta headers dict, mtime)}
UPLOADS = {}      # upload id -> [bucket, key, meta headers dict, {part number: body}]
RULES = {"stamp": None, "list": [], "used": {}}
ARGS = None


def load_rules():
    try:
        st = os.stat(ARGS.rules)
        stamp = (st.st_mtime_ns, st.st_size)
    except OSError:
        return []
    if stamp != RULES["stamp"]:
        with open(ARGS.rules) as f:
            RULES["list"] = json.load(f)
        RULES["stamp"] = stamp
    return RULES["list"]


def match_rule(method, path, query, host):
    with LOCK:
        for rule in load_rules():
            if not all(re.search(rule.get(k, ""), v) for k, v in
                       (("method", method), ("path", path), ("query", query), ("host", host))):
                continue
            # the count belongs to the rule's text, so an edited rule starts afresh
            ident = json.dumps(rule, sort_keys=True)
            used = RULES["used"].get(ident, 0)
            if "times" in rule and used >= rule["times"]:
                continue
            RULES["used"][ident] = used + 1
            return rule
    return None


def isotime(t):
    return time.strftime("%Y-%m-%dT%H:%M:%S.000Z", time.gmtime(t))


def error_doc(code, extra=None):
    parts = "".join("<%s>%s</%s>" % (k, escape(str(v)), k) for k, v in (extra or {}).items())
    return ('<?xml version="1.0" encoding="UTF-8"?><Error><Code>%s</Code><Message>%s</Message>'
            '%s<RequestId>fault</RequestId></Error>' % (code, code, parts)).encode()


def listing_doc(bucket, entries, prefix, marker, delimiter, truncated, next_marker, pad=0):
    out = ['<?xml version="1.0" encoding="UTF-8"?>',
           '<ListBucketResult xmlns="http://s3.amazonaws.com/doc/2006-03-01/">',
           "<Name>%s</Name><Prefix>%s</Prefix><Marker>%s</Marker><MaxKeys>1000</MaxKeys>"
           % (escape(bucket), escape(prefix), escape(marker))]
    if delimiter:
        out.append("<Delimiter>%s</Delimiter>" % escape(delimiter))
    out.append("<IsTruncated>%s</IsTruncated>" % ("true" if truncated else "false"))
    if next_marker:
        out.append("<NextMarker>%s</NextMarker>" % escape(next_marker))
    if pad:
        out.append("<!--%s-->" % ("x" * pad))
    for key, size, etag, mtime in entries:
        out.append("<Contents><Key>%s</Key><LastModified>%s</LastModified><ETag>&quot;%s&quot;"
                   "</ETag><Size>%d</Size><Owner><ID>fault</ID><DisplayName>fault</DisplayName>"
                   "</Owner><StorageClass>STANDARD</StorageClass></Contents>"
                   % (escape(key, {"\n": "&#10;", "\r": "&#13;"}), isotime(mtime), etag, size,))
    out.append("</ListBucketResult>")
    return "".join(out).encode()


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    continued = False

    def log_message(self, *args):
        pass

    def handle_expect_100(self):
        return True  # the rule decides whether the body is welcome

    def note(self, outcome):
        line = "%.3f\t%s\t%s\t%s\t%s\t%s\n" % (time.time(), self.command, self.path, outcome,
                                               self.headers.get("Date", ""), self.headers.get("Host", ""))
        with LOCK, open(ARGS.log, "a") as f:
            f.write(line)

    def body_length(self):
        return int(self.headers.get("Content-Length") or 0)

    def read_body(self, limit=None, rate=None):
        if self.headers.get("Expect", "").lower() == "100-continue" and not self.continued:
            self.continued = True
            self.wfile.write(b"HTTP/1.1 100 Continue\r\n\r\n")
            self.wfile.flush()
        left = self.body_length() if limit is None else min(limit, self.body_length())
        data = b""
        while len(data) < left:
            piece = self.rfile.read(min(rate // 10 if rate else 65536, left - len(data)))
            if not piece:
                break
            data += piece
            if rate:
                time.sleep(0.1)
        return data

    def drop(self, reset=False):
        if reset:
            self.connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.close_connection = True
        try:
            self.connection.shutdown(socket.SHUT_RDWR) if not reset else None
        except OSError:
            pass
        self.connection.close()

    def answer(self, status, body=b"", headers=(), cut=None):
        self.send_response(status)
        for name, value in headers:
            self.send_header(name, value)
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        if self.command != "HEAD":
            self.wfile.write(body if cut is None else body[:cut])
        self.wfile.flush()
        if cut is not None:
            self.drop()

    def handle_one_request(self):
        try:
            super().handle_one_request()
        except (ConnectionError, OSError):
            self.close_connection = True

    def dispatch(self):
        self.continued = False  # one handler serves every request of a kept connection
        url = urllib.parse.urlsplit(self.path)
        rule = match_rule(self.command, url.path, url.query, self.headers.get("Host", ""))
        action = rule.get("action", "status") if rule else None
        if action == "close":
            self.note("close")
            return self.drop()
        if action in ("close-after-body", "reset", "hang"):
            limit = rule.get("bytes", self.body_length() // 2) if action == "reset" else None
            self.read_body(limit)
            self.note(action)
            if action == "hang":
                self.connection.settimeout(120)
                try:
                    while self.connection.recv(65536):
                        pass
                except OSError:
                    pass
            return self.drop(reset=(action == "reset"))
        if action == "status":
            self.read_body()
            status = rule.get("status", 500)
            headers = [("Content-Type", "application/xml")] + list(rule.get("headers", {}).items())
            if "retry_after" in rule:
                headers.append(("Retry-After", str(rule["retry_after"])))
            self.note(status)
            return self.answer(status, error_doc(rule.get("code", "InternalError"),
                                                 rule.get("elements")), headers)
        if action == "listing":
            keys = rule.get("keys", [])
            now = time.time()
            doc = listing_doc(self.bucket_and_key(url.path)[0], [(k, 1, "0" * 32, now) for k in keys],
                              "", "", "", rule.get("truncated", False),
                              rule.get("marker", "") if rule.get("truncated") else "", rule.get("pad", 0))
            self.note("listing")
            return self.answer(200, doc, [("Content-Type", "application/xml")])
        body = self.read_body(rate=rule.get("rate", 1000000)) if action == "slow" else None
        status, body, headers = self.serve(url, body)
        cut = None
        if action == "truncate":
            cut = rule.get("bytes", len(body) // 2)
        self.note("truncate" if cut is not None else status)
        self.answer(status, body, headers, cut)

    do_GET = do_PUT = do_DELETE = do_HEAD = do_POST = dispatch

    def bucket_and_key(self, path):
        host = self.headers.get("Host", "").split(":")[0]
        path = urllib.parse.unquote(path)
        if host.endswith(".s3.localhost"):
            return host[: -len(".s3.localhost")], path[1:]
        bucket, _, key = path[1:].partition("/")
        return bucket, key

    def serve(self, url, body=None):
        """The ordinary store: (status, body, headers); body: the request's, when read already."""
        bucket, key = self.bucket_and_key(url.path)
        query = urllib.parse.parse_qs(url.query, keep_blank_values=True)
        xml = [("Content-Type", "application/xml")]
        if body is None:
            body = self.read_body() if self.command in ("PUT", "POST") else b""
        with LOCK:
            if not bucket:
                names = "".join("<Bucket><Name>%s</Name><CreationDate>%s</CreationDate></Bucket>"
                                % (escape(b), isotime(0)) for b in sorted(BUCKETS))
                return 200, ('<?xml version="1.0" encoding="UTF-8"?><ListAllMyBucketsResult><Owner>'
                             '<ID>fault</ID><DisplayName>fault</DisplayName></Owner><Buckets>%s'
                             '</Buckets></ListAllMyBucketsResult>' % names).encode(), xml
            if self.command == "PUT" and not key and "acl" not in query:
                BUCKETS.setdefault(bucket, {})
                return 200, b"", []
            objects = BUCKETS.get(bucket)
            if objects is None:
                return 404, error_doc("NoSuchBucket"), xml
            if "uploads" in query or "uploadId" in query:
                return self.serve_multipart(bucket, key, query, body)
            if "acl" in query:
                return 200, (b'<?xml version="1.0" encoding="UTF-8"?><AccessControlPolicy><Owner>'
                             b'<ID>fault</ID></Owner><AccessControlList/></AccessControlPolicy>'
                             if self.command == "GET" else b""), xml
            if not key:
                if self.command != "GET":
                    return 200, b"", []
                return 200, self.list_bucket(bucket, objects, query), xml
            if self.command == "PUT":
                # a client that went before its whole body stores nothing, as with a real store
                if len(body) < self.body_length():
                    return 400, error_doc("IncompleteBody"), xml
                return self.put_object(objects, key, body)
            stored = objects.get(key)
            if stored is None:
                return 404, error_doc("NoSuchKey"), xml
            if self.command == "DELETE":
                del objects[key]
                return 204, b"", []
            data, meta, _ = stored
            return 200, data, list(meta.items()) + [("ETag", '"%s"' % hashlib.md5(data).hexdigest())]

    def object_meta(self):
        return {k: v for k, v in self.headers.items()
                if k.lower().startswith("x-amz-meta-") or k.lower() == "content-type"}

    def serve_multipart(self, bucket, key, query, body):
        xml = [("Content-Type", "application/xml")]
        head = '<?xml version="1.0" encoding="UTF-8"?>'
        if "uploads" in query and self.command == "GET":
            items = "".join("<Upload><Key>%s</Key><UploadId>%s</UploadId></Upload>" % (escape(u[1]), i)
                            for i, u in sorted(UPLOADS.items()) if u[0] == bucket)
            return 200, ('%s<ListMultipartUploadsResult><Bucket>%s</Bucket><IsTruncated>false'
                         '</IsTruncated>%s</ListMultipartUploadsResult>'
                         % (head, escape(bucket), items)).encode(), xml
        if "uploads" in query:
            upload_id = "fault-%d" % (len(UPLOADS) + int(time.time() * 1000))
            UPLOADS[upload_id] = [bucket, key, self.object_meta(), {}]
            return 200, ('%s<InitiateMultipartUploadResult><Bucket>%s</Bucket><Key>%s</Key><UploadId>%s'
                         '</UploadId></InitiateMultipartUploadResult>'
                         % (head, escape(bucket), escape(key), upload_id)).encode(), xml
        upload = UPLOADS.get(query["uploadId"][0])
        if upload is None or upload[:2] != [bucket, key]:
            return 404, error_doc("NoSuchUpload"), xml
        if self.command == "DELETE":
            del UPLOADS[query["uploadId"][0]]
            return 204, b"", []
        if self.command == "PUT":
            upload[3][int(query["partNumber"][0])] = body
            return 200, b"", [("ETag", '"%s"' % hashlib.md5(body).hexdigest())]
        numbers = [int(n) for n in re.findall(rb"<PartNumber>(\d+)</PartNumber>", body)]
        if not numbers or any(n not in upload[3] for n in numbers):
            return 400, error_doc("InvalidPart"), xml
        data = b"".join(upload[3][n] for n in numbers)
        BUCKETS[bucket][key] = (data, upload[2], time.time())
        del UPLOADS[query["uploadId"][0]]
        return 200, ('%s<CompleteMultipartUploadResult><Key>%s</Key><ETag>&quot;%s-%d&quot;</ETag>'
                     '</CompleteMultipartUploadResult>'
                     % (head, escape(key), hashlib.md5(data).hexdigest(), len(numbers))).encode(), xml

    def put_object(self, objects, key, body):
        meta = self.object_meta()
        source = self.headers.get("x-amz-copy-source")
        if source:
            sbucket, _, skey = urllib.parse.unquote(source).lstrip("/").partition("/")
            stored = BUCKETS.get(sbucket, {}).get(skey)
            if stored is None:
                return 404, error_doc("NoSuchKey"), [("Content-Type", "application/xml")]
            body = stored[0]
            if self.headers.get("x-amz-metadata-directive", "COPY").upper() != "REPLACE":
                meta = stored[1]
        objects[key] = (body, meta, time.time())
        etag = hashlib.md5(body).hexdigest()
        if source:
            return 200, ('<?xml version="1.0" encoding="UTF-8"?><CopyObjectResult><LastModified>%s'
                         '</LastModified><ETag>&quot;%s&quot;</ETag></CopyObjectResult>'
                         % (isotime(time.time()), etag)).encode(), [("Content-Type", "application/xml")]
        return 200, b"", [("ETag", '"%s"' % etag)]

    def list_bucket(self, bucket, objects, query):
        first = lambda name: query.get(name, [""])[0]
        prefix, marker, delimiter = first("prefix"), first("marker"), first("delimiter")
        limit = int(first("max-keys") or 1000)
        entries, prefixes = [], []
        for key in sorted(objects):
            if not key.startswith(prefix) or key <= marker:
                continue
            rest = key[len(prefix):]
            if delimiter and delimiter in rest:
                common = prefix + rest.split(delimiter, 1)[0] + delimiter
                if common not in prefixes:
                    prefixes.append(common)
                continue
            data, _, mtime = objects[key]
            entries.append((key, len(data), hashlib.md5(data).hexdigest(), mtime))
        truncated = len(entries) > limit
        entries = entries[:limit]
        doc = listing_doc(bucket, entries, prefix, marker, delimiter, truncated,
                          entries[-1][0] if truncated else "")
        extra = "".join("<CommonPrefixes><Prefix>%s</Prefix></CommonPrefixes>" % escape(p)
                        for p in prefixes).encode()
        return doc.replace(b"</ListBucketResult>", extra + b"</ListBucketResult>")


class Server(socketserver.ThreadingMixIn, http.server.HTTPServer):
    daemon_threads = True
    allow_reuse_address = True


class Server6(Server):
    address_family = socket.AF_INET6


def watch_parent(pid):
    while True:
        try:
            os.kill(pid, 0)
        except OSError:
            os._exit(0)
        time.sleep(0.5)


def main():
    global ARGS
    parser = argparse.ArgumentParser()
    parser.add_argument("--port-file", required=True)
    parser.add_argument("--log", required=True)
    parser.add_argument("--rules", required=True)
    parser.add_argument("--port", type=int, default=0)
    parser.add_argument("--bucket", action="append", default=[])
    parser.add_argument("--parent", type=int)
    ARGS = parser.parse_args()
    if ARGS.parent:
        threading.Thread(target=watch_parent, args=(ARGS.parent,), daemon=True).start()
    for name in ARGS.bucket:
        BUCKETS[name] = {}
    v4 = Server(("127.0.0.1", ARGS.port), Handler)
    port = v4.server_address[1]
    servers = [v4]
    try:
        servers.append(Server6(("::1", port), Handler))
    except OSError:
        pass  # no IPv6 loopback here: *.localhost then resolves to 127.0.0.1 only
    for server in servers[1:]:
        threading.Thread(target=server.serve_forever, daemon=True).start()
    with open(ARGS.port_file + ".tmp", "w") as f:
        f.write(str(port))
    os.rename(ARGS.port_file + ".tmp", ARGS.port_file)
    try:
        v4.serve_forever()
    except KeyboardInterrupt:
        sys.exit(0)


if __name__ == "__main__":
    main()
