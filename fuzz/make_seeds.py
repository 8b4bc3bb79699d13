#!/usr/bin/env python3
"""Seed corpora of the fuzz targets.

    make_seeds.py --tests DIR OUT      seeds from the string literals of the unit tests
    make_seeds.py --corpus DIR OUT     seeds from the SIP torture corpus (index.json)

Seeds are written to OUT/<target>/ (targets: message, header, uri, name_address,
challenge, credentials), each file named by the SHA-1 of its bytes, so running the
script twice adds nothing. fuzz/seeds/ holds the seeds taken from the tests; the corpus
seeds are made at run time by scripts/ci-fuzz.sh and are not kept in the tree.

Every input is cut into the pieces each target reads: whole messages; one header line
each (folded lines kept together); request and bracketed URIs (twice: the first byte of
a uri seed selects the in-bracket flag); the values of address headers; the pair lists
after "Digest " of challenge and credentials headers.
"""
import argparse
import hashlib
import json
import os
import re
import sys

TARGETS = ("message", "header", "uri", "name_address", "challenge", "credentials")
MAX_SEED = 64 * 1024

ADDRESS_HEADERS = {"from", "f", "to", "t", "contact", "m", "route", "record-route", "refer-to", "r",
                   "referred-by", "b", "reply-to", "p-asserted-identity", "cc-diversion"}
CHALLENGE_HEADERS = {"www-authenticate", "proxy-authenticate"}
CREDENTIALS_HEADERS = {"authorization", "proxy-authorization"}
HEADER_LINE = re.compile(rb"^([!%'*+\-.0-9A-Z_`a-z~]+)[ \t]*:[ \t]*(.*)$", re.S)
START_LINE = re.compile(rb"^[!%'*+\-.0-9A-Z_`a-z~]+ [^ \r\n]+ SIP/\d+\.\d+\r?$|^SIP/\d+\.\d+ \d+ ")
URI_TEXT = re.compile(rb"(?:sips?|tel):[^\s<>\"]+", re.I)
BRACKETED = re.compile(rb"<([^<>\r\n]*)>")


class Seeds:
    def __init__(self, out):
        self.out = out
        self.count = {t: 0 for t in TARGETS}

    def add(self, target, data):
        if not data or len(data) > MAX_SEED:
            return
        folder = os.path.join(self.out, target)
        os.makedirs(folder, exist_ok=True)
        path = os.path.join(folder, hashlib.sha1(data).hexdigest())
        if not os.path.exists(path):
            with open(path, "wb") as f:
                f.write(data)
            self.count[target] += 1

    def uri(self, text):
        text = text.strip()
        if text:
            self.add("uri", b"\x00" + text)
            self.add("uri", b"\x01" + text)

    def digest(self, name, value):
        value = value.strip()
        if value[:7].lower() == b"digest ":
            value = value[7:].lstrip()
        target = "challenge" if name in CHALLENGE_HEADERS else "credentials"
        self.add(target, value)

    def header_line(self, line):
        """One logical header line, without its line end."""
        self.add("header", line + b"\r\n")
        match = HEADER_LINE.match(line)
        if not match:
            return
        name = match.group(1).lower().decode("latin-1")
        value = match.group(2)
        if name in ADDRESS_HEADERS:
            self.add("name_address", value.strip())
        if name in CHALLENGE_HEADERS or name in CREDENTIALS_HEADERS:
            self.digest(name, value)
        for inner in BRACKETED.findall(value):
            self.uri(inner)

    def message(self, data):
        """A whole message: itself, its start line's URI, and each header line."""
        self.add("message", data)
        head = data.split(b"\r\n\r\n", 1)[0] if b"\r\n\r\n" in data else data.split(b"\n\n", 1)[0]
        lines = re.split(rb"\r?\n", head)
        if lines and START_LINE.match(lines[0] + b"\r"):
            parts = lines[0].split(b" ")
            if len(parts) >= 3 and not parts[0].startswith(b"SIP/"):
                self.uri(parts[1])
        logical = []
        for line in lines[1:]:
            if line[:1] in (b" ", b"\t") and logical:
                logical[-1] += b"\r\n" + line
            elif line:
                logical.append(line)
        for line in logical:
            self.header_line(line)


# ---- string literals of the C++ tests ------------------------------------------------

ESCAPES = {"n": b"\n", "r": b"\r", "t": b"\t", "0": b"\0", "\\": b"\\", "\"": b"\"", "'": b"'",
           "a": b"\a", "b": b"\b", "f": b"\f", "v": b"\v", "?": b"?"}


def literals(source):
    """The string literals of a C++ source, adjacent ones joined, decoded to bytes."""
    out, i, n = [], 0, len(source)
    current = None
    while i < n:
        c = source[i]
        if source.startswith("//", i):
            i = source.find("\n", i)
            i = n if i < 0 else i
            continue
        if source.startswith("/*", i):
            i = source.find("*/", i + 2)
            i = n if i < 0 else i + 2
            continue
        if c == "'":
            j = i + 1
            while j < n and source[j] != "'":
                j += 2 if source[j] == "\\" else 1
            i = j + 1
            continue
        raw = re.match(r'(?:u8|u|U|L)?R"([^(\s]*)\(', source[i:i + 20])
        if raw and (i == 0 or not (source[i - 1].isalnum() or source[i - 1] == "_")):
            end = source.find(")" + raw.group(1) + '"', i + raw.end())
            if end < 0:
                break
            piece = source[i + raw.end():end].encode("utf-8")
            i = end + len(raw.group(1)) + 2
        elif c == '"':
            j, piece = i + 1, bytearray()
            while j < n and source[j] != '"':
                if source[j] == "\\":
                    e = source[j + 1]
                    if e == "x":
                        m = re.match(r"[0-9a-fA-F]+", source[j + 2:])
                        piece.append(int(m.group(0), 16) & 0xFF)
                        j += 2 + len(m.group(0))
                        continue
                    if e in "01234567":
                        m = re.match(r"[0-7]{1,3}", source[j + 1:])
                        piece.append(int(m.group(0), 8) & 0xFF)
                        j += 1 + len(m.group(0))
                        continue
                    piece += ESCAPES.get(e, e.encode("utf-8"))
                    j += 2
                else:
                    piece += source[j].encode("utf-8")
                    j += 1
            piece = bytes(piece)
            i = j + 1
        else:
            if not c.isspace() and current is not None:
                out.append(current)
                current = None
            i += 1
            continue
        current = piece if current is None else current + piece
    if current is not None:
        out.append(current)
    return out


def crlf(data):
    return re.sub(rb"(?<!\r)\n", b"\r\n", data)


def from_tests(seeds, folder):
    for root, _, files in os.walk(folder):
        for name in sorted(files):
            if not name.endswith((".cpp", ".h")):
                continue
            with open(os.path.join(root, name), encoding="utf-8", errors="replace") as f:
                source = f.read()
            for text in literals(source):
                classify(seeds, text)


def classify(seeds, text):
    if len(text) < 3:
        return
    wire = crlf(text)
    first = wire.split(b"\r\n", 1)[0]
    if b"\r\n" in wire and START_LINE.match(first + b"\r"):
        seeds.message(wire)
        return
    if b"\r\n" in wire.rstrip(b"\r\n") and HEADER_LINE.match(first):
        seeds.message(b"OPTIONS sip:a@b SIP/2.0\r\n" + wire)  # a header block of a test
        return
    line = wire.rstrip(b"\r\n")
    if HEADER_LINE.match(line) and not URI_TEXT.match(line):
        seeds.header_line(line)
        return
    if re.search(rb"\b(realm|nonce|username|response|qop)\s*=", line):
        stripped = line[7:].lstrip() if line[:7].lower() == b"digest " else line
        kind = "credentials" if re.search(rb"\b(username|response)\s*=", line) else "challenge"
        seeds.add(kind, stripped)
        return
    if b"<" in line and URI_TEXT.search(line):
        seeds.add("name_address", line)
        for inner in BRACKETED.findall(line):
            seeds.uri(inner)
        return
    if URI_TEXT.match(line.lstrip(b" <")):
        seeds.uri(line)
        seeds.add("name_address", line)


def from_corpus(seeds, folder):
    with open(os.path.join(folder, "index.json"), encoding="utf-8") as f:
        index = json.load(f)
    for entry in index:
        with open(os.path.join(folder, entry["file"]), "rb") as f:
            seeds.message(f.read())


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--tests", help="folder of the unit tests (tests/)")
    parser.add_argument("--corpus", help="folder of the torture corpus (with index.json)")
    parser.add_argument("out", help="output folder; seeds go to OUT/<target>/")
    args = parser.parse_args()
    if not args.tests and not args.corpus:
        parser.error("give --tests, --corpus or both")
    seeds = Seeds(args.out)
    if args.tests:
        from_tests(seeds, args.tests)
    if args.corpus:
        from_corpus(seeds, args.corpus)
    print("seeds added: " + ", ".join("%s %d" % (t, seeds.count[t]) for t in TARGETS), file=sys.stderr)


if __name__ == "__main__":
    main()
