#!/usr/bin/env bash
# AddressSanitizer + UndefinedBehaviorSanitizer stage.
#
# Builds the libraries, the ktsip tool and the tests with -DKTSIP_SANITIZE=ON (the pooled
# allocators then hand every object straight to malloc/free, so ASan sees each one) in a
# build directory of its own, runs the whole ctest suite, then parses every message of the
# torture corpus with `ktsip parse --json`: each run must print a JSON object with "ok"
# true or false, exit 0 or 1, and leave no sanitizer report.
#
# Environment:
#   BUILD_DIR          build directory (default: build-ci-asan in the source tree)
#   KTSIP_CORPUS_DIR   corpus folder with index.json (default: tests/corpus)
#   JOBS               parallel build and test jobs (default 2)
#   KTSIP_SKIP_DEPS=1  do not run scripts/install-deps.sh first
set -euo pipefail

ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
BUILD_DIR=${BUILD_DIR:-$ROOT/build-ci-asan}
CORPUS=${KTSIP_CORPUS_DIR:-$ROOT/tests/corpus}
JOBS=${JOBS:-2}

if [[ ${KTSIP_SKIP_DEPS:-0} != 1 ]]; then
  bash "$ROOT/scripts/install-deps.sh"
fi

export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1:detect_stack_use_after_return=1
export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1

echo "== ci-sanitize: configure $BUILD_DIR"
# Debug at -O1 keeps the instrumented build and its run times reasonable; tests are
# listed when ctest runs rather than after each link. GCC 12 reports false
# "may be used uninitialized" warnings inside libstdc++ (std::function in <regex>) once the
# sanitizers instrument optimised code; that one warning is turned off so -Werror holds.
cmake -S "$ROOT" -B "$BUILD_DIR" \
  -DCMAKE_BUILD_TYPE=Debug \
  -DCMAKE_CXX_FLAGS_DEBUG="-g -O1" \
  -DCMAKE_CXX_FLAGS="-Wno-maybe-uninitialized" \
  -DKTSIP_SANITIZE=ON \
  -DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST

echo "== ci-sanitize: build"
cmake --build "$BUILD_DIR" -j "$JOBS"

echo "== ci-sanitize: ctest"
# The corpus pass below runs even when a test fails, so one run shows both.
ctest_status=0
ctest --test-dir "$BUILD_DIR" --output-on-failure -j "$JOBS" || ctest_status=$?

echo "== ci-sanitize: ktsip parse --json over the corpus ($CORPUS)"
TOOL=$BUILD_DIR/tools/ktsip/ktsip
if [[ ! -x $TOOL ]]; then
  echo "ci-sanitize: $TOOL was not built" >&2
  exit 1
fi
if [[ ! -f $CORPUS/index.json ]]; then
  echo "ci-sanitize: no corpus index at $CORPUS/index.json" >&2
  exit 1
fi
mapfile -t FILES < <(python3 -c 'import json,sys; [print(e["file"]) for e in json.load(open(sys.argv[1]))]' \
  "$CORPUS/index.json")
OUT=$(mktemp -d)
trap 'rm -rf "$OUT"' EXIT
failed=0
for file in "${FILES[@]}"; do
  set +e
  "$TOOL" parse --json "$CORPUS/$file" >"$OUT/stdout" 2>"$OUT/stderr"
  rc=$?
  set -e
  problem=""
  if [[ $rc -ne 0 && $rc -ne 1 ]]; then
    problem="exit status $rc"
  elif grep -qE 'ERROR: (AddressSanitizer|LeakSanitizer)|runtime error:|SUMMARY: (Address|Undefined|Leak)' "$OUT/stderr"; then
    problem="sanitizer report"
  elif ! verdict=$(python3 - "$OUT/stdout" "$rc" <<'PY'
import json, sys
text = open(sys.argv[1], encoding="utf-8", errors="replace").read().strip()
lines = text.splitlines()
obj = None
for candidate in (text, lines[-1] if lines else ""):
    try:
        obj = json.loads(candidate)
        break
    except ValueError:
        pass
if not isinstance(obj, dict) or not isinstance(obj.get("ok"), bool):
    sys.exit("output does not end in a JSON object with a boolean \"ok\"")
if obj["ok"] != (sys.argv[2] == "0"):
    sys.exit("\"ok\" is %s but the exit status is %s" % (obj["ok"], sys.argv[2]))
print("ok, status %s" % obj.get("status") if obj["ok"] else "refused: %s" % obj.get("message"))
PY
  ); then
    problem="bad JSON output"
  fi
  if [[ -n $problem ]]; then
    failed=$((failed + 1))
    echo "FAIL $file: $problem"
    sed -n '1,60p' "$OUT/stderr"
    sed -n '1,5p' "$OUT/stdout"
  else
    echo "pass $file ($verdict)"
  fi
done
if [[ $failed -ne 0 ]]; then
  echo "ci-sanitize: $failed of ${#FILES[@]} corpus messages failed" >&2
fi
if [[ $ctest_status -ne 0 ]]; then
  echo "ci-sanitize: ctest failed (see above)" >&2
fi
if [[ $failed -ne 0 || $ctest_status -ne 0 ]]; then
  exit 1
fi
echo "ci-sanitize: ctest passed; ${#FILES[@]} corpus messages parsed cleanly"
