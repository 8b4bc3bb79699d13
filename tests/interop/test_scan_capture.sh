#!/usr/bin/env bash
# End-to-end check of `ktsip scan` on a real capture: tcpdump records loopback while sipp
# runs calls against `ktsip serve` over UDP and TCP; `ktsip scan --json` must then report
# every request the server counted and every response it sent, each message parsed and
# valid, with the server's address and the right transport.
#
#   bash tests/interop/test_scan_capture.sh KTSIP-BINARY
#
# Exits 0 when it passed, 1 when it failed, 77 (ctest's skip code, with a message saying
# why) when this machine cannot run it: no tcpdump or sipp, or no right to capture on the
# loopback interface (capturing needs root or CAP_NET_RAW).
#
# Environment: KTSIP_SCAN_PORT (server port, default 15260; sipp takes the next two ports),
# KTSIP_SCAN_CALLS (calls per transport, default 20), KTSIP_INTEROP_SIPP_TIMEOUT (seconds per
# sipp run, 60). Files go to a temporary directory, kept and named when something failed,
# or always with KTSIP_SCAN_KEEP=1.
set -uo pipefail

ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
KTSIP=${1:?usage: test_scan_capture.sh KTSIP-BINARY}
PORT=${KTSIP_SCAN_PORT:-15260}
CALLS=${KTSIP_SCAN_CALLS:-20}
# shellcheck source=tests/interop/process-helpers.sh
source "$ROOT/tests/interop/process-helpers.sh"

skip() {
  echo "scan-capture: SKIPPED: $*" >&2
  exit 77
}
command -v tcpdump >/dev/null 2>&1 || skip "tcpdump is not installed (scripts/install-deps.sh installs it)"
command -v sipp >/dev/null 2>&1 || skip "sipp is not installed (scripts/install-deps.sh installs it)"
command -v python3 >/dev/null 2>&1 || skip "python3 is not installed"

WORK=$(mktemp -d "${TMPDIR:-/tmp}/ktsip-scan-capture.XXXXXX")
SERVER_PID="" DUMP_PID="" failed=1
cleanup() {
  stop_process "$DUMP_PID"
  stop_process "$SERVER_PID"
  if [[ $failed -eq 0 && "${KTSIP_SCAN_KEEP:-0}" != 1 ]]; then rm -rf "$WORK"; else echo "scan-capture: files kept in $WORK" >&2; fi
}
trap cleanup EXIT

# tcpdump started as root drops to its own user, which could not write here.
user=()
[[ $(id -u) -eq 0 ]] && user=(-Z root)
tcpdump -i lo -n -U --immediate-mode -s 0 "${user[@]}" -w "$WORK/calls.pcap" "port $PORT" 2>"$WORK/tcpdump.log" &
DUMP_PID=$!
if ! wait_listening "$WORK/tcpdump.log" "$DUMP_PID"; then
  failed=0
  skip "tcpdump cannot capture on lo here: $(head -n 1 "$WORK/tcpdump.log")"
fi

"$KTSIP" serve --bind 127.0.0.1 --port "$PORT" --quiet --json >"$WORK/server.json" 2>"$WORK/server.log" &
SERVER_PID=$!
wait_listening "$WORK/server.log" "$SERVER_PID"  # a server that did not start fails the calls

status=0
bash "$ROOT/tests/interop/run-scenario.sh" uac-udp "$CALLS" "$WORK" 127.0.0.1:"$PORT" -i 127.0.0.1 \
  -p $((PORT + 1)) -sn uac -t u1 -r 50 || status=1
bash "$ROOT/tests/interop/run-scenario.sh" uac-tcp "$CALLS" "$WORK" 127.0.0.1:"$PORT" -i 127.0.0.1 \
  -p $((PORT + 2)) -sn uac -t t1 -r 50 || status=1
stop_process "$SERVER_PID"
wait "$SERVER_PID" 2>/dev/null
SERVER_PID=""
# tcpdump may lag behind on a busy machine: it is stopped once its file has not grown for
# a second (ten seconds at most).
last=-1
for _ in $(seq 20); do
  sleep 0.5
  size=$(stat -c %s "$WORK/calls.pcap" 2>/dev/null || echo 0)
  [[ $size -eq $last ]] && break
  last=$size
done
stop_process "$DUMP_PID"
wait "$DUMP_PID" 2>/dev/null
DUMP_PID=""

"$KTSIP" scan --json "$WORK/calls.pcap" >"$WORK/scan.jsonl" 2>"$WORK/scan.err"
scan_status=$?
"$KTSIP" scan "$WORK/calls.pcap" >"$WORK/scan.txt" 2>&1
if python3 - "$WORK/server.json" "$WORK/scan.jsonl" "$scan_status" "$PORT" "$CALLS" <<'EOF'
import json, sys
server_path, scan_path, status, port, calls = sys.argv[1], sys.argv[2], int(sys.argv[3]), sys.argv[4], int(sys.argv[5])
problems = []
server = json.load(open(server_path))
lines = [json.loads(l) for l in open(scan_path)]
summary = lines[-1].get("summary") if lines else None
messages = lines[:-1]
if status != 0:
    problems.append(f"ktsip scan exited {status}")
if summary is None:
    problems.append("no summary line")
    summary = {"requests": {}, "responses": {}}
here = f"127.0.0.1:{port}"
requests, responses = {}, {}
frames = []
for m in messages:
    frames.append(m["frame"])
    if not m.get("ok") or not m.get("valid"):
        problems.append(f"frame {m['frame']}: not parsed or not valid: {m.get('exception') or m.get('status')}")
        continue
    if m["request"]:
        requests[m["method"]] = requests.get(m["method"], 0) + 1
        if m["dst"] != here:
            problems.append(f"frame {m['frame']}: request to {m['dst']}")
    else:
        responses[str(m["code"])] = responses.get(str(m["code"]), 0) + 1
        if m["src"] != here:
            problems.append(f"frame {m['frame']}: response from {m['src']}")
transports = {m["transport"] for m in messages}
if transports != {"udp", "tcp"}:
    problems.append(f"transports seen: {sorted(transports)}")
if frames != sorted(frames):
    problems.append("messages not in capture order")
if requests != server["requests"]:
    problems.append(f"requests in the capture {requests}, the server counted {server['requests']}")
if responses != server["responses"]:
    problems.append(f"responses in the capture {responses}, the server sent {server['responses']}")
if requests != summary["requests"] or responses != summary["responses"]:
    problems.append(f"summary {summary} does not match the messages")
if requests.get("INVITE", 0) < 2 * calls:
    problems.append(f"{requests.get('INVITE', 0)} INVITEs for {2 * calls} calls")
print(f"    scan: {len(messages)} messages, requests {requests}, responses {responses}, "
      f"skipped packets {summary.get('skipped_packets')}")
for p in problems:
    print(f"FAIL scan: {p}")
sys.exit(1 if problems else 0)
EOF
then
  [[ $status -eq 0 ]] && failed=0
fi
if [[ $failed -eq 0 ]]; then
  echo "PASS scan-capture: sipp calls captured by tcpdump, every message found by ktsip scan"
  exit 0
fi
echo "FAIL scan-capture" >&2
exit 1
