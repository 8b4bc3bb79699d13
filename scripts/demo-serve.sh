#!/usr/bin/env bash
# Builds the ktsip tool, starts `ktsip serve` on loopback and drives it with sipp: a short
# run of calls (INVITE, 100, 180, 200, ACK, BYE, 200), then prints what sipp saw and what
# the server counted.
#
#   bash scripts/demo-serve.sh
#
# Environment: KTSIP_BUILD_DIR (default: build), KTSIP_JOBS (default: 2), KTSIP_TOOL (a built
# ktsip binary: skips installing and building),
# KTSIP_DEMO_CALLS (100), KTSIP_DEMO_RATE (calls per second, 50),
# KTSIP_DEMO_PORT (server port, 15060; sipp uses the next one).
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
ROOT=$(pwd)
BUILD_DIR=${KTSIP_BUILD_DIR:-$ROOT/build}
JOBS=${KTSIP_JOBS:-2}
CALLS=${KTSIP_DEMO_CALLS:-100}
RATE=${KTSIP_DEMO_RATE:-50}
PORT=${KTSIP_DEMO_PORT:-15060}

if [[ -n "${KTSIP_TOOL:-}" && -x "${KTSIP_TOOL}" ]]; then
  TOOL=$KTSIP_TOOL  # already built by the caller (scripts/demo.sh)
else
  source scripts/stages.sh
  stages_init "${KTSIP_LOG_DIR:-$BUILD_DIR/logs}"
  run_stage deps bash scripts/install-deps.sh
  run_stage configure cmake -S "$ROOT" -B "$BUILD_DIR" -DCMAKE_BUILD_TYPE=RelWithDebInfo
  run_stage build-tool cmake --build "$BUILD_DIR" --target ktsip_tool -j "$JOBS"
  TOOL="$BUILD_DIR/tools/ktsip/ktsip"
fi

WORK=$(mktemp -d "${TMPDIR:-/tmp}/ktsip-demo-serve.XXXXXX")
SERVER_PID=""
cleanup() {
  if [[ -n "$SERVER_PID" ]] && kill -0 "$SERVER_PID" 2>/dev/null; then
    kill -TERM "$SERVER_PID" 2>/dev/null || true
    sleep 1
    kill -KILL "$SERVER_PID" 2>/dev/null || true
  fi
  rm -rf "$WORK"
}
trap cleanup EXIT

echo
echo "==> ktsip serve --bind 127.0.0.1 --port $PORT"
"$TOOL" serve --bind 127.0.0.1 --port "$PORT" >"$WORK/counts.txt" 2>"$WORK/server.log" &
SERVER_PID=$!
for _ in $(seq 50); do
  grep -q "listening on" "$WORK/server.log" 2>/dev/null && break
  sleep 0.1
done
if ! grep -q "listening on" "$WORK/server.log"; then
  echo "demo-serve: the server did not start:" >&2
  cat "$WORK/server.log" >&2
  exit 1
fi
sed -n '1p' "$WORK/server.log"

echo
echo "==> sipp: $CALLS calls at $RATE calls per second over UDP (sipp's built-in uac scenario)"
status=0
KTSIP_INTEROP_SIPP_TIMEOUT=$((CALLS / RATE + 30)) \
  bash tests/interop/run-scenario.sh calls "$CALLS" "$WORK" \
  -sn uac 127.0.0.1:"$PORT" -i 127.0.0.1 -p $((PORT + 1)) -r "$RATE" || status=1
csv="$WORK/calls.csv"
if [[ -s "$csv" ]]; then
  # The last line of sipp's statistics holds the totals.
  awk -F';' 'NR == 1 { for (i = 1; i <= NF; i++) col[$i] = i; next } { last = $0 }
    END { split(last, f, ";")
          printf "    calls made:     %s\n    calls answered: %s (200 to the INVITE, then BYE answered)\n    calls failed:   %s\n",
                 f[col["OutgoingCall(C)"]], f[col["SuccessfulCall(C)"]], f[col["FailedCall(C)"]] }' "$csv"
fi

echo
echo "==> stopping the server (SIGTERM); its counts:"
kill -TERM "$SERVER_PID"
wait "$SERVER_PID" || status=1
SERVER_PID=""
sed 's/^/    /' "$WORK/counts.txt"
exit $status
