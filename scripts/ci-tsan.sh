#!/usr/bin/env bash
# ThreadSanitizer stage.
#
# Builds the libraries and the message tests with -DKTSIP_TSAN=ON in a build directory of
# its own (no tool, no install rules: only what the concurrency test needs) and runs the
# concurrency test: threads parsing, serializing, cloning and keying independent messages,
# and threads sharing one message (add, remove, look up, serialize under its mutex) and
# its headers' parameter lists. Any data race or lock-order report fails the stage.
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
  -DKTSIP_BUILD_TOOLS=OFF \
  -DKTSIP_INSTALL=OFF \
  -DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST

echo "== ci-tsan: build test_sip_message"
cmake --build "$BUILD_DIR" --target test_sip_message -j "$JOBS"

TEST=$BUILD_DIR/tests/test_sip_message
export TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1:report_signal_unsafe=0:exitcode=66"
FILTER='Concurrency.*'

# ThreadSanitizer needs the address-space layout it was built for; kernels with a large
# mmap randomisation make it stop with "unexpected memory mapping". Then the test runs
# again with randomisation turned off for that process only.
run() {
  local log=$1
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
echo "== ci-tsan: $TEST --gtest_filter=$FILTER (x$REPEAT)"
if ! run "$LOG" || grep -q "WARNING: ThreadSanitizer" "$LOG"; then
  cat "$LOG"
  echo "ci-tsan: FAILED" >&2
  exit 1
fi
grep -E "^\[  (PASSED|FAILED) |tests? from .* ran" "$LOG" | tail -3
echo "ci-tsan: no data race reported"
