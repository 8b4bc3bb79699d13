#!/usr/bin/env python3
"""Input sets of the differential driver.

    gen_inputs.py OUT [--count N] [--corpus DIR] [--seed S]

Writes OUT/<kind>.bin for the kinds message, header, uri, nameaddr, challenge and
credentials: records of a 4-byte little-endian length and the bytes. The originals come
from the fuzz seeds (fuzz/seeds), the torture corpus and bench/corpus, cut into the pieces
each entry point reads by fuzz/make_seeds.py (header lines, URIs, name-addresses, Digest
pair lists); random mutations of them fill each set up to N inputs. The same arguments
always give the same sets.
"""
import argparse
import os
import random
import struct
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.normpath(os.path.join(HERE, "..", ".."))
sys.path.insert(0, os.path.join(ROOT, "fuzz"))
import make_seeds  # noqa: E402

KINDS = {"message": "message", "header": "header", "uri": "uri", "nameaddr": "name_address",
         "challenge": "challenge", "credentials": "credentials"}
SPECIAL = b' \t\r\n\\"()<>@,;:/[]?={}%+*&#.-_~!\'0123456789aZ\x00\x7f\xff'


def dictionary():
    """The quoted words of fuzz/sip.dict."""
    words = []
    with open(os.path.join(ROOT, "fuzz", "sip.dict"), encoding="latin-1") as f:
        for line in f:
            line = line.strip()
            if '"' in line and not line.startswith("#"):
                body = line[line.index('"') + 1:line.rindex('"')]
                words.append(body.encode("latin-1").decode("unicode_escape").encode("latin-1"))
    return words or [b"sip:", b"SIP/2.0"]


def originals(kind, corpus):
    """The unmutated inputs of one kind, in a fixed order."""
    target = KINDS[kind]
    found = []
    with tempfile.TemporaryDirectory() as tmp:
        seeds = make_seeds.Seeds(tmp)
        if corpus and os.path.exists(os.path.join(corpus, "index.json")):
            make_seeds.from_corpus(seeds, corpus)
        bench = os.path.join(ROOT, "bench", "corpus")
        for name in sorted(os.listdir(bench)):
            with open(os.path.join(bench, name), "rb") as f:
                seeds.message(make_seeds.crlf(f.read()))
        for folder in (os.path.join(ROOT, "fuzz", "seeds", target), os.path.join(tmp, target)):
            if os.path.isdir(folder):
                for name in sorted(os.listdir(folder)):
                    with open(os.path.join(folder, name), "rb") as f:
                        data = f.read()
                    found.append(data[1:] if target == "uri" else data)  # uri seeds carry a flag byte
    unique = []
    seen = set()
    for data in found:
        if data not in seen:
            seen.add(data)
            unique.append(data)
    return unique


def mutate(rng, data, pool, words):
    data = bytearray(data)
    for _ in range(rng.randint(1, 4)):
        op = rng.randrange(8)
        pos = rng.randint(0, len(data))
        if op == 0:
            data[pos:pos] = bytes([rng.choice(SPECIAL)])
        elif op == 1 and data:
            del data[pos:pos + rng.randint(1, 8)]
        elif op == 2 and data:
            data[min(pos, len(data) - 1)] = rng.choice(SPECIAL)
        elif op == 3 and data:
            start = rng.randrange(len(data))
            data[pos:pos] = data[start:start + rng.randint(1, 16)]
        elif op == 4:
            other = rng.choice(pool)
            start = rng.randint(0, len(other))
            data[pos:] = other[start:start + rng.randint(0, 64)] + data[pos:]
        elif op == 5:
            data[pos:pos] = rng.choice(words)
        elif op == 6:
            del data[pos:]
        else:
            data[pos:pos] = bytes([rng.randrange(256)]) * rng.choice((1, 2, 40, 1100))
    return bytes(data)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("out")
    parser.add_argument("--count", type=int, default=100000)
    parser.add_argument("--corpus", default=os.path.join(ROOT, "..", "shared", "corpus"))
    parser.add_argument("--seed", type=int, default=1)
    args = parser.parse_args()
    os.makedirs(args.out, exist_ok=True)
    words = dictionary()
    for kind in KINDS:
        rng = random.Random("%d-%s" % (args.seed, kind))
        pool = originals(kind, args.corpus)
        inputs = list(pool[:args.count])
        while len(inputs) < args.count:
            inputs.append(mutate(rng, rng.choice(pool), pool, words))
        with open(os.path.join(args.out, kind + ".bin"), "wb") as f:
            for data in inputs:
                f.write(struct.pack("<I", len(data)) + data)
        print("%s: %d inputs (%d originals)" % (kind, len(inputs), len(pool)))


if __name__ == "__main__":
    main()
