# Sourced by the interoperability scripts (scripts/interop.sh, tests/interop/test_scan_capture.sh).
#
# wait_listening LOG [PID]: waits up to five seconds for the file LOG to say "listening on"
# (what both `ktsip serve` and tcpdump write once ready), giving up early when the process
# PID has ended. Succeeds when LOG says it.
wait_listening() {
  for _ in $(seq 50); do
    grep -q "listening on" "$1" 2>/dev/null && return 0
    [[ -n "${2:-}" ]] && ! kill -0 "$2" 2>/dev/null && break
    sleep 0.1
  done
  grep -q "listening on" "$1" 2>/dev/null
}

# stop_process PID: SIGTERM, then SIGKILL when PID has not ended five seconds later. Does
# nothing when PID is empty or the process has ended.
stop_process() {
  [[ -n "$1" ]] && kill -0 "$1" 2>/dev/null || return 0
  kill -TERM "$1" 2>/dev/null
  for _ in $(seq 50); do kill -0 "$1" 2>/dev/null || return 0; sleep 0.1; done
  kill -KILL "$1" 2>/dev/null
}
