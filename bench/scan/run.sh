#!/usr/bin/env bash
# Times `ktsip scan` on a generated capture of ordinary calls.
#
#   bash bench/scan/run.sh [KTSIP-BINARY] [CALLS]
#
# Builds make_capture (g++, libpcap), writes a capture of CALLS calls (default 60000: about
# 250 MB, 20% of the calls over TCP) to a temporary directory, then runs `ktsip scan` on
# it three times with the readable output and three times with --json, output to
# /dev/null, and prints the best time of each as MB of capture per second. The binary is
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

best() {  # prints the best wall time of three runs of "$@" in seconds
  local best=""
  for _ in 1 2 3; do
    local start end
    start=$(date +%s.%N)
    "$@" >/dev/null
    end=$(date +%s.%N)
    best=$(python3 -c "t = $end - $start; b = '$best'; print(t if not b or t < float(b) else b)")
  done
  echo "$best"
}
for mode in readable json; do
  args=(scan "$WORK/calls.pcap")
  [[ $mode == json ]] && args=(scan --json "$WORK/calls.pcap")
  t=$(best "$KTSIP" "${args[@]}")
  python3 -c "print('%-8s %.1f MB in %.3f s: %.1f MB/s' % ('$mode', $size / 1e6, $t, $size / 1e6 / $t))"
done
