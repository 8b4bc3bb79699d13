#!/usr/bin/env python3
"""ktsip serve against a hostile peer, on loopback.

    python3 tests/tools/serve_hostile.py KTSIP-BINARY

Each check starts its own server on free ports, plays one kind of abuse against it and
looks at what a well-behaved peer still gets:
  digest         answers the challenge did not ask for, replays, another uri, a repeated
                 parameter, an expired nonce
  connections    a half-sent message, hundreds of idle connections, a descriptor limit
  amplification  64 KB datagrams of unreadable header lines: CPU time and log lines
  2xx            the 200 of an INVITE is sent again until the ACK
  stream-length  a TCP message without Content-Length
Prints PASS or FAIL per check and exits 1 when one failed. Bounded: every wait has a
timeout and the whole run is stopped after 150 s.
"""
import hashlib
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


class Server:
    """`ktsip serve` on a free port; its standard error goes to a file."""

    def __init__(self, *args, descriptors=None):
        self.log = tempfile.NamedTemporaryFile(prefix="ktsip-hostile-", suffix=".log")
        def limit():
            resource.setrlimit(resource.RLIMIT_NOFILE, (descriptors, descriptors))
        self.process = subprocess.Popen([BINARY, "serve", "--port", "0", *args], stdout=subprocess.PIPE,
                                        stderr=self.log, preexec_fn=limit if descriptors else None)
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
        self.process.terminate()
        try:
            self.process.communicate(timeout=10)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.communicate()
        if self.process.returncode != 0:  # a crash, a sanitizer's report, or no start at all
            tail = open(self.log.name, "rb").read()[-600:].decode("latin-1")
            check("server exits with status 0", False, f"status {self.process.returncode}: {tail}")


def check(name, ok, detail=""):
    print(("PASS " if ok else "FAIL ") + name + (f": {detail}" if detail else ""))
    if not ok:
        failures.append(name)


def request(method, call_id, extra="", body="", uri="sip:bob@127.0.0.1", length=True):
    text = (f"{method} {uri} SIP/2.0\r\nVia: SIP/2.0/UDP 127.0.0.1:5099;branch=z9hG4bK-{call_id}\r\n"
            f"From: <sip:alice@127.0.0.1>;tag=f-{call_id}\r\nTo: <sip:bob@127.0.0.1>\r\nCall-ID: {call_id}\r\n"
            f"CSeq: 1 {method}\r\nMax-Forwards: 70\r\n{extra}")
    if length:
        text += f"Content-Length: {len(body)}\r\n"
    return (text + "\r\n" + body).encode()


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


def check_digest():
    server = Server("--user", "alice:secret", "--realm", "hostile")
    nonce, _ = challenge(server, "d1")
    contact = "Contact: <sip:alice@127.0.0.1:5099>\r\n"
    rows = []
    # An answer without qop, though the challenge asked for qop="auth".
    without = authorization(nonce)
    rows.append(("answer without qop", status(answer(server, request("REGISTER", "d1", contact + without)))))
    accepted = authorization(nonce, nc=1)
    first = status(answer(server, request("REGISTER", "d1", contact + accepted)))
    # Both headers again, from another port and address, another Call-ID, another Contact.
    for name, header in (("replayed header without qop", without), ("replayed header", accepted)):
        replays = [status(answer(server, request("REGISTER", f"evil{i}", "Contact: <sip:mallory@127.0.0.9:6666>\r\n"
                                                 + header), address="127.0.0.9")) for i in range(5)]
        rows.append((name, " / ".join(sorted(set(replays)))))
    rows.append(("uri not the Request-URI", status(answer(
        server, request("REGISTER", "d1", contact + authorization(nonce, uri="sip:evil.example", nc=2))))))
    rows.append(("repeated parameter", status(answer(
        server, request("REGISTER", "d1", contact + authorization(nonce, nc=3, extra=",nc=00000003"))))))
    server.stop()
    check("digest: a fresh answer with qop=auth is accepted", first.startswith("SIP/2.0 200"), first)
    for name, got in rows:
        check("digest: " + name + " is refused", bool(got) and " 200 " not in got + " ", got)
    # An expired nonce: a new challenge, marked stale.
    server = Server("--user", "alice:secret", "--realm", "hostile", "--nonce-lifetime", "1")
    nonce, _ = challenge(server, "d2")
    time.sleep(1.5)
    reply = answer(server, request("REGISTER", "d2", contact + authorization(nonce, nc=1)))
    server.stop()
    check("digest: an expired nonce is challenged again with stale=true",
          status(reply).startswith("SIP/2.0 401") and re.search(r"stale=\"?true", reply, re.I) is not None,
          status(reply))


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
    idle = []
    for _ in range(600):
        try:
            idle.append(socket.create_connection(("127.0.0.1", server.port), timeout=2))
        except OSError:
            break
    time.sleep(0.3)
    other, same = options_over_tcp(server.port, "127.0.0.2"), options_over_tcp(server.port, "127.0.0.1")
    for s in idle:
        s.close()
    server.stop()
    check("connections: another address is served past 600 idle connections", other.startswith("SIP/2.0 200"), other)
    check("connections: a new connection from the same address is served", same.startswith("SIP/2.0 200"), same)
    # Out of descriptors: no busy loop, and new peers are still served.
    server = Server("--transport", "tcp", descriptors=64)
    held = []
    for _ in range(100):
        try:
            held.append(socket.create_connection(("127.0.0.1", server.port), timeout=1))
        except OSError:
            break
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


def check_stream_length():
    server = Server("--transport", "tcp")
    s = socket.create_connection(("127.0.0.1", server.port), timeout=3)
    s.sendall(request("OPTIONS", "n1", length=False) + b"hello" + request("OPTIONS", "n2"))
    data = b""
    closed = False
    end = time.monotonic() + 3
    while time.monotonic() < end:
        try:
            chunk = s.recv(65536)
        except socket.timeout:
            break
        except OSError:
            closed = True
            break
        if not chunk:
            closed = True
            break
        data += chunk
    s.close()
    server.stop()
    answers = [status(m) for m in data.decode("latin-1").split("\r\n\r\n") if m.startswith("SIP/2.0")]
    check("stream-length: a message without Content-Length gets 400 and the connection closes",
          answers == ["SIP/2.0 400 Bad Request"] and closed, f"{answers}, {'closed' if closed else 'open'}")


def main():
    signal.alarm(150)
    if not os.access(BINARY, os.X_OK):
        print(f"no ktsip binary at {BINARY}")
        return 2
    for run in (check_digest, check_connections, check_amplification, check_2xx, check_stream_length):
        try:
            run()
        except Exception as e:  # a server that did not start, or a peer that broke off
            check(run.__name__, False, repr(e))
    print(f"{len(failures)} check(s) failed" if failures else "all passed")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
