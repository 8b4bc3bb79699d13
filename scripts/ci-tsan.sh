#!/usr/bin/env bash
# ThreadSanitizer stage.
#
# Builds the libraries, the message tests, the base tests and the ktsip tool with
# -DKTSIP_TSAN=ON in a build directory of its own (no install rules) and runs the
# concurrency test: threads parsing, serializing, cloning and keying independent messages,
# and threads sharing one message (add, remove, look up, serialize under its mutex) and
# its headers' parameter lists; then the threaded tests of the base layer (reference counts,
# immortal constants, pools and thread caches handed from ended threads to new ones); then
# `ktsip serve` (several I/O threads and its timer thread): tests/tools/test_serve.py, and sipp's scenarios
# against it (scripts/interop.sh, fewer calls, when sipp is installed). A server that
# ThreadSanitizer reports on exits with status 66, which fails those runs. Any data race or
# lock-order report fails the stage.
#
# Environment:
#   BUILD_DIR          build directory (default: build-ci-tsan in the source tree)
#   JOBS               parallel build jobs (default 2)
#   TSAN_REPEAT        how many times the test runs (default 3)
#   KTSIP_SKIP_DEPS=1  do not run scripts/install-deps.sh first
set -euo pipefail

ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
BUILD_DIR=${BUILD_DIR:-$ROOT/build-ci-tsan}
JOBS=${JOBS:-2}
REPEAT=${TSAN_REPEAT:-3}

if [[ ${KTSIP_SKIP_DEPS:-0} != 1 ]]; then
  bash "$ROOT/scripts/install-deps.sh"
fi

echo "== ci-tsan: configure $BUILD_DIR"
# As in ci-sanitize.sh: GCC 12 gives false "may be used uninitialized" warnings in
# libstdc++ headers under sanitizer instrumentation at -O1.
cmake -S "$ROOT" -B "$BUILD_DIR" \
  -DCMAKE_BUILD_TYPE=Debug \
  -DCMAKE_CXX_FLAGS_DEBUG="-g -O1" \
  -DCMAKE_CXX_FLAGS="-Wno-maybe-uninitialized" \
  -DKTSIP_TSAN=ON \
  -DKTSIP_BUILD_TOOLS=ON \
  -DKTSIP_INSTALL=OFF \
  -DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST

echo "== ci-tsan: build test_sip_message, test_base and ktsip"
cmake --build "$BUILD_DIR" --target test_sip_message test_base ktsip_tool -j "$JOBS"

export TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1:report_signal_unsafe=0:exitcode=66"

# ThreadSanitizer needs the address-space layout it was built for; kernels with a large
# mmap randomisation make it stop with "unexpected memory mapping". Then the test runs
# again with randomisation turned off for that process only.
run() {
  local log=$1 TEST=$2 FILTER=$3
  set +e
  "$TEST" --gtest_filter="$FILTER" --gtest_repeat="$REPEAT" >"$log" 2>&1
  local rc=$?
  if grep -q "unexpected memory mapping\|FATAL: ThreadSanitizer" "$log" && command -v setarch >/dev/null; then
    echo "ci-tsan: restarting without address-space randomisation"
    setarch "$(uname -m)" -R "$TEST" --gtest_filter="$FILTER" --gtest_repeat="$REPEAT" >"$log" 2>&1
    rc=$?
  fi
  set -e
  return $rc
}

LOG=$(mktemp)
trap 'rm -f "$LOG"' EXIT
# The threads of the message tests, and those of the object, string and pool tests.
# The server tests start the instrumented ktsip, which inherits TSAN_OPTIONS.
for target in "test_sip_message Concurrency.*" "test_base MemPool.*:KtMutex.*:KtObjectLifetime.*"; do
  read -r name filter <<<"$target"
  TEST=$BUILD_DIR/tests/$name
  echo "== ci-tsan: $TEST --gtest_filter=$filter (x$REPEAT)"
  if ! run "$LOG" "$TEST" "$filter" || grep -q "WARNING: ThreadSanitizer" "$LOG"; then
    cat "$LOG"
    echo "ci-tsan: FAILED" >&2
    exit 1
  fi
  grep -E "^\[  (PASSED|FAILED) |tests? from .* ran" "$LOG" | tail -3
done
# The server's tests: every row starts the instrumented ktsip and fails when it does not
# exit with status 0 (a report ends it with 66). CPU budgets scale for instrumented builds.
echo "== ci-tsan: tests/tools/test_serve.py against the instrumented ktsip serve"
if ! KTSIP_INSTRUMENTED=1 python3 "$ROOT/tests/tools/test_serve.py" "$BUILD_DIR/tools/ktsip/ktsip" >"$LOG" 2>&1; then
  cat "$LOG"
  echo "ci-tsan: FAILED" >&2
  exit 1
fi
tail -1 "$LOG"
if command -v sipp >/dev/null; then
  echo "== ci-tsan: interop (sipp against the instrumented ktsip serve)"
  if ! KTSIP_INTEROP_CALLS=200 KTSIP_INTEROP_RATE=100 KTSIP_INTEROP_LOST_CALLS=50 \
      bash "$ROOT/scripts/interop.sh" "$BUILD_DIR/tools/ktsip/ktsip" >"$LOG" 2>&1; then
    cat "$LOG"
    echo "ci-tsan: FAILED" >&2
    exit 1
  fi
  tail -1 "$LOG"
fi
echo "ci-tsan: no data race reported"
