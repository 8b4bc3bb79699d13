#!/usr/bin/env bash
# Fuzzing stage: builds the libFuzzer targets of fuzz/ with clang (ASan + UBSan) and runs
# each one for a bounded time. Any crash, sanitizer report, broken invariant, leak,
# timeout or out-of-memory fails the stage; the input is printed as hex together with
# the end of the fuzzer's report.
#
# Seeds: fuzz/seeds/<target>/ (taken from the unit tests; the capture seeds are written by
# fuzz/make_capture_seeds.py), plus the torture corpus cut
# into pieces per target by fuzz/make_seeds.py at run time.
#
# Environment:
#   FUZZ_SECONDS       run time of each target (default 60)
#   FUZZ_TARGETS       targets to run (default: all seven)
#   BUILD_DIR          build directory (default: build-ci-fuzz in the source tree)
#   KTSIP_CORPUS_DIR   corpus folder with index.json (default: tests/corpus)
#   JOBS               parallel build jobs (default 2)
#   KTSIP_SKIP_DEPS=1  do not run scripts/install-deps.sh first
set -euo pipefail

ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
BUILD_DIR=${BUILD_DIR:-$ROOT/build-ci-fuzz}
CORPUS=${KTSIP_CORPUS_DIR:-$ROOT/tests/corpus}
SECONDS_EACH=${FUZZ_SECONDS:-60}
TARGETS=(${FUZZ_TARGETS:-message header uri name_address challenge credentials capture})
JOBS=${JOBS:-2}

if [[ ${KTSIP_SKIP_DEPS:-0} != 1 ]]; then
  bash "$ROOT/scripts/install-deps.sh"
fi

echo "== ci-fuzz: build ($BUILD_DIR)"
# -O1 builds faster than the default -O2 on a small machine and runs about as fast under
# the sanitizers; assert() stays enabled (no NDEBUG).
CC=clang CXX=clang++ cmake -S "$ROOT/fuzz" -B "$BUILD_DIR" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O1 -g"
cmake --build "$BUILD_DIR" -j "$JOBS"

WORK=$BUILD_DIR/run
FINDINGS=$BUILD_DIR/findings
rm -rf "$WORK" "$FINDINGS"
mkdir -p "$WORK" "$FINDINGS"
for target in "${TARGETS[@]}"; do
  mkdir -p "$WORK/$target"
  if compgen -G "$ROOT/fuzz/seeds/$target/*" >/dev/null; then
    cp "$ROOT/fuzz/seeds/$target/"* "$WORK/$target/"
  fi
done
if [[ ! -f $CORPUS/index.json ]]; then
  echo "ci-fuzz: no corpus index at $CORPUS/index.json" >&2
  exit 1
fi
python3 "$ROOT/fuzz/make_seeds.py" --corpus "$CORPUS" "$WORK"

hexdump_file() {
  python3 - "$1" <<'PY'
import sys
data = open(sys.argv[1], "rb").read()
print("input (%d bytes):" % len(data))
for i in range(0, min(len(data), 4096), 16):
    chunk = data[i:i + 16]
    hexes = " ".join("%02x" % b for b in chunk)
    text = "".join(chr(b) if 32 <= b < 127 else "." for b in chunk)
    print("%08x  %-47s  %s" % (i, hexes, text))
if len(data) > 4096:
    print("... (%d more bytes)" % (len(data) - 4096))
PY
}

failed=()
for target in "${TARGETS[@]}"; do
  binary=$BUILD_DIR/fuzz_$target
  log=$FINDINGS/$target.log
  echo "== ci-fuzz: $target for ${SECONDS_EACH}s ($(ls "$WORK/$target" | wc -l) seeds)"
  set +e
  "$binary" "$WORK/$target" \
    -dict="$ROOT/fuzz/sip.dict" \
    -max_total_time="$SECONDS_EACH" \
    -rss_limit_mb=2048 \
    -timeout=10 \
    -print_final_stats=1 \
    -artifact_prefix="$FINDINGS/$target-" >"$log" 2>&1
  rc=$?
  set -e
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
  coverage=$(grep -oE 'cov: [0-9]+' "$log" | tail -1)
  artifacts=$(compgen -G "$FINDINGS/$target-*" || true)
  if [[ $rc -ne 0 || -n $artifacts ]]; then
    failed+=("$target")
    echo "FAIL $target (exit $rc, ${runs:-?} runs)"
    grep -E "invariant broken|ERROR: |SUMMARY: |runtime error" "$log" | head -5 || true
    sed -n '/==ERROR\|invariant broken\|runtime error/,$p' "$log" | grep -E "^\s+#[0-9]+ " | head -25 || true
    for artifact in $artifacts; do
      echo "artifact: $artifact"
      hexdump_file "$artifact"
    done
  else
    echo "pass $target: ${runs:-?} runs, ${coverage:-cov: ?}"
  fi
done

if [[ ${#failed[@]} -ne 0 ]]; then
  echo "ci-fuzz: findings in ${failed[*]}; logs and inputs under $FINDINGS" >&2
  exit 1
fi
echo "ci-fuzz: no findings in ${#TARGETS[@]} targets"
