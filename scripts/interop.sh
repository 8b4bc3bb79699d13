#!/usr/bin/env bash
# Interoperability test: `ktsip serve` against sipp, a real SIP client, on loopback.
#
#   bash scripts/interop.sh [KTSIP-BINARY]
#
# The binary is the first argument, else $KTSIP, else build/tools/ktsip/ktsip. Needs sipp
# (package sip-tester, installed by scripts/install-deps.sh) and python3.
#
# Starts `ktsip serve` in the background (UDP and TCP on 127.0.0.1, two UDP threads, one
# Digest user), then runs, over UDP and over TCP:
#   uac        sipp's built-in client: INVITE, 100, 180, 200, ACK, BYE, 200; 500 calls at
#              200 calls per second, every one must succeed
#   options    an OPTIONS ping, answered 200 with Allow, Accept and Supported
#   register   REGISTER, 401 with a Digest challenge, REGISTER with credentials, 200
#   forbidden  the same with a wrong password, which must end in 403
#   cancel     INVITE, 180, CANCEL: 200 for the CANCEL and 487 for the INVITE (5 calls)
# and over UDP once more:
#   uac-lost   the uac scenario with 5% of the packets lost (sipp -lost 5), 200 calls at 50
#              calls per second: retransmissions on both sides (the server resends each 200
#              of an INVITE until its ACK arrives) must complete every call
# Each sipp run must exit 0 and count every call successful and none failed. The server is
# then stopped with SIGTERM and the counts it prints are checked: every request arrived,
# every expected response went out, no unexpected response code, nothing dropped.
#
# Exits 0 when everything passed, 1 otherwise (2 for a usage error). With
# KTSIP_INTEROP_SKIP_WITHOUT_SIPP=1 a missing sipp exits 77 (ctest's skip code) instead.
# The server is always stopped on exit. Files: a temporary directory, kept (and named)
# when something failed, or always with KTSIP_INTEROP_KEEP=1.
#
# Environment: KTSIP_INTEROP_PORT (server port, default 15060), KTSIP_INTEROP_CLIENT_PORT
# (first sipp port, default 15061; each run takes the next one), KTSIP_INTEROP_CALLS (500),
# KTSIP_INTEROP_RATE (200), KTSIP_INTEROP_SIPP_TIMEOUT (seconds per sipp run, 60).
set -uo pipefail

ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
SCENARIOS=$ROOT/tests/interop
# shellcheck source=tests/interop/process-helpers.sh
source "$SCENARIOS/process-helpers.sh"
KTSIP=${1:-${KTSIP:-build/tools/ktsip/ktsip}}
PORT=${KTSIP_INTEROP_PORT:-15060}
CLIENT_PORT=${KTSIP_INTEROP_CLIENT_PORT:-15061}
CALLS=${KTSIP_INTEROP_CALLS:-500}
RATE=${KTSIP_INTEROP_RATE:-200}
CANCELS=5
LOST_CALLS=${KTSIP_INTEROP_LOST_CALLS:-200}
USER_NAME=alice
USER_SECRET=interop-secret

if [[ ! -x "$KTSIP" ]]; then
  echo "interop: no ktsip binary at $KTSIP (give its path as the argument or in \$KTSIP)" >&2
  exit 2
fi
if ! command -v sipp >/dev/null 2>&1; then
  if [[ "${KTSIP_INTEROP_SKIP_WITHOUT_SIPP:-0}" == 1 ]]; then
    echo "interop: sipp is not installed; skipped" >&2
    exit 77
  fi
  echo "interop: sipp is not installed (bash scripts/install-deps.sh installs it)" >&2
  exit 1
fi
command -v python3 >/dev/null 2>&1 || { echo "interop: python3 is needed" >&2; exit 1; }

WORK=$(mktemp -d "${TMPDIR:-/tmp}/ktsip-interop.XXXXXX")
SERVER_PID=""
failures=0

cleanup() {
  stop_process "$SERVER_PID"
  if [[ $failures -eq 0 && "${KTSIP_INTEROP_KEEP:-0}" != 1 ]]; then
    rm -rf "$WORK"
  else
    echo "interop: files kept in $WORK" >&2
  fi
}
trap cleanup EXIT
trap 'failures=$((failures + 1)); exit 1' INT TERM

echo "==> ktsip serve on 127.0.0.1:$PORT (udp and tcp), sipp $(sipp -v 2>/dev/null | grep -o 'v[0-9][0-9.]*' | head -n 1)"
"$KTSIP" serve --bind 127.0.0.1 --port "$PORT" --threads 2 --realm ktsip-interop \
  --user "$USER_NAME:$USER_SECRET" --json >"$WORK/server.json" 2>"$WORK/server.log" &
SERVER_PID=$!
if ! wait_listening "$WORK/server.log" "$SERVER_PID"; then
  echo "interop: the server did not start:" >&2
  cat "$WORK/server.log" >&2
  failures=1
  exit 1
fi

next_port=$CLIENT_PORT
scenario() {  # NAME CALLS SIPP-ARGUMENTS...
  local name=$1 calls=$2
  shift 2
  if ! bash "$SCENARIOS/run-scenario.sh" "$name" "$calls" "$WORK" \
      127.0.0.1:"$PORT" -i 127.0.0.1 -p "$next_port" "$@"; then
    failures=$((failures + 1))
  fi
  next_port=$((next_port + 1))
}

for transport in udp tcp; do
  t=u1
  [[ $transport == tcp ]] && t=t1
  scenario "uac-$transport" "$CALLS" -sn uac -t "$t" -r "$RATE"
  scenario "options-$transport" 1 -sf "$SCENARIOS/options.xml" -t "$t"
  scenario "register-$transport" 1 -sf "$SCENARIOS/register_auth.xml" -t "$t" \
    -s "$USER_NAME" -au "$USER_NAME" -ap "$USER_SECRET"
  scenario "forbidden-$transport" 1 -sf "$SCENARIOS/register_forbidden.xml" -t "$t" \
    -s "$USER_NAME" -au "$USER_NAME" -ap "not-$USER_SECRET"
  scenario "cancel-$transport" "$CANCELS" -sf "$SCENARIOS/cancel.xml" -t "$t" -r 10
done
scenario "uac-lost-udp" "$LOST_CALLS" -sn uac -t u1 -r 50 -lost 5

echo "==> stopping the server (SIGTERM)"
kill -TERM "$SERVER_PID"
for _ in $(seq 100); do kill -0 "$SERVER_PID" 2>/dev/null || break; sleep 0.1; done
if kill -0 "$SERVER_PID" 2>/dev/null; then
  echo "FAIL server: still running 10 s after SIGTERM" >&2
  failures=$((failures + 1))
  exit 1
fi
wait "$SERVER_PID"
server_status=$?
SERVER_PID=""
if [[ $server_status -ne 0 ]]; then
  echo "FAIL server: exit status $server_status" >&2
  cat "$WORK/server.log" >&2
  failures=$((failures + 1))
fi

# Counts the server must have printed. Both transports ran every scenario once. UDP
# retransmissions may add requests (and their answers), so requests and expected codes
# are lower bounds; every other response code is a failure.
if ! python3 - "$WORK/server.json" "$CALLS" "$CANCELS" "$LOST_CALLS" <<'EOF'; then
import json, sys
path, calls, cancels, lost_calls = sys.argv[1], int(sys.argv[2]), int(sys.argv[3]), int(sys.argv[4])
try:
    counts = json.load(open(path))
except Exception as e:
    print(f"FAIL server counts: cannot read {path}: {e}")
    sys.exit(1)
runs = 2  # udp, tcp
requests = {
    "INVITE": runs * (calls + cancels), "ACK": runs * (calls + cancels), "BYE": runs * calls,
    "CANCEL": runs * cancels, "OPTIONS": runs, "REGISTER": runs * 4,
}
responses = {
    "100": runs * (calls + cancels), "180": runs * (calls + cancels),
    # INVITE and BYE of every call, the OPTIONS, the accepted REGISTER, every CANCEL
    "200": runs * (2 * calls + 1 + 1 + cancels),
    "401": runs * 2, "403": runs, "487": runs * cancels,
}
# Every completed call of the run with losses brought its INVITE and BYE, and took their
# answers; its ACK may have been lost for good.
for method in ("INVITE", "BYE"):
    requests[method] += lost_calls
for code, n in (("100", 1), ("180", 1), ("200", 2)):
    responses[code] += n * lost_calls
problems = []
for method, want in requests.items():
    got = counts["requests"].get(method, 0)
    if got < want:
        problems.append(f"{got} {method} requests arrived, {want} were sent")
for method in counts["requests"]:
    if method not in requests:
        problems.append(f"unexpected {method} requests: {counts['requests'][method]}")
for code, want in responses.items():
    got = counts["responses"].get(code, 0)
    if got < want:
        problems.append(f"{got} responses {code} sent, {want} expected")
for code, got in counts["responses"].items():
    if code not in responses:
        problems.append(f"unexpected responses {code}: {got}")
if counts["dropped"] != 0:
    problems.append(f"dropped input: {counts['dropped_by_reason']}")
if counts["connections"] < runs:  # at least one per TCP run
    problems.append(f"only {counts['connections']} TCP connections")
summary = ", ".join(f"{m} {n}" for m, n in sorted(counts["requests"].items()))
codes = ", ".join(f"{c}: {n}" for c, n in sorted(counts["responses"].items()))
print(f"    server received: {summary}")
print(f"    server answered: {codes}")
print(f"    server dropped {counts['dropped']}, keep-alives {counts['keep_alives']}, "
      f"connections {counts['connections']}, library log lines {counts['library_log_lines']}")
if problems:
    for p in problems:
        print(f"FAIL server counts: {p}")
    sys.exit(1)
print("PASS server counts")
EOF
  failures=$((failures + 1))
fi

if [[ $failures -ne 0 ]]; then
  echo "interop: $failures check(s) failed" >&2
  exit 1
fi
echo "interop: all passed"
