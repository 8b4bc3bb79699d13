#!/usr/bin/env bash
# The main job on an embedded default: builds the library and the ktsip tool, parses each
# example message in examples/messages/ with `ktsip parse`, then starts `ktsip serve` on
# loopback, drives it with sipp for a short run of calls and prints what happened
# (scripts/demo-serve.sh).
#
#   bash scripts/demo.sh
#
# Installing and building print one line each (their output goes to BUILD_DIR/logs, see
# scripts/stages.sh); the demo itself prints what the tool shows.
#
# Environment: KTSIP_BUILD_DIR (default: build), KTSIP_JOBS (default: 2), KTSIP_LOG_DIR.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
ROOT=$(pwd)
BUILD_DIR=${KTSIP_BUILD_DIR:-$ROOT/build}
JOBS=${KTSIP_JOBS:-2}

source scripts/stages.sh
if [[ ! -f $BUILD_DIR/CMakeCache.txt ]]; then
  echo "demo: first run; installing the packages and building the tool takes 8 to 15 minutes on 2 cores"
fi
stages_init "${KTSIP_LOG_DIR:-$BUILD_DIR/logs}"
run_stage deps bash scripts/install-deps.sh
run_stage configure cmake -S "$ROOT" -B "$BUILD_DIR" -DCMAKE_BUILD_TYPE=RelWithDebInfo
if compgen -G "tools/ktsip/*.cpp" >/dev/null; then
  run_stage build-tool cmake --build "$BUILD_DIR" --target ktsip_tool -j "$JOBS"
  TOOL="$BUILD_DIR/tools/ktsip/ktsip"
else
  run_stage build-libraries cmake --build "$BUILD_DIR" --target ktsip -j "$JOBS"
  TOOL=""
fi

shopt -s nullglob
messages=(examples/messages/*.sip)
if [[ ${#messages[@]} -eq 0 ]]; then
  echo "demo: no example messages in examples/messages/" >&2
  exit 1
fi

if [[ -z "$TOOL" ]]; then
  echo
  echo "demo: the ktsip tool is not part of this tree yet (tools/ktsip/ has no sources);"
  echo "      the libraries were built, and these are the messages it would parse:"
  for m in "${messages[@]}"; do
    printf '\n=== %s (%d bytes)\n' "$m" "$(wc -c <"$m")"
    tr -d '\r' <"$m"
  done
  exit 0
fi

failed=0
for m in "${messages[@]}"; do
  printf '\n=== ktsip parse %s\n' "$m"
  if ! "$TOOL" parse "$m"; then
    echo "demo: ktsip parse $m failed" >&2
    failed=$((failed + 1))
  fi
done
echo
if [[ $failed -ne 0 ]]; then
  echo "demo: $failed of ${#messages[@]} messages failed to parse" >&2
  exit 1
fi
echo "demo: parsed ${#messages[@]} messages"

echo
KTSIP_TOOL="$TOOL" bash scripts/demo-serve.sh
