#!/usr/bin/env python3
"""Compares the outputs of two differential runs record by record.

    compare.py KIND INPUTS OLD NEW [--excuse-reader-fixes]

Prints the number of records that are identical, excused and different, and the first
few differences with their inputs; exits 1 when any difference is not excused.

Assertion reports name their source line ("(KtSipRequest.cpp:271)"); line numbers are
masked before comparing, as edits elsewhere in a file move them.

--excuse-reader-fixes excuses the inputs whose reading was corrected on purpose after
09ebf7a, and only when their outputs differ:
  - a header line with a CR in its name (before the colon or the line's LF): the name
    used to be peeked up to that CR, so "C<CR>Seq" selected the class of "C"; it is now
    peeked up to the colon, CR included, and selects the class of that whole name (here
    none: an unknown header written "CSeq");
  - a header line that the old output refused with "Invalid header name" (white space
    before the name, a name folded across lines, a CR inside it): it now gives the header
    its peeked name selects, written under the name read from the whole line;
  - a request line whose URI scheme begins with "tel" but is not "tel" (telnet://x), when
    the old output holds "Upsupported Scheme": the tel reader now takes it.
"""
import re
import struct
import sys

TEL_PREFIXED = re.compile(rb"^[^ \r\n]+ [ <]*tel(?!:)", re.I)


ASSERTION_LINE = re.compile(rb"(\.(?:cpp|h)):\d+\)")


def records(path):
    with open(path, "rb") as f:
        data = f.read()
    data = ASSERTION_LINE.sub(rb"\1:N)", data)
    parts = re.split(rb"^#\d+\n", data, flags=re.M)
    return parts[1:]


def inputs(path):
    out = []
    with open(path, "rb") as f:
        data = f.read()
    i = 0
    while i + 4 <= len(data):
        (n,) = struct.unpack_from("<I", data, i)
        out.append(data[i + 4:i + 4 + n])
        i += 4 + n
    return out


def logical_lines(text):
    """The logical header lines of `text`, each with its physical lines joined as read."""
    lines = text.split(b"\n")
    out = []
    for line in lines:
        if line[:1] in (b" ", b"\t") and out:
            out[-1] += b"\n" + line
        else:
            out.append(line)
    return out


def name_of(line):
    """The bytes before the colon or LF of a logical line."""
    return re.split(rb"[:\n]", line, maxsplit=1)[0]


def excused(kind, text, old):
    """True when the difference of `text`'s records comes from a deliberate correction."""
    if b"Invalid header name" in old:
        return True
    if kind == "header":
        lines = [text]
    elif kind == "message":
        first, _, rest = text.partition(b"\n")
        if TEL_PREFIXED.match(first) and b"Upsupported Scheme" in old:
            return True
        lines = logical_lines(re.split(rb"\r?\n\r?\n", rest, maxsplit=1)[0])
    else:
        return False
    for line in lines:
        name = name_of(line)
        if b"\r" in name.rstrip(b" \t\r"):
            return True
    return False


def main():
    kind, inputs_path, old_path, new_path = sys.argv[1:5]
    excuse = "--excuse-reader-fixes" in sys.argv[5:]
    old, new, given = records(old_path), records(new_path), inputs(inputs_path)
    if len(old) != len(new) or len(old) != len(given):
        print("%s: record counts differ (inputs %d, old %d, new %d)" % (kind, len(given), len(old), len(new)))
        return 1
    same = excusedCount = 0
    different = []
    for i, (a, b) in enumerate(zip(old, new)):
        if a == b:
            same += 1
        elif excuse and excused(kind, given[i], a):
            excusedCount += 1
        else:
            different.append(i)
    print("%s: %d inputs, %d identical, %d excused, %d different" % (kind, len(given), same, excusedCount,
                                                                     len(different)))
    for i in different[:5]:
        print("--- input #%d: %r" % (i, given[i][:400]))
        print("old:\n" + old[i].decode("latin-1")[:1500])
        print("new:\n" + new[i].decode("latin-1")[:1500])
    return 1 if different else 0


if __name__ == "__main__":
    sys.exit(main())
