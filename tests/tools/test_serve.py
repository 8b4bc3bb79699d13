#!/usr/bin/env python3
"""ktsip serve as a peer sees it, on loopback.

    python3 tests/tools/test_serve.py KTSIP-BINARY

Each check starts its own server on free ports and plays one table of exchanges:
  datagrams      one datagram per kind of request, what comes back and what is counted
  invite         100, 180, 200 with an SDP answer, the 200 again; a CANCEL while it rings
  digest         challenge, accepted answers, replays, another uri, a repeated parameter,
                 a wrong password, a forged and an expired nonce
  tcp            framing by Content-Length, keep-alives, no Content-Length, oversized headers
  options        bad arguments and a busy port
  connections    a half-sent message, hundreds of idle connections, a descriptor limit
  amplification  64 KB datagrams of unreadable header lines: CPU time and log lines
  2xx            the 200 of an INVITE is sent again until the ACK
Prints PASS or FAIL per row and exits 1 when one failed. Bounded: every wait has a
timeout and the whole run is stopped after 180 s.
"""
import hashlib
import json
import os
import re
import resource
import signal
import socket
import subprocess
import sys
import tempfile
import time

BINARY = sys.argv[1] if len(sys.argv) > 1 else "build/tools/ktsip/ktsip"
# CPU budgets hold for the optimised build; a sanitizer build (KTSIP_INSTRUMENTED=1, set by
# CTest) runs the same code several times slower, so its budgets are ten times as large.
CPU_SCALE = 10 if os.environ.get("KTSIP_INSTRUMENTED") == "1" else 1
failures = []
servers = []  # every server started, so that none outlives a check that broke off


class Server:
    """`ktsip serve` on a free port; its standard error goes to a file."""

    def __init__(self, *args, descriptors=None):
        self.log = tempfile.NamedTemporaryFile(prefix="ktsip-serve-", suffix=".log")
        def limit():
            resource.setrlimit(resource.RLIMIT_NOFILE, (descriptors, descriptors))
        self.process = subprocess.Popen([BINARY, "serve", "--port", "0", "--json", *args], stdout=subprocess.PIPE,
                                        stderr=self.log, preexec_fn=limit if descriptors else None)
        servers.append(self)
        self.port = 0
        for _ in range(50):
            found = re.search(rb"listening on 127\.0\.0\.1:(\d+)", open(self.log.name, "rb").read())
            if found:
                self.port = int(found.group(1))
                break
            if self.process.poll() is not None:
                break
            time.sleep(0.1)

    def cpu(self):
        """Seconds of CPU the server has used."""
        fields = open(f"/proc/{self.process.pid}/stat").read().rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def log_lines(self):
        return open(self.log.name, "rb").read().count(b"\n")

    def stop(self):
        """Stops the server; returns the counts it printed (None when it printed none)."""
        self.process.terminate()
        try:
            out, _ = self.process.communicate(timeout=10)
        except subprocess.TimeoutExpired:
            self.process.kill()
            out, _ = self.process.communicate()
        if self.process.returncode != 0:  # a crash, a sanitizer's report, or no start at all
            tail = open(self.log.name, "rb").read()[-600:].decode("latin-1")
            check("server exits with status 0", False, f"status {self.process.returncode}: {tail}")
        try:
            return json.loads(out)
        except ValueError:
            return None


def check(name, ok, detail=""):
    print(("PASS " if ok else "FAIL ") + name + (f": {detail}" if detail else ""))
    if not ok:
        failures.append(name)


def request(method, call_id, extra="", body="", uri="sip:bob@127.0.0.1", length=True, line=None):
    text = (f"{line or f'{method} {uri} SIP/2.0'}\r\nVia: SIP/2.0/UDP 127.0.0.1:5099;branch=z9hG4bK-{call_id}\r\n"
            f"From: <sip:alice@127.0.0.1>;tag=f-{call_id}\r\nTo: <sip:bob@127.0.0.1>\r\nCall-ID: {call_id}\r\n"
            f"CSeq: 1 {method}\r\nMax-Forwards: 70\r\n{extra}")
    if length:
        text += f"Content-Length: {len(body)}\r\n"
    return (text + "\r\n" + body).encode()


def header(message, name):
    """The value of the first header `name` in `message` ("" when absent)."""
    found = re.search(f"\r\n{re.escape(name)}: ([^\r]*)", message)
    return found.group(1) if found else ""


def to_tag(message):
    found = re.search(r";tag=(.*)", header(message, "To"))
    return found.group(1) if found else ""


def counts_differ(actual, expected, path=""):
    """The leaves of `expected` whose value `actual` does not have."""
    out = []
    for key, value in expected.items():
        got = (actual or {}).get(key)
        if isinstance(value, dict):
            out += counts_differ(got, value, path + key + ".")
        elif got != value:
            out.append(f"{path}{key}={got}, not {value}")
    return out


def check_counts(name, server, expected):
    differ = counts_differ(server.stop(), expected)
    check(name + ": counts", not differ, ", ".join(differ))


def udp_socket(address="127.0.0.1"):
    s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    s.bind((address, 0))
    s.settimeout(2)
    return s


def receive(s, timeout=2.0):
    """The next datagram as text, or "" after `timeout` seconds."""
    s.settimeout(timeout)
    try:
        return s.recv(65536).decode("latin-1")
    except (socket.timeout, ConnectionError):
        return ""


def status(message):
    return message.split("\r\n", 1)[0]


def answer(server, message, address="127.0.0.1"):
    if not server.port:
        return "(no server)"
    s = udp_socket(address)
    s.sendto(message, ("127.0.0.1", server.port))
    reply = receive(s)
    s.close()
    return reply


def md5(text):
    return hashlib.md5(text.encode()).hexdigest()


def authorization(nonce, uri="sip:bob@127.0.0.1", nc=None, password="secret", extra=""):
    ha1 = md5(f"alice:hostile:{password}")
    ha2 = md5(f"REGISTER:{uri}")
    if nc is None:  # the RFC 2069 form, without qop
        digest = md5(f"{ha1}:{nonce}:{ha2}")
        tail = ""
    else:
        digest = md5(f"{ha1}:{nonce}:{nc:08x}:c0ffee:auth:{ha2}")
        tail = f",qop=auth,nc={nc:08x},cnonce=\"c0ffee\""
    return (f"Authorization: Digest username=\"alice\",realm=\"hostile\",nonce=\"{nonce}\",uri=\"{uri}\","
            f"response=\"{digest}\",algorithm=MD5{tail}{extra}\r\n")


def challenge(server, call_id):
    reply = answer(server, request("REGISTER", call_id, "Contact: <sip:alice@127.0.0.1:5099>\r\n"))
    found = re.search(r'nonce="([^"]*)"', reply)
    return found.group(1) if found else "", reply


def check_datagrams():
    """One datagram each; None means no answer. An OPTIONS probe sent after a silent case
    proves the server read the datagram and went on (its answer is the next to arrive)."""
    server = Server()
    s = udp_socket()
    long_uri = "sip:" + "a" * 1100 + "@127.0.0.1"
    rows = [  # name, datagram, status line, lines the answer holds
        ("options", request("OPTIONS", "o1"), "SIP/2.0 200 Ok",
         ["Allow: INVITE", "Allow: CANCEL", "Accept: application/sdp", "Supported:",
          f"Contact: <sip:ktsip@127.0.0.1:{server.port}>"]),
        ("bad version", request("INVITE", "v1", line="INVITE sip:bob@127.0.0.1 SIP/3.0"),
         "SIP/2.0 505 SIP Version not supported", []),
        ("unsupported scheme", request("OPTIONS", "s1", line="OPTIONS http://example.com/ SIP/2.0"),
         "SIP/2.0 416 Unsupported URI Scheme", []),
        ("request line too long", request("OPTIONS", "l1", line=f"OPTIONS {long_uri} SIP/2.0"),
         "SIP/2.0 414 Request-URI Too Large", []),
        ("CSeq method differs", request("BYE", "m1", line="OPTIONS sip:bob@127.0.0.1 SIP/2.0"),
         "SIP/2.0 400 Bad Request", []),
        ("unknown method", request("PUBLISH", "p1"), "SIP/2.0 501 Not Implemented", []),
        ("required extension", request("INFO", "r1", "Require: 100rel\r\n"), "SIP/2.0 420 Bad Extension", []),
        ("bye", request("BYE", "b1"), "SIP/2.0 200 Ok", []),
        ("message", request("MESSAGE", "g1", "Content-Type: text/plain\r\n", "hello"), "SIP/2.0 200 Ok", []),
        # Without users a REGISTER is accepted at once; the time granted is capped.
        ("register without users", request("REGISTER", "r2", "Contact: <sip:alice@127.0.0.1:5099>\r\n"
                                           "Expires: 99999\r\n"), "SIP/2.0 200 Ok", ["Expires: 3600"]),
        ("keep-alive", b"\r\n\r\n", None, []),
        ("empty datagram", b"", None, []),
        ("garbage", b"\x01\x02 not SIP at all", None, []),
        ("no headers to answer with", b"OPTIONS sip:bob@127.0.0.1 SIP/2.0\r\nVia: SIP/2.0/UDP 127.0.0.1:5099\r\n\r\n",
         None, []),
        ("ack", request("ACK", "a1"), None, []),
        ("a response", b"SIP/2.0 200 OK\r\nVia: SIP/2.0/UDP 127.0.0.1\r\nFrom: <sip:a@b>;tag=1\r\nTo: <sip:c@d>\r\n"
         b"Call-ID: x\r\nCSeq: 1 OPTIONS\r\nContent-Length: 0\r\n\r\n", None, []),
    ]
    for name, datagram, expected, lines in rows:
        s.sendto(datagram, ("127.0.0.1", server.port))
        if expected is None:
            s.sendto(request("OPTIONS", "probe"), ("127.0.0.1", server.port))
        reply = receive(s)
        if expected is None:
            check(f"datagrams: {name} goes unanswered", header(reply, "Call-ID") == "probe", status(reply))
            continue
        # Answers go back with the request's identifying headers, and a To tag of the server.
        missing = [line for line in lines if "\r\n" + line not in reply]
        check(f"datagrams: {name}", status(reply) == expected and "127.0.0.1:5099" in header(reply, "Via")
              and to_tag(reply) and not missing, f"{status(reply)}, missing {missing}")
    s.close()
    # Unreadable: the empty datagram; unanswerable: garbage, no headers; OPTIONS: 4 rows and 6 probes.
    check_counts("datagrams", server, {"keep_alives": 1, "dropped_by_reason": {"unreadable": 1, "unanswerable": 2},
                                       "received_responses": {"200": 1}, "requests": {"OPTIONS": 10, "ACK": 1},
                                       "responses": {"505": 1, "416": 1, "414": 1}})


def check_invite():
    """100 without a tag, 180 and 200 with one same tag, the 200 with an SDP answer after the
    ring time; a retransmitted INVITE gets the final answer again with the same tag. A CANCEL
    while it rings gets 200, and the INVITE 487 instead of 200."""
    server = Server("--ring-ms", "300", "--threads", "3")
    s = udp_socket()
    to = ("127.0.0.1", server.port)
    offer = ("v=0\r\no=- 1 1 IN IP4 127.0.0.1\r\ns=-\r\nc=IN IP4 127.0.0.1\r\nt=0 0\r\n"
             "m=audio 4000 RTP/AVP 8 0\r\na=rtpmap:8 PCMA/8000\r\n")
    invite = request("INVITE", "i1", "Contact: <sip:alice@127.0.0.1:5099>\r\nContent-Type: application/sdp\r\n", offer)
    s.sendto(invite, to)
    trying, ringing, ok = receive(s), receive(s), receive(s, 1.5)
    s.sendto(request("ACK", "i1"), to)  # else the 200 is sent again
    s.sendto(invite, to)
    again = receive(s)
    s.sendto(request("INVITE", "i2"), to)
    trying2, ringing2 = receive(s), receive(s)
    s.sendto(request("CANCEL", "i2"), to)
    cancelled, terminated, late = receive(s), receive(s), receive(s, 0.6)
    s.close()
    server.stop()
    rows = [  # name, what came, what was expected
        ("100 without a tag", (status(trying), to_tag(trying)), ("SIP/2.0 100 Trying", "")),
        ("180 with a tag", (status(ringing), bool(to_tag(ringing))), ("SIP/2.0 180 Ringing", True)),
        ("200 with the same tag", (status(ok), to_tag(ok)), ("SIP/2.0 200 Ok", to_tag(ringing))),
        ("200 with an SDP answer", (header(ok, "Content-Type"), "\r\nm=audio 9 RTP/AVP 8\r\na=rtpmap:8 PCMA/8000\r\n"
                                    in ok), ("application/sdp", True)),
        ("retransmitted INVITE gets the 200 again", (status(again), to_tag(again)), ("SIP/2.0 200 Ok", to_tag(ok))),
        ("second INVITE rings", (status(trying2), status(ringing2)), ("SIP/2.0 100 Trying", "SIP/2.0 180 Ringing")),
        ("CANCEL gets 200", (status(cancelled), "CANCEL" in header(cancelled, "CSeq")), ("SIP/2.0 200 Ok", True)),
        ("the INVITE gets 487", (status(terminated), "INVITE" in header(terminated, "CSeq"), to_tag(terminated)),
         ("SIP/2.0 487 Transaction Cancelled", True, to_tag(ringing2))),
        ("no 200 once the ring time has passed", late, ""),
    ]
    for name, got, expected in rows:
        check("invite: " + name, got == expected, f"{got}")


def check_digest():
    server = Server("--user", "alice:secret", "--realm", "hostile", "--threads", "3")
    nonce, first = challenge(server, "d1")
    check("digest: a REGISTER is challenged", status(first) == "SIP/2.0 401 Unauthorized" and
          'realm="hostile"' in first and 'qop="auth"' in first, header(first, "WWW-Authenticate"))
    contact = "Contact: <sip:alice@127.0.0.1:5099>;expires=120\r\n"
    without, accepted = authorization(nonce), authorization(nonce, nc=1)
    forged = authorization("0123456789abcdef", nc=1)
    rows = [  # name, Authorization header, status wanted (None: any but 200), from another address
        ("an answer without qop, though the challenge asked for it", without, None, False),
        ("a fresh answer with qop=auth", accepted, "200", False),
        # Both headers again, from another port and address, another Call-ID, another Contact.
        ("a replayed header without qop", without, None, True),
        ("a replayed header", accepted, None, True),
        ("the same nonce count again", accepted, "401", False),
        ("the next nonce count", authorization(nonce, nc=2), "200", False),
        ("a uri not the Request-URI", authorization(nonce, uri="sip:evil.example", nc=3), None, False),
        ("a repeated parameter", authorization(nonce, nc=4, extra=",nc=00000004"), None, False),
        ("a wrong password", authorization(nonce, nc=5, password="guess"), "403", False),
        ("a nonce never issued", forged, "401", False),
    ]
    for name, credentials, wanted, elsewhere in rows:
        if elsewhere:
            replies = [answer(server, request("REGISTER", f"evil{i}", "Contact: <sip:mallory@127.0.0.9:6666>\r\n"
                                              + credentials), address="127.0.0.9") for i in range(5)]
        else:
            replies = [answer(server, request("REGISTER", "d1", contact + credentials))]
        got = " / ".join(sorted({status(r) for r in replies}))
        if wanted is None:
            ok = bool(got) and " 200 " not in got + " "
        else:
            ok = got.startswith(f"SIP/2.0 {wanted} ")
        if wanted == "200":  # the binding as registered
            ok = ok and header(replies[0], "Contact") == "<sip:alice@127.0.0.1:5099>;expires=120" and \
                header(replies[0], "Expires") == "120"
        if wanted == "401":  # a new challenge, marked stale
            ok = ok and "stale=true" in header(replies[0], "WWW-Authenticate")
        check("digest: " + name + (" is accepted" if wanted == "200" else " is refused"), ok, got)
    server.stop()
    # An expired nonce: a new challenge, marked stale.
    server = Server("--user", "alice:secret", "--realm", "hostile", "--nonce-lifetime", "1")
    nonce, _ = challenge(server, "d2")
    time.sleep(1.5)
    reply = answer(server, request("REGISTER", "d2", contact + authorization(nonce, nc=1)))
    server.stop()
    check("digest: an expired nonce is challenged again with stale=true",
          status(reply).startswith("SIP/2.0 401") and re.search(r"stale=\"?true", reply, re.I) is not None,
          status(reply))


def tcp_receive(s, count, timeout):
    """What arrives until `count` answers have arrived, the peer closes, or `timeout` passes."""
    data, end = "", time.monotonic() + timeout
    while data.count("SIP/2.0 ") < count and time.monotonic() < end:
        s.settimeout(max(0.01, end - time.monotonic()))
        try:
            chunk = s.recv(65536)
        except (socket.timeout, ConnectionError):
            break
        if not chunk:
            break
        data += chunk.decode("latin-1")
    return data


def check_tcp():
    """Framing by Content-Length on TCP connections."""
    server = Server("--transport", "tcp", "--threads", "3")
    connect = lambda: socket.create_connection(("127.0.0.1", server.port), timeout=3)
    s = connect()
    s.sendall(request("MESSAGE", "t1", "Content-Type: text/plain\r\n", "one") + request("OPTIONS", "t2"))
    both = tcp_receive(s, 2, 2)
    check("tcp: two messages in one write, answered in order", both.count("SIP/2.0 ") == 2 and
          both.find("Call-ID: t1") < both.find("Call-ID: t2"), f"{both.count('SIP/2.0 ')} answers")
    s.close()
    message = request("MESSAGE", "t3", "Content-Type: text/plain\r\n", "a body of some length")
    for where, split in (("the header section", 20), ("the body", len(message) - 5)):
        s = connect()
        s.sendall(message[:split])
        early = tcp_receive(s, 1, 0.3)  # nothing before the message is complete
        s.sendall(message[split:])
        reply = tcp_receive(s, 1, 2)
        s.close()
        check(f"tcp: one message split inside {where}", early == "" and status(reply) == "SIP/2.0 200 Ok" and
              reply.count("SIP/2.0 ") == 1, f"{early!r}, {status(reply)}")
    # A keep-alive, then a message without Content-Length: 400, and the stream is closed.
    s = connect()
    s.sendall(b"\r\n\r\n")
    pong = tcp_receive(s, 1, 0.3)
    s.sendall(request("OPTIONS", "t4", length=False) + b"hello" + request("OPTIONS", "t5"))
    answers = tcp_receive(s, 2, 1)
    closed = closed_within(s, 2)
    s.close()
    check("tcp: a keep-alive is answered with CR LF", pong == "\r\n", repr(pong))
    check("tcp: a message without Content-Length gets 400 and the connection closes",
          status(answers) == "SIP/2.0 400 Bad Request" and answers.count("SIP/2.0 ") == 1 and closed,
          f"{status(answers)}, {'closed' if closed else 'open'}")
    s = connect()
    s.sendall(b"OPTIONS sip:bob@127.0.0.1 SIP/2.0\r\nX-Filler: " + b"x" * 70000)
    check("tcp: a header section larger than the connection's buffer closes it", closed_within(s, 2))
    s.close()
    check_counts("tcp", server, {"dropped_by_reason": {"too-large": 1, "no-content-length": 1}, "keep_alives": 1,
                                 "connections": 5})


def check_options():
    def run(args):
        return subprocess.run([BINARY, "serve", *args.split()], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                              timeout=10).returncode
    for args in ("--port 70000", "--transport sctp", "--user nocolon", "--threads 0", "--bind localhost",
                 "--ring-ms x", "extra-operand", "--max-connections 0", "--message-timeout x",
                 "--max-connections-per-address -1"):
        got = run(args)
        check(f"options: {args} is a usage error", got == 2, f"status {got}")
    held = udp_socket()  # a port that another socket holds is a failure of the run
    got = run(f"--transport udp --port {held.getsockname()[1]}")
    held.close()
    check("options: a busy port fails the run", got == 1, f"status {got}")


def options_over_tcp(port, source="127.0.0.1", timeout=3.0):
    """The status line answering one OPTIONS on a new TCP connection from `source`."""
    try:
        s = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
        s.bind((source, 0))
        s.settimeout(timeout)
        s.connect(("127.0.0.1", port))
        s.sendall(request("OPTIONS", "probe-" + source))
        reply = s.recv(65536).decode("latin-1")
        s.close()
        return status(reply) or "(closed)"
    except OSError as e:
        return f"({e.strerror or e})"


def closed_within(s, seconds):
    s.settimeout(0.2)
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        try:
            if s.recv(4096) == b"":
                return True
        except socket.timeout:
            continue
        except OSError:
            return True
    return False


def open_connections(port, count, timeout):
    """Up to `count` idle TCP connections to `port`: as many as could be opened."""
    opened = []
    for _ in range(count):
        try:
            opened.append(socket.create_connection(("127.0.0.1", port), timeout=timeout))
        except OSError:
            break
    return opened


def check_connections():
    server = Server("--transport", "tcp")
    # A message begun and never finished: closed within seconds, not minutes.
    slow = socket.create_connection(("127.0.0.1", server.port))
    slow.sendall(b"OPTIONS sip:bob@127.0.0.1 SIP/2.0\r\nVia: SIP/2.0/TCP 127.0.0.1:5099\r\n")
    started = time.monotonic()
    closed = closed_within(slow, 9)
    check("connections: a half-sent message is cut off", closed, f"after {time.monotonic() - started:.1f} s"
          if closed else "still open after 9 s")
    slow.close()
    # 600 idle connections from one address must not lock out the others.
    idle = open_connections(server.port, 600, 2)
    time.sleep(0.3)
    other, same = options_over_tcp(server.port, "127.0.0.2"), options_over_tcp(server.port, "127.0.0.1")
    for s in idle:
        s.close()
    server.stop()
    check("connections: another address is served past 600 idle connections", other.startswith("SIP/2.0 200"), other)
    check("connections: a new connection from the same address is served", same.startswith("SIP/2.0 200"), same)
    # Out of descriptors: no busy loop, and new peers are still served.
    server = Server("--transport", "tcp", descriptors=64)
    held = open_connections(server.port, 100, 1)
    time.sleep(0.2)
    before = server.cpu()
    time.sleep(1.5)
    used = server.cpu() - before
    served = options_over_tcp(server.port, "127.0.0.3")
    for s in held:
        s.close()
    server.stop()
    check("connections: 100 connections against 64 descriptors cost no busy loop", used < 0.3,
          f"{used:.2f} s of CPU in 1.5 s")
    check("connections: a new peer is served at the descriptor limit", served.startswith("SIP/2.0 200"), served)
    # A full server makes room by closing the connection idle for longest.
    server = Server("--transport", "tcp", "--max-connections", "20", "--max-connections-per-address", "15")
    if not server.port:
        server.stop()
        return check("connections: a full server closes its oldest idle connection for a newcomer", False, "no server")
    idle = [socket.create_connection(("127.0.0.1", server.port), timeout=2) for _ in range(15)]
    time.sleep(1.2)
    idle += [socket.create_connection(("127.0.0.1", server.port), timeout=2, source_address=("127.0.0.2", 0))
             for _ in range(5)]
    time.sleep(1.2)
    newcomer = options_over_tcp(server.port, "127.0.0.3")
    oldest_closed = closed_within(idle[0], 1)
    for s in idle:
        s.close()
    server.stop()
    check("connections: a full server closes its oldest idle connection for a newcomer",
          newcomer.startswith("SIP/2.0 200") and oldest_closed,
          f"{newcomer}, oldest {'closed' if oldest_closed else 'open'}")


def check_amplification():
    server = Server("--transport", "udp")
    head = request("OPTIONS", "a1", length=False)[:-2]
    # Lines without a colon to the end of the datagram; and as many as a header section may
    # hold, followed by a body.
    datagrams = [(head + b"x\r\n" * 21000)[:65000],
                 head + b"x\r\n" * 500 + b"Content-Length: 58000\r\n\r\n" + b"b" * 58000]
    s = udp_socket()
    log_before, cpu_before = server.log_lines(), server.cpu()
    for i in range(20):
        s.sendto(datagrams[i % 2], ("127.0.0.1", server.port))
        time.sleep(0.05)
    time.sleep(1.5)
    per_datagram = (server.cpu() - cpu_before) / 20 * 1000
    logged = server.log_lines() - log_before
    s.sendto(request("OPTIONS", "after"), ("127.0.0.1", server.port))
    probe = ""
    for _ in range(30):  # answers to the flood, if any, come first
        probe = receive(s)
        if not probe or "Call-ID: after" in probe:
            break
    server.stop()
    check(f"amplification: a 64 KB datagram of unreadable lines costs under {20 * CPU_SCALE} ms",
          per_datagram < 20 * CPU_SCALE,
          f"{per_datagram:.1f} ms of CPU each")
    check("amplification: at most a few log lines per datagram", logged <= 5 * 20, f"{logged} lines for 20 datagrams")
    check("amplification: an OPTIONS after the flood is answered", "Call-ID: after" in probe, status(probe))


def check_2xx():
    server = Server("--transport", "udp", "--ring-ms", "50")
    s = udp_socket()
    invite = request("INVITE", "x1", "Contact: <sip:alice@127.0.0.1:5099>\r\n")
    s.sendto(invite, ("127.0.0.1", server.port))
    oks = 0
    end = time.monotonic() + 2.3  # the 200, then again after 0.5 s and 1.5 s
    while time.monotonic() < end:
        oks += status(receive(s, max(0.05, end - time.monotonic()))).startswith("SIP/2.0 200")
    s.sendto(request("ACK", "x1"), ("127.0.0.1", server.port))
    later = 0
    end = time.monotonic() + 2.5
    while time.monotonic() < end:
        later += status(receive(s, max(0.05, end - time.monotonic()))).startswith("SIP/2.0 200")
    server.stop()
    check("2xx: the 200 is sent again while no ACK comes", oks >= 3, f"{oks} times in 2.3 s")
    check("2xx: the ACK stops it", later == 0, f"{later} more after the ACK")


def main():
    signal.alarm(180)
    if not os.access(BINARY, os.X_OK):
        print(f"no ktsip binary at {BINARY}")
        return 2
    for run in (check_datagrams, check_invite, check_digest, check_tcp, check_options, check_connections,
                check_amplification, check_2xx):
        try:
            run()
        except Exception as e:  # a server that did not start, or a peer that broke off
            check(run.__name__, False, repr(e))
        for server in servers:
            if server.process.poll() is None:
                server.stop()
    print(f"{len(failures)} check(s) failed" if failures else "all passed")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
