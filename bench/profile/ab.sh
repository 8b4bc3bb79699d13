#!/usr/bin/env bash
# Times two builds of the library against each other: runs the profile loop of build A and of
# build B alternately (ROUNDS times each, PASSES passes over the typical corpus per run) and
# prints the median thread CPU time per message of each and B over A (the ratio of the medians,
# and the median of each round's ratio, which a slow phase of the machine moves less). Alternating spreads the
# load of other processes over both; the medians still move on a busy machine, so read small
# differences against the spread printed with them.
#
# usage: bench/profile/ab.sh BUILD_A BUILD_B [parse|serialize] [ROUNDS] [PASSES]
# BUILD_A and BUILD_B are build trees in which bench/profile/breakdown.sh has made
# breakdown/profile_loop (defaults: parse, 21 rounds, 2000 passes).
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
a=$1/breakdown/profile_loop
b=$2/breakdown/profile_loop
mode=${3:-parse}
rounds=${4:-21}
passes=${5:-2000}
((rounds >= 2)) || { echo "ab.sh: at least 2 rounds" >&2; exit 1; }
for loop in "$a" "$b"; do
  [[ -x $loop ]] || { echo "ab.sh: $loop not built (run bench/profile/breakdown.sh there)" >&2; exit 1; }
done

runs=$(mktemp)
trap 'rm -f "$runs"' EXIT
for ((i = 0; i < rounds; ++i)); do
  for side in A B; do
    loop=$a
    [[ $side == B ]] && loop=$b
    echo "$side $("$loop" "$mode" "$passes" "$here/../corpus" | awk '/^ns-per/ {print $2}')" >>"$runs"
  done
done
python3 - "$runs" <<'EOF'
import statistics, sys
t = {"A": [], "B": []}
for line in open(sys.argv[1]):
    side, ns = line.split()
    t[side].append(float(ns))
for side, v in t.items():
    q = statistics.quantiles(v, n=4)
    print(f"{side}: median {statistics.median(v):.1f} ns/message (quartiles {q[0]:.1f}-{q[2]:.1f}, {len(v)} runs)")
pairs = sorted(b / a for a, b in zip(t["A"], t["B"]))
q = statistics.quantiles(pairs, n=4)
print(f"B/A: {statistics.median(t['B']) / statistics.median(t['A']):.3f} (medians); "
      f"{statistics.median(pairs):.3f} (median of the rounds' ratios, quartiles {q[0]:.3f}-{q[2]:.3f})")
EOF
