#!/usr/bin/env bash
# Builds ktsip and runs its test suite. Exits non-zero on the first failure.
#
#   bash scripts/test.sh
#
# Environment: KTSIP_BUILD_DIR (default: build), KTSIP_JOBS (default: 2).
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

# --- Further stages go here, each in its own build directory -------------------
# (sanitizer builds with -DKTSIP_SANITIZE=ON / -DKTSIP_TSAN=ON, fuzz smoke runs).

stage "all tests passed"
