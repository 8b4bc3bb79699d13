#!/usr/bin/env bash
# Installs the Debian 12 packages needed to build ktsip, run its tests, the ktsip
# tool, the fuzzers and the benchmarks. Idempotent: asks dpkg which packages are
# missing, and only then updates the package lists and installs them. Silent when
# everything is already there. Run as root (no sudo is used) or as a user that
# has sudo; exits non-zero when packages are missing and cannot be installed.
set -euo pipefail

PACKAGES=(
  # toolchain and build
  g++ cmake make pkg-config ccache
  # libraries the base layer links against
  liblog4cplus-dev libace-dev libssl-dev uuid-dev
  # tests, benchmarks, the tool's JSON output and option parsing
  libgtest-dev libgmock-dev libbenchmark-dev nlohmann-json3-dev libcli11-dev python3
  # the event loop of `ktsip serve` (standalone asio, header-only)
  libasio-dev
  # packet captures: `ktsip scan` reads them with libpcap; its end-to-end test records one
  libpcap-dev tcpdump
  # fuzzing (clang with libFuzzer) and interoperability tests
  clang libclang-rt-14-dev sip-tester
  # API documentation
  doxygen
  # peer SIP libraries the benchmarks compare against (bench/compare)
  libosip2-dev libsofia-sip-ua-dev libbellesip-dev
)

missing=()
# A package counts when it is installed for this machine's architecture (or for all): with
# a foreign architecture added, dpkg-query prints one line per architecture.
native=$(dpkg --print-architecture)
for pkg in "${PACKAGES[@]}"; do
  if ! dpkg-query -W -f='${db:Status-Status} ${Architecture}\n' "$pkg" 2>/dev/null |
      grep -qE "^installed ($native|all)\$"; then
    missing+=("$pkg")
  fi
done

if [[ ${#missing[@]} -eq 0 ]]; then
  exit 0
fi

echo "install-deps: installing ${missing[*]}" >&2
SUDO=()
if [[ $(id -u) -ne 0 ]]; then
  if command -v sudo >/dev/null 2>&1; then
    SUDO=(sudo)
  else
    echo "install-deps: missing packages (${missing[*]}) and not running as root" >&2
    exit 1
  fi
fi

export DEBIAN_FRONTEND=noninteractive
"${SUDO[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -qq >/dev/null
"${SUDO[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
  "${missing[@]}" >/dev/null
echo "install-deps: done" >&2
