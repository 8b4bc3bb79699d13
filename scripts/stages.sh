# shellcheck shell=bash
# Quiet steps for the scripts (sourced by test.sh and demo.sh).
#
#   source scripts/stages.sh
#   stages_init DIR                  logs go to DIR (created; printed once)
#   run_stage NAME [--about TEXT] COMMAND [ARGS...]
#
# run_stage runs the command with its standard output and error in DIR/NAME.log and prints
# one line: the step, an estimate while it runs (--about), then "ok" or "FAILED" and the time
# it took. Summary lines of test runners found in the log ("100% tests passed, 0 tests
# failed out of N", "N passed, N failed") are copied to the terminal. On a failure it prints
# the end of the log (KTSIP_LOG_TAIL lines, 60 by default) and exits with the command's status.

STAGES_LOG_DIR=""
STAGES_STARTED=$SECONDS

stages_init() {
  STAGES_LOG_DIR=$1
  mkdir -p "$STAGES_LOG_DIR"
  echo "logs: $STAGES_LOG_DIR/"
}

# Seconds as "42s" or "3m07s".
stages_duration() {
  local s=$1
  if ((s >= 60)); then printf '%dm%02ds' $((s / 60)) $((s % 60)); else printf '%ds' "$s"; fi
}

run_stage() {
  local name=$1 about=""
  shift
  if [[ ${1:-} == --about ]]; then
    about=" ($2)"
    shift 2
  fi
  local log=$STAGES_LOG_DIR/$name.log
  local started=$SECONDS rc=0 errexit=0
  [[ $- == *e* ]] && errexit=1
  printf '==> %-12s%s ... ' "$name" "$about"
  # The subshell stops at the first failing command, also inside a shell function.
  set +e
  (set -e; "$@") >"$log" 2>&1 </dev/null
  rc=$?
  ((errexit)) && set -e
  local took
  took=$(stages_duration $((SECONDS - started)))
  if [[ $rc -eq 0 ]]; then
    echo "ok, $took"
    grep -E '^[0-9]+% tests passed, [0-9]+ tests? failed out of [0-9]+|^[0-9]+ passed, [0-9]+ failed' "$log" || true
    return 0
  fi
  echo "FAILED (exit $rc) after $took; log: $log"
  grep -E '^[0-9]+% tests passed, [0-9]+ tests? failed out of [0-9]+|^[0-9]+ passed, [0-9]+ failed' "$log" || true
  echo "---- last ${KTSIP_LOG_TAIL:-60} lines of $log"
  tail -n "${KTSIP_LOG_TAIL:-60}" "$log"
  echo "----"
  exit "$rc"
}

# The total time since the script started.
stages_total() {
  stages_duration $((SECONDS - STAGES_STARTED))
}
