#!/usr/bin/env bash
# Builds ktsip and runs its test suite, one line per stage; each stage's full output goes to
# a log file (KTSIP_LOG_DIR, default BUILD_DIR/logs). Exits non-zero on the first failure,
# after printing the end of that stage's log.
#
#   bash scripts/test.sh
#
# Stages: deps, build, tests, docs, then (unless KTSIP_QUICK=1) sanitizers, tsan, i386, fuzz.
# A further stage is one line: run_stage NAME bash scripts/ci-NAME.sh (see scripts/stages.sh).
#
# Environment: KTSIP_BUILD_DIR (default: build), KTSIP_JOBS (default: 2), KTSIP_QUICK=1
# (only the optimised build, its tests and the docs), FUZZ_SECONDS (per fuzz target, 60),
# KTSIP_LOG_DIR (default: BUILD_DIR/logs), KTSIP_LOG_TAIL (log lines shown on a failure, 60).
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
ROOT=$(pwd)
BUILD_DIR=${KTSIP_BUILD_DIR:-$ROOT/build}
JOBS=${KTSIP_JOBS:-2}
QUICK=${KTSIP_QUICK:-0}
# ccache (when installed) rewrites paths below the tree as relative ones, so clones in other
# folders share its cache.
export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$ROOT} CCACHE_NOHASHDIR=${CCACHE_NOHASHDIR:-1}
source scripts/stages.sh

# Times measured on 2 cores without a compiler cache; later runs rebuild only what changed.
# estimate DIR FIRST LATER: FIRST when DIR holds no configured build yet.
estimate() {
  if [[ -f $1/CMakeCache.txt ]]; then echo "$3"; else echo "$2"; fi
}
if [[ ! -f $BUILD_DIR/CMakeCache.txt ]]; then
  if [[ $QUICK == 1 ]]; then
    echo "test: first run; building and testing takes 15 to 25 minutes on 2 cores"
  else
    echo "test: first run; building and testing takes 60 to 90 minutes on 2 cores (KTSIP_QUICK=1: 15 to 25)"
  fi
fi
stages_init "${KTSIP_LOG_DIR:-$BUILD_DIR/logs}"

run_stage deps bash scripts/install-deps.sh

# --- The optimised build and the unit, tool, install and interoperability tests ---------
build() {
  cmake -S "$ROOT" -B "$BUILD_DIR" -DCMAKE_BUILD_TYPE=RelWithDebInfo
  cmake --build "$BUILD_DIR" -j "$JOBS"
}
run_stage build --about "$(estimate "$BUILD_DIR" "10 to 20 min" "up to 20 min")" build
run_stage tests --about "about 3 min" \
  ctest --test-dir "$BUILD_DIR" --output-on-failure --no-tests=error -j "$JOBS"

# --- The API reference (a doxygen warning fails it) ----------------------------------------
run_stage docs cmake --build "$BUILD_DIR" --target docs

# --- ASan + UBSan (the whole suite), TSan (the concurrency tests), the 32-bit build, fuzzers --
# Each builds in a directory of its own; KTSIP_QUICK=1 skips them (local runs).
if [[ $QUICK != 1 ]]; then
  export KTSIP_SKIP_DEPS=1 JOBS
  run_stage sanitizers --about "$(estimate "$ROOT/build-ci-asan" "about 25 min" "about 8 min")" \
    bash scripts/ci-sanitize.sh
  run_stage tsan --about "$(estimate "$ROOT/build-ci-tsan" "about 8 min" "about 2 min")" \
    bash scripts/ci-tsan.sh
  run_stage i386 --about "$(estimate "$ROOT/build-i386" "about 10 min" "about 3 min")" \
    bash scripts/ci-i386.sh
  run_stage fuzz --about "$(estimate "$ROOT/build-ci-fuzz" "about 12 min" "about $((${FUZZ_SECONDS:-60} * 7 / 60 + 1)) min")" \
    bash scripts/ci-fuzz.sh
fi

echo "test: all stages passed in $(stages_total)"
