#!/usr/bin/env python3
"""Seed captures of the capture fuzz target (fuzz_capture).

    make_capture_seeds.py OUT_DIR

Writes a few small captures, each file named by the SHA-1 of its bytes: UDP over Ethernet
and IPv4, UDP over Linux cooked and IPv6, a TCP stream with a message split across
segments and two messages in one segment, an IPv4 datagram in fragments, the same calls in
a pcapng file, and a raw-IP capture in big-endian pcap with nanosecond stamps.
"""
import hashlib
import os
import struct
import sys

INVITE = (b"INVITE sip:bob@b.example SIP/2.0\r\nVia: SIP/2.0/UDP 192.0.2.1:5070;branch=z9hG4bK1\r\n"
          b"From: <sip:alice@a.example>;tag=1\r\nTo: <sip:bob@b.example>\r\nCall-ID: c1@a.example\r\n"
          b"CSeq: 1 INVITE\r\nContent-Type: application/sdp\r\nContent-Length: 10\r\n\r\nv=0\r\ns=-\r\n")
OK = (b"SIP/2.0 200 OK\r\nVia: SIP/2.0/UDP 192.0.2.1:5070;branch=z9hG4bK1\r\nFrom: <sip:alice@a.example>;tag=1\r\n"
      b"To: <sip:bob@b.example>;tag=2\r\nCall-ID: c1@a.example\r\nCSeq: 1 INVITE\r\nContent-Length: 0\r\n\r\n")
BYE = INVITE.replace(b"INVITE", b"BYE").split(b"Content-Type")[0] + b"Content-Length: 0\r\n\r\n"

A4, B4 = bytes([192, 0, 2, 1]), bytes([192, 0, 2, 2])
A6, B6 = bytes.fromhex("20010db8000000000000000000000001"), bytes.fromhex("20010db8000000000000000000000002")


def udp(sport, dport, payload):
    return struct.pack(">HHHH", sport, dport, 8 + len(payload), 0) + payload


def tcp(sport, dport, seq, flags, payload):
    return struct.pack(">HHIIBBHHH", sport, dport, seq, 0, 0x50, flags, 65535, 0, 0) + payload


def ipv4(proto, payload, ident=1, offset=0, more=False, src=A4, dst=B4):
    frag = (0x2000 if more else 0) | (offset // 8)
    return struct.pack(">BBHHHBBH4s4s", 0x45, 0, 20 + len(payload), ident, frag, 64, proto, 0, src, dst) + payload


def ipv6(proto, payload, src=A6, dst=B6):
    return struct.pack(">IHBB16s16s", 0x60000000, len(payload), proto, 64, src, dst) + payload


def ether(ip):
    kind = b"\x86\xdd" if ip[0] >> 4 == 6 else b"\x08\x00"
    return b"\x02\x00\x00\x00\x00\x02\x02\x00\x00\x00\x00\x01" + kind + ip


def sll(ip):
    kind = b"\x86\xdd" if ip[0] >> 4 == 6 else b"\x08\x00"
    return b"\x00\x00\x00\x01\x00\x06\x02\x00\x00\x00\x00\x01\x00\x00" + kind


def pcap(link, frames, big=False, nano=False):
    order = ">" if big else "<"
    magic = 0xA1B23C4D if nano else 0xA1B2C3D4
    out = struct.pack(order + "IHHiIII", magic, 2, 4, 0, 0, 65535, link)
    for i, frame in enumerate(frames):
        out += struct.pack(order + "IIII", 1700000000, i * 1000, len(frame), len(frame)) + frame
    return out


def pcapng(link, frames):
    def block(kind, body):
        body += b"\0" * (-len(body) % 4)
        return struct.pack("<II", kind, len(body) + 12) + body + struct.pack("<I", len(body) + 12)
    out = block(0x0A0D0D0A, struct.pack("<IHHq", 0x1A2B3C4D, 1, 0, -1))
    out += block(1, struct.pack("<HHI", link, 0, 65535))
    for i, frame in enumerate(frames):
        stamp = 1700000000 * 1000000 + i * 1000
        out += block(6, struct.pack("<IIIII", 0, stamp >> 32, stamp & 0xFFFFFFFF, len(frame), len(frame)) + frame)
    return out


def seeds():
    calls = [ether(ipv4(17, udp(5070, 5060, INVITE))), ether(ipv4(17, udp(5060, 5070, OK))),
             ether(ipv4(17, udp(53, 53, b"\x12\x34 not sip")))]
    yield pcap(1, calls)
    yield pcapng(1, calls)
    yield pcap(113, [sll(ipv6(17, udp(5060, 5062, BYE))) + ipv6(17, udp(5060, 5062, BYE))])
    stream = INVITE + BYE
    yield pcap(1, [ether(ipv4(6, tcp(5070, 5060, 100, 0x02, b""))),
                   ether(ipv4(6, tcp(5070, 5060, 101, 0x18, stream[:60]))),
                   ether(ipv4(6, tcp(5070, 5060, 101, 0x18, stream[:60]))),
                   ether(ipv4(6, tcp(5070, 5060, 161, 0x18, stream[60:]))),
                   ether(ipv4(6, tcp(5070, 5060, 101 + len(stream), 0x11, b"")))])
    datagram = udp(5070, 5060, INVITE)
    yield pcap(101, [ipv4(17, datagram[200:], 7, 200, False), ipv4(17, datagram[:200], 7, 0, True)],
               big=True, nano=True)


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    os.makedirs(sys.argv[1], exist_ok=True)
    for data in seeds():
        with open(os.path.join(sys.argv[1], hashlib.sha1(data).hexdigest()), "wb") as f:
            f.write(data)


if __name__ == "__main__":
    main()
