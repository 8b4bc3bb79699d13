#!/usr/bin/env bash
# 32-bit stage: the libraries, the ktsip tool and the tests built for i386 (g++ -m32 against
# the :i386 packages, toolchain file cmake/i386.cmake) in a build directory of their own, then
# the whole CTest suite run, the interoperability test included (the 32-bit `ktsip serve`
# against the system's 64-bit sipp). Fails unless `file` calls the built libraries
# "ELF 32-bit" and every test passes. The fuzzers and the benchmarks stay 64-bit only.
#
# Environment:
#   BUILD_DIR          build directory (default: build-i386 in the source tree)
#   JOBS               parallel build and test jobs (default 2)
#   KTSIP_SKIP_DEPS=1  do not run scripts/install-deps.sh first
set -euo pipefail

ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
BUILD_DIR=${BUILD_DIR:-$ROOT/build-i386}
JOBS=${JOBS:-2}

if [[ ${KTSIP_SKIP_DEPS:-0} != 1 ]]; then
  bash "$ROOT/scripts/install-deps.sh"
fi

echo "== ci-i386: configure $BUILD_DIR"
cmake -S "$ROOT" -B "$BUILD_DIR" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_TOOLCHAIN_FILE="$ROOT/cmake/i386.cmake"

echo "== ci-i386: build"
cmake --build "$BUILD_DIR" -j "$JOBS"

echo "== ci-i386: architecture of the built files"
shopt -s nullglob
built=("$BUILD_DIR"/base/libktutil.so.* "$BUILD_DIR"/sip/libktsip.so.* "$BUILD_DIR"/tools/ktsip/ktsip)
shopt -u nullglob
if [[ ${#built[@]} -lt 3 ]]; then
  echo "ci-i386: the libraries or the tool were not built" >&2
  exit 1
fi
for f in "${built[@]}"; do
  [[ -L $f ]] && continue
  description=$(file -b "$f")
  echo "$f: $description"
  if [[ $description != "ELF 32-bit"* ]]; then
    echo "ci-i386: $f is not a 32-bit ELF file" >&2
    exit 1
  fi
done

echo "== ci-i386: tests"
ctest --test-dir "$BUILD_DIR" --output-on-failure --no-tests=error -j "$JOBS"
echo "ci-i386: every test passed"
