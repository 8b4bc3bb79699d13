#!/usr/bin/env bash
# Runs one sipp scenario against a SIP server and checks what sipp counted.
#
#   bash tests/interop/run-scenario.sh NAME CALLS OUTDIR SIPP-ARGUMENTS...
#
# NAME names the run (and its files in OUTDIR: NAME.csv with sipp's statistics, NAME.err
# with its errors, NAME.screen with its last screens, NAME.out with its output). CALLS is
# the number of calls sipp is to complete; it is passed to sipp as -m. The run passes when
# sipp exits with status 0 and its statistics show CALLS successful calls and no failed
# call. Prints one line: "PASS NAME: ..." or "FAIL NAME: ...", and exits 0 or 1.
#
# Bounded in time: sipp gets -timeout (KTSIP_INTEROP_SIPP_TIMEOUT, default 60 s) and is
# killed by timeout(1) 30 s after that.
set -uo pipefail

if [[ $# -lt 4 ]]; then
  echo "usage: run-scenario.sh NAME CALLS OUTDIR SIPP-ARGUMENTS..." >&2
  exit 2
fi
name=$1 calls=$2 outdir=$3
shift 3
limit=${KTSIP_INTEROP_SIPP_TIMEOUT:-60}

# The value of column $2 in the last line of sipp's statistics file $1.
stat() {
  awk -F';' -v want="$2" '
    NR == 1 { for (i = 1; i <= NF; i++) if ($i == want) column = i; next }
    { last = $0 }
    END {
      if (!column || last == "") { print "?"; exit }
      split(last, fields, ";"); print fields[column]
    }' "$1"
}

rm -f "$outdir/$name.csv" "$outdir/$name.err" "$outdir/$name.screen"
timeout --kill-after=5 $((limit + 30)) sipp "$@" \
  -m "$calls" -timeout "${limit}s" -timeout_error -nostdin \
  -trace_stat -stf "$outdir/$name.csv" -fd 1 \
  -trace_err -error_file "$outdir/$name.err" \
  -trace_screen -screen_file "$outdir/$name.screen" \
  >"$outdir/$name.out" 2>&1 </dev/null
status=$?

created='?' successful='?' failed='?'
if [[ -s "$outdir/$name.csv" ]]; then
  created=$(stat "$outdir/$name.csv" 'OutgoingCall(C)')
  successful=$(stat "$outdir/$name.csv" 'SuccessfulCall(C)')
  failed=$(stat "$outdir/$name.csv" 'FailedCall(C)')
fi
summary="$created calls made, $successful successful, $failed failed (sipp exit status $status)"
if [[ $status -eq 0 && "$successful" == "$calls" && "$failed" == "0" ]]; then
  echo "PASS $name: $summary"
  exit 0
fi
echo "FAIL $name: $summary; expected $calls successful calls"
if [[ -s "$outdir/$name.err" ]]; then
  echo "---- sipp errors ($outdir/$name.err), first lines:"
  head -n 20 "$outdir/$name.err"
fi
exit 1
