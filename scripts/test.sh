#!/usr/bin/env bash
# Builds ktsip and runs its test suite. Exits non-zero on the first failure.
#
#   bash scripts/test.sh
#
# Environment: KTSIP_BUILD_DIR (default: build), KTSIP_JOBS (default: 2), KTSIP_QUICK=1
# (only the optimised build, its tests and the docs), FUZZ_SECONDS (per fuzz target, 60).
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
ROOT=$(pwd)
BUILD_DIR=${KTSIP_BUILD_DIR:-$ROOT/build}
JOBS=${KTSIP_JOBS:-2}

stage() { printf '\n==> %s\n' "$*"; }

stage "dependencies"
bash scripts/install-deps.sh

# --- Stage 1: optimised build and the unit, tool and install tests -------------
stage "configure ($BUILD_DIR)"
cmake -S "$ROOT" -B "$BUILD_DIR" -DCMAKE_BUILD_TYPE=RelWithDebInfo
stage "build"
cmake --build "$BUILD_DIR" -j "$JOBS"
stage "tests"
ctest --test-dir "$BUILD_DIR" --output-on-failure --no-tests=error -j "$JOBS"

# --- Stage 2: documentation (doxygen warnings fail the build) ---------------------
stage "API reference (docs target)"
cmake --build "$BUILD_DIR" --target docs

# --- Stage 3: AddressSanitizer + UndefinedBehaviorSanitizer, the whole suite -------
# --- Stage 4: ThreadSanitizer, the concurrency test --------------------------------
# --- Stage 5: the 32-bit (i386) build and the whole suite ----------------------------
# --- Stage 6: every fuzzer for a bounded time ---------------------------------------
# Each stage builds in a directory of its own; KTSIP_QUICK=1 skips them (local runs).
if [[ ${KTSIP_QUICK:-0} != 1 ]]; then
  export KTSIP_SKIP_DEPS=1 JOBS
  stage "sanitizers (ASan + UBSan)"
  bash scripts/ci-sanitize.sh
  stage "ThreadSanitizer"
  bash scripts/ci-tsan.sh
  stage "32-bit build (i386) and the whole suite"
  bash scripts/ci-i386.sh
  stage "fuzzing (${FUZZ_SECONDS:-60} s per target)"
  bash scripts/ci-fuzz.sh
fi

stage "all tests passed"
