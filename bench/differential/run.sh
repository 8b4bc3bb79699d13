#!/usr/bin/env bash
# Differential check: builds the driver against an older revision of the library and
# against this tree, feeds both the same input sets and compares their outputs byte for
# byte (see README.md).
#
#   bench/differential/run.sh OLD_REV [COUNT]
#
# Environment:
#   WORK            scratch folder (default: build-differential in the source tree)
#   KTSIP_CORPUS_DIR  torture corpus (default: tests/corpus)
#   EXCUSE          extra arguments of compare.py (default: --excuse-reader-fixes)
#   KINDS           kinds to compare (default: all six)
#   JOBS            parallel build jobs (default 2)
set -euo pipefail

ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
HERE=$ROOT/bench/differential
OLD_REV=${1:?usage: run.sh OLD_REV [COUNT]}
COUNT=${2:-100000}
WORK=${WORK:-$ROOT/build-differential}
CORPUS=${KTSIP_CORPUS_DIR:-$ROOT/tests/corpus}
EXCUSE=${EXCUSE---excuse-reader-fixes}
KINDS=(${KINDS:-message header uri nameaddr challenge credentials})
JOBS=${JOBS:-2}

mkdir -p "$WORK"
OLD_SRC=$WORK/src-$(git -C "$ROOT" rev-parse --short "$OLD_REV")
if [[ ! -d $OLD_SRC ]]; then
  mkdir -p "$OLD_SRC.tmp"
  git -C "$ROOT" archive "$OLD_REV" | tar -x -C "$OLD_SRC.tmp"
  mv "$OLD_SRC.tmp" "$OLD_SRC"
fi

build() {  # build DIR SOURCE_ROOT
  cmake -S "$HERE" -B "$1" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKTSIP_ROOT="$2" >"$1.configure.log" 2>&1 ||
    { cat "$1.configure.log"; exit 1; }
  cmake --build "$1" -j "$JOBS" >"$1.build.log" 2>&1 || { tail -30 "$1.build.log"; exit 1; }
}
OLD_BUILD=$WORK/build-$(basename "$OLD_SRC" | sed 's/^src-//')
mkdir -p "$OLD_BUILD" "$WORK/build-tree"
echo "== differential: building $OLD_REV and this tree"
build "$OLD_BUILD" "$OLD_SRC"
build "$WORK/build-tree" "$ROOT"

echo "== differential: $COUNT inputs per set"
python3 "$HERE/gen_inputs.py" "$WORK/inputs" --count "$COUNT" --corpus "$CORPUS"

status=0
for kind in "${KINDS[@]}"; do
  "$OLD_BUILD/differential" "$kind" "$WORK/inputs/$kind.bin" "$WORK/$kind.old" >/dev/null
  "$WORK/build-tree/differential" "$kind" "$WORK/inputs/$kind.bin" "$WORK/$kind.new" >/dev/null
  python3 "$HERE/compare.py" "$kind" "$WORK/inputs/$kind.bin" "$WORK/$kind.old" "$WORK/$kind.new" $EXCUSE ||
    status=1
done
exit $status
