#!/usr/bin/env python3
"""Reads the outputs of bench/profile/breakdown.sh and prints per-message figures.

  breakdown.py events SHORT.out LONG.out MESSAGES
      callgrind totals of the long run minus the short run, per message (the difference
      leaves out start-up and the first passes, which fill the pools and the caches)
  breakdown.py locked SHORT.out LONG.out MESSAGES
      locked read-modify-write instructions executed per message (lock prefix, or xchg with
      a memory operand), from callgrind's per-instruction counts and objdump of each object,
      with the functions that execute them
  breakdown.py files SHORT.out LONG.out MESSAGES
      instructions, L1 misses and mispredicted branches per message by the source file the
      code comes from (inlined code counts for the file it is written in: KtHandle.h for the
      reference counts, TorvaneMemAllocator.h for the pools)
  breakdown.py lines LACKEY.log MARKER SKIP
      distinct 64-byte lines of code and of data touched per message, from a lackey memory
      trace; a store to MARKER starts a message; the first SKIP messages are left out
"""
import collections
import re
import subprocess
import sys

LINE = 64


def callgrind_totals(path):
    with open(path) as f:
        for line in f:
            if line.startswith("events:"):
                names = line.split()[1:]
            elif line.startswith("totals:"):
                return dict(zip(names, map(int, line.split()[1:])))
    raise SystemExit(f"breakdown.py: no totals in {path}")


def per_message(short, long_, messages):
    a, b = callgrind_totals(short), callgrind_totals(long_)
    return {k: (b[k] - a.get(k, 0)) / messages for k in b}


def events(short, long_, messages):
    e = per_message(short, long_, messages)
    get = lambda k: e.get(k, 0.0)
    l1 = get("I1mr") + get("D1mr") + get("D1mw")
    ll = get("ILmr") + get("DLmr") + get("DLmw")
    bm = get("Bcm") + get("Bim")
    rows = [
        ("instructions (Ir)", get("Ir")),
        ("data reads / writes", f"{get('Dr'):.0f} / {get('Dw'):.0f}"),
        ("L1 misses: code / data read / data write", f"{get('I1mr'):.1f} / {get('D1mr'):.1f} / {get('D1mw'):.1f}"),
        ("last-level misses", ll),
        ("conditional branches / mispredicted", f"{get('Bc'):.0f} / {get('Bcm'):.1f}"),
        ("indirect branches / mispredicted", f"{get('Bi'):.0f} / {get('Bim'):.1f}"),
        ("cycle estimate (Ir + 10 L1m + 100 LLm + 10 Bm)", get("Ir") + 10 * l1 + 100 * ll + 10 * bm),
    ]
    for name, value in rows:
        print(f"| {name} | {value if isinstance(value, str) else f'{value:,.1f}'} |")


def instruction_counts(path):
    """Ir per (object, address) from a callgrind file written with --dump-instr=yes."""
    names = {"ob": {}, "fn": {}}
    counts = collections.Counter()
    where = {}
    ob = fn = None
    addr = 0
    skip_next = False
    ref = re.compile(r"^\((\d+)\)(?: (.*))?$")

    def named(kind, rest):
        m = ref.match(rest)
        if not m:
            return rest
        if m.group(2) is not None:
            names[kind][m.group(1)] = m.group(2)
        return names[kind].get(m.group(1), rest)

    with open(path) as f:
        for line in f:
            c = line[0]
            if c.isalpha():
                key, _, rest = line.rstrip("\n").partition("=")
                if key == "ob":
                    ob = named("ob", rest)
                elif key == "fn":
                    fn = named("fn", rest)
                elif key in ("cob",):
                    named("ob", rest)
                elif key == "cfn":
                    named("fn", rest)
                elif key == "calls":
                    skip_next = True
                continue
            if c not in "0123456789+-*":
                continue
            parts = line.split()
            p = parts[0]
            if p == "*":
                pass
            elif p[0] in "+-":
                addr += int(p, 0)
            else:
                addr = int(p, 16)
            if skip_next:
                skip_next = False
                continue
            if len(parts) > 2:
                counts[(ob, addr)] += int(parts[2])
                where[(ob, addr)] = fn
    return counts, where


def locked_addresses(obj):
    out = subprocess.run(["objdump", "-d", "--no-show-raw-insn", obj], capture_output=True, text=True).stdout
    found = {}
    for line in out.splitlines():
        m = re.match(r"^\s*([0-9a-f]+):\s+(.*)$", line)
        if not m:
            continue
        text = m.group(2).strip()
        if text.startswith("lock ") or (text.startswith("xchg") and "(" in text):
            found[int(m.group(1), 16)] = text
    return found


def locked(short, long_, messages):
    a, _ = instruction_counts(short)
    b, where = instruction_counts(long_)
    by_fn = collections.Counter()
    total = 0
    for ob in sorted({o for o, _ in b if o}):
        for addr, text in locked_addresses(ob).items():
            n = b.get((ob, addr), 0) - a.get((ob, addr), 0)
            if n > 0:
                total += n
                op = text.split()[1] if text.startswith("lock") else "xchg"
                by_fn[(where[(ob, addr)], op)] += n
    print(f"| locked instructions | {total / messages:.1f} |")
    for (fn, op), n in by_fn.most_common(12):
        print(f"| - {fn} ({op}) | {n / messages:.1f} |")


def by_file(path):
    out = subprocess.run(["callgrind_annotate", "--auto=no", "--threshold=100", path], capture_output=True, text=True).stdout
    names = None
    sums = collections.defaultdict(lambda: collections.Counter())
    for line in out.splitlines():
        if line.startswith("Events shown:"):
            names = line.split()[2:]
            continue
        tokens = re.sub(r"\([^)]*\)", "", line).split()
        if not names or len(tokens) <= len(names) or not re.match(r"^[0-9,]+$", tokens[0]):
            continue
        where = " ".join(tokens[len(names):])
        if "PROGRAM TOTALS" in where or ":" not in where:
            continue
        source = where.split(":", 1)[0].rsplit("/", 1)[-1]
        for name, v in zip(names, tokens):
            sums[source][name] += 0 if v == "." else int(v.replace(",", ""))
    return sums


def files(short, long_, messages):
    a, b = by_file(short), by_file(long_)
    rows = []
    for source, c in b.items():
        d = {k: (c[k] - a.get(source, {}).get(k, 0)) / messages for k in c}
        rows.append((d.get("Ir", 0), source, d))
    total = sum(r[0] for r in rows)
    print("| source file | instructions | share | L1 misses (code + data) | mispredicted branches |")
    print("|-------------|-------------:|------:|------------------------:|----------------------:|")
    print(f"| all | {total:,.0f} | 100% | | |")
    for ir, source, d in sorted(rows, reverse=True)[:14]:
        l1 = d.get("I1mr", 0) + d.get("D1mr", 0) + d.get("D1mw", 0)
        bm = d.get("Bcm", 0) + d.get("Bim", 0)
        print(f"| {source} | {ir:,.0f} | {100 * ir / total:.1f}% | {l1:.1f} | {bm:.1f} |")


def lines(log, marker, skip):
    marker = int(marker, 16) & ~(LINE - 1)
    code, data = set(), set()
    seen = 0
    totals = [0, 0]
    measured = 0
    with open(log, errors="replace") as f:
        for line in f:
            if len(line) < 4 or line[0] not in " I":
                continue
            kind = line[0:2].strip()
            if kind not in ("I", "L", "S", "M"):
                continue
            at, _, size = line[3:].strip().partition(",")
            try:
                addr, size = int(at, 16), int(size)
            except ValueError:
                continue
            first, last = addr // LINE, (addr + max(size, 1) - 1) // LINE
            if kind in ("S", "M") and first * LINE == marker:
                if seen > skip:
                    totals[0] += len(code)
                    totals[1] += len(data)
                    measured += 1
                seen += 1
                code.clear()
                data.clear()
                continue
            target = code if kind == "I" else data
            for n in range(first, last + 1):
                target.add(n)
    if measured == 0:
        raise SystemExit("breakdown.py: no message found in the trace")
    print(f"| cache lines touched: code / data | {totals[0] / measured:.1f} / {totals[1] / measured:.1f} |")


if __name__ == "__main__":
    cmd, args = sys.argv[1], sys.argv[2:]
    if cmd == "events":
        events(args[0], args[1], float(args[2]))
    elif cmd == "locked":
        locked(args[0], args[1], float(args[2]))
    elif cmd == "files":
        files(args[0], args[1], float(args[2]))
    elif cmd == "lines":
        lines(args[0], args[1], int(args[2]))
    else:
        raise SystemExit(__doc__)
