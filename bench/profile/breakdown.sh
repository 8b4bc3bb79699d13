#!/usr/bin/env bash
# Where the cycles go, per message of the typical corpus, for parse and for parse + serialize:
# instructions, memory accesses, cache misses and mispredicted branches (callgrind with its
# cache and branch simulation), locked read-modify-write instructions executed, pool blocks
# taken, cache lines of code and data touched (lackey memory trace), thread CPU time and,
# through the clock measured by a chain of dependent adds, cycles and instructions per cycle;
# then the instructions, misses and mispredictions by source file.
# Prints one markdown table per operation (the figures of bench/README.md, "Where the cycles
# go").
#
# usage: bench/profile/breakdown.sh [PASSES]     (default 100 measured passes of 14 messages)
# Environment: KTSIP_BENCH_BUILD_DIR (default bench/build; the same tree bench/compare
# builds), BREAKDOWN_LINES=0 skips the memory trace (the slowest step, ~2 minutes each).
# Needs valgrind (callgrind, lackey), objdump and python3. Hardware counters (perf) are not
# used: in this virtual machine perf reports cycles and instructions as not supported.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
bench=$(dirname "$here")
build=${KTSIP_BENCH_BUILD_DIR:-$bench/build}
passes=${1:-100}
warm=20  # passes run before the measured ones (and subtracted): pools and caches filled
out=$build/breakdown
mkdir -p "$out"

for tool in valgrind objdump python3; do
  command -v $tool >/dev/null || { echo "breakdown.sh: $tool is needed" >&2; exit 1; }
done

# The library as bench/compare builds it (Release, -O2, pools on, no sanitizer).
flags="-O2 -g -DNDEBUG"
if ! { cmake -S "$bench" -B "$build" -DCMAKE_BUILD_TYPE=Release \
         "-DCMAKE_CXX_FLAGS_RELEASE=$flags" "-DCMAKE_C_FLAGS_RELEASE=$flags" \
         -DKTSIP_POOL_PASSTHROUGH=OFF -DKTSIP_SANITIZE=OFF -DKTSIP_TSAN=OFF &&
       cmake --build "$build" --target ktsip -j "${JOBS:-$(nproc)}"; } >"$out/build.log" 2>&1; then
  tail -n 40 "$out/build.log" >&2
  echo "breakdown.sh: build failed (full log: $out/build.log)" >&2
  exit 1
fi
lib=$build/ktsip
loop=$out/profile_loop
# shellcheck disable=SC2086
g++ -std=c++17 $flags -I"$lib/include/ktsip" "$here/profile_loop.cpp" -o "$loop" \
  -L"$lib/sip" -L"$lib/base" -lktsip -lktutil -Wl,-rpath,"$lib/sip:$lib/base"

corpus=$bench/corpus
ghz=$("$loop" clock | awk '/^ghz/ {print $2}')
messages=$((passes * $(ls "$corpus" | grep -c '^[0-9].*\.sip$')))
for mode in parse serialize; do
  fn=profileParse
  [[ $mode == serialize ]] && fn=profileParseSerialize
  for n in $warm $((warm + passes)); do
    valgrind --tool=callgrind --cache-sim=yes --branch-sim=yes --dump-instr=yes \
      --collect-atstart=no --toggle-collect=$fn --callgrind-out-file="$out/$mode-$n.cg" \
      "$loop" $mode $n "$corpus" >"$out/$mode-$n.txt" 2>"$out/$mode-$n.log"
  done
  for run in 1 2 3 4 5; do  # the median of five native runs
    "$loop" $mode $((warm + passes * 10)) "$corpus" >"$out/$mode-native-$run.txt"
  done
  ns=$(cat "$out"/$mode-native-?.txt | awk '/^ns-per/ {print $2}' | sort -n | sed -n 3p)
  echo "== $mode (per message, $passes passes after $warm)"
  echo "| measure | per message |"
  echo "|---------|------------:|"
  python3 "$here/breakdown.py" events "$out/$mode-$warm.cg" "$out/$mode-$((warm + passes)).cg" $messages
  python3 "$here/breakdown.py" locked "$out/$mode-$warm.cg" "$out/$mode-$((warm + passes)).cg" $messages
  echo "| pool blocks taken | $(awk '/^pool-blocks/ {print $2}' "$out/$mode-native-1.txt") |"
  ir=$(python3 "$here/breakdown.py" events "$out/$mode-$warm.cg" "$out/$mode-$((warm + passes)).cg" $messages |
       awk -F'|' '/instructions/ {gsub(/[ ,]/, "", $3); print $3}')
  echo "| thread CPU time, ns (median of 5 native runs; a loaded machine adds to it) | $ns |"
  awk -v ns="$ns" -v ghz="$ghz" -v ir="$ir" 'BEGIN {
    if (ghz > 0) printf "| cycles at the measured clock of %.2f GHz / instructions per cycle | %.0f / %.2f |\n", ghz, ns * ghz, ir / (ns * ghz) }'
  if [[ ${BREAKDOWN_LINES:-1} != 0 ]]; then
    # Three passes traced; the lines of the third pass are counted (the first two warm up).
    valgrind --tool=lackey --trace-mem=yes --log-file="$out/$mode.lackey" "$loop" $mode 3 "$corpus" \
      >"$out/$mode-lackey.txt"
    python3 "$here/breakdown.py" lines "$out/$mode.lackey" "$(awk '/^marker/ {print $2}' "$out/$mode-lackey.txt")" \
      $((messages / passes * 2))
    rm -f "$out/$mode.lackey"
  fi
  echo
  python3 "$here/breakdown.py" files "$out/$mode-$warm.cg" "$out/$mode-$((warm + passes)).cg" $messages
  echo
done
