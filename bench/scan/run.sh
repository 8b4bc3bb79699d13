#!/usr/bin/env bash
# Times `ktsip scan` on a generated capture of ordinary calls.
#
#   bash bench/scan/run.sh [KTSIP-BINARY] [CALLS]
#
# Builds make_capture (g++, libpcap), writes a capture of CALLS calls (default 60000: about
# 250 MB, 20% of the calls over TCP) to a temporary directory, then runs `ktsip scan` on
# it three times with the readable output and three times with --json, output to
# /dev/null, and prints the best wall and CPU time of each as MB of capture per second
# (after a line checking what the scan found). The binary is
# the first argument, else build/tools/ktsip/ktsip (use a RelWithDebInfo or Release build).
set -euo pipefail

ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
KTSIP=${1:-$ROOT/build/tools/ktsip/ktsip}
CALLS=${2:-60000}
WORK=$(mktemp -d "${TMPDIR:-/tmp}/ktsip-scan-bench.XXXXXX")
trap 'rm -rf "$WORK"' EXIT

g++ -std=c++17 -O2 -Wall -Wextra -Werror -I"$ROOT/tests/support" "$ROOT/bench/scan/make_capture.cpp" \
  -o "$WORK/make_capture" $(pkg-config --libs libpcap)
"$WORK/make_capture" "$WORK/calls.pcap" "$CALLS"
size=$(stat -c %s "$WORK/calls.pcap")
"$KTSIP" scan --json "$WORK/calls.pcap" | tail -n 1 | python3 -c '
import json, sys
s = json.load(sys.stdin)["summary"]
print("messages %d, requests %s, responses %s, invalid %s, exceptions %s, skipped packets %d" % (
    s["messages"], s["requests"], s["responses"], s["invalid"], s["exceptions"], s["skipped_packets"]))'

# Three runs of each mode; the best wall time and the best CPU time (user + system) of each.
# On a shared machine the CPU time is the steadier figure.
TIMEFORMAT='%R %U %S'
for mode in readable json; do
  args=(scan "$WORK/calls.pcap")
  [[ $mode == json ]] && args=(scan --json "$WORK/calls.pcap")
  wall="" cpu=""
  for _ in 1 2 3; do
    read -r r u s < <( { time "$KTSIP" "${args[@]}" >/dev/null; } 2>&1 )
    wall=$(python3 -c "print(min(x for x in [$r, ${wall:-$r}]))")
    cpu=$(python3 -c "print(min(x for x in [$u + $s, ${cpu:-$u + $s}]))")
  done
  python3 -c "print('%-8s %.1f MB: wall %.3f s (%.0f MB/s), cpu %.3f s (%.0f MB/s)' % ('$mode', $size / 1e6, $wall, $size / 1e6 / $wall, $cpu, $size / 1e6 / $cpu))"
done
