#!/usr/bin/env bash
# Installs the Debian 12 packages needed to build ktsip, run its tests, the ktsip
# tool, the fuzzers and the benchmarks, and those of the 32-bit build (i386, see
# scripts/ci-i386.sh). Idempotent: asks dpkg which packages are missing, and only
# then updates the package lists and installs them. Silent when everything is
# already there. Run as root (no sudo is used) or as a user that has sudo; exits
# non-zero when packages are missing and cannot be installed.
set -euo pipefail

PACKAGES=(
  # toolchain and build (g++-multilib: the 32-bit build; file: its architecture check)
  g++ g++-multilib cmake make pkg-config ccache file
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

# The libraries of the 32-bit build, installed as PACKAGE:i386 beside the ones above
# (nlohmann-json is header-only and serves both).
PACKAGES_I386=(
  liblog4cplus-dev libssl-dev uuid-dev libgtest-dev libgmock-dev libpcap-dev
)

# ACE's packages are not multiarch: dpkg cannot hold the i386 library beside the amd64
# one. The i386 packages are fetched with apt-get and unpacked under ACE_I386_DIR (the
# headers are the amd64 package's, which are the same), with a pkg-config file of their
# own (read by cmake/i386.cmake) and the folder registered with the dynamic linker.
ACE_I386=(libace-7.0.8 libace-dev)
ACE_I386_DIR=/opt/ktsip-i386

# installed PACKAGE ARCH: whether dpkg has PACKAGE installed for ARCH (or for all).
installed() {
  dpkg-query -W -f='${Architecture} ${db:Status-Status}\n' "$1" 2>/dev/null | grep -qE "^($2|all) installed$"
}

# A package counts when it is installed for the architecture asked for (or for all): with a
# foreign architecture added, dpkg-query prints one line per architecture.
native=$(dpkg --print-architecture)
missing=()
for pkg in "${PACKAGES[@]}"; do
  installed "$pkg" "$native" || missing+=("$pkg")
done
for pkg in "${PACKAGES_I386[@]}"; do
  installed "$pkg" i386 || missing+=("$pkg:i386")
done
ace_missing=0
[[ -e $ACE_I386_DIR/lib/pkgconfig/ACE.pc && -e /etc/ld.so.conf.d/ktsip-i386.conf ]] || ace_missing=1

if [[ ${#missing[@]} -eq 0 && $ace_missing -eq 0 ]]; then
  exit 0
fi

wanted=("${missing[@]}")
if [[ $ace_missing -eq 1 ]]; then
  wanted+=("ACE(i386)")
fi
echo "install-deps: installing ${wanted[*]}" >&2
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
APT=("${SUDO[@]}" env DEBIAN_FRONTEND=noninteractive apt-get)

if ! dpkg --print-foreign-architectures | grep -qx i386; then
  "${SUDO[@]}" dpkg --add-architecture i386
fi

# The index of one architecture can briefly lag behind the registry ("Mirror sync in
# progress"): retry, then go on with the lists there are and let the install decide.
for attempt in 1 2 3; do
  if "${APT[@]}" update -qq >/dev/null 2>&1; then
    break
  fi
  if [[ $attempt -eq 3 ]]; then
    echo "install-deps: apt-get update failed three times; going on with the package lists there are" >&2
  else
    sleep $((attempt * 5))
  fi
done

# A multiarch library must have the same version for both architectures, so the amd64
# and i386 packages go in one call. When the lists of the two architectures offer
# different versions (one index lagging), the install cannot be resolved: then each
# package apt names in its complaint is asked for at the newest version both
# architectures have, for both of them, until the install resolves (a few rounds at most).
install_all() {
  local request=("$@") pinned=() out round pkg version
  declare -A pin=()
  for round in 1 2 3 4 5 6 7 8 9 10; do
    pinned=()
    for pkg in "${request[@]}"; do
      [[ -n ${pin[${pkg%:i386}]:-} ]] || pinned+=("$pkg")
    done
    for pkg in "${!pin[@]}"; do
      pinned+=("$pkg=${pin[$pkg]}" "$pkg:i386=${pin[$pkg]}")
    done
    if out=$("${APT[@]}" install -y --no-install-recommends --allow-downgrades "${pinned[@]}" 2>&1); then
      return 0
    fi
    local named=() added=0
    mapfile -t named < <(sed -n '/unmet dependencies/,$p' <<<"$out" |
      grep -oE '(^ |Depends: |Breaks: )[a-z0-9][a-z0-9.+-]+' | sed -E 's/^( |Depends: |Breaks: )//' | sort -u)
    for pkg in "${named[@]}"; do
      [[ -n ${pin[$pkg]:-} ]] && continue
      version=$(comm -12 \
        <(apt-cache madison "$pkg:amd64" 2>/dev/null | awk -F'|' '$3 ~ /amd64/ {gsub(/ /, "", $2); print $2}' | sort -u) \
        <(apt-cache madison "$pkg:i386" 2>/dev/null | awk -F'|' '$3 ~ /i386/ {gsub(/ /, "", $2); print $2}' | sort -u) |
        sort -V | tail -n 1)
      if [[ -n $version ]]; then
        pin[$pkg]=$version
        added=1
      fi
    done
    if [[ $added -eq 0 ]]; then
      break
    fi
    echo "install-deps: versions of both architectures aligned: ${!pin[*]}" >&2
  done
  echo "$out" >&2
  return 1
}

if [[ ${#missing[@]} -gt 0 ]]; then
  install_all "${missing[@]}"
fi

if [[ $ace_missing -eq 1 ]]; then
  work=$(mktemp -d)
  trap 'rm -rf "$work"' EXIT
  chmod 777 "$work"  # apt fetches as its own user
  if ! out=$(cd "$work" && "${APT[@]}" download -qq "${ACE_I386[@]/%/:i386}" 2>&1); then
    echo "$out" >&2
    exit 1
  fi
  for deb in "$work"/*.deb; do
    dpkg-deb -x "$deb" "$work/root"
  done
  lib=$work/root/usr/lib/i386-linux-gnu
  "${SUDO[@]}" mkdir -p "$ACE_I386_DIR/lib/pkgconfig"
  "${SUDO[@]}" cp -a "$lib"/libACE-*.so "$lib/libACE.so" "$ACE_I386_DIR/lib/"
  sed -e "s|^libdir=.*|libdir=$ACE_I386_DIR/lib|" "$lib/pkgconfig/ACE.pc" |
    "${SUDO[@]}" tee "$ACE_I386_DIR/lib/pkgconfig/ACE.pc" >/dev/null
  echo "$ACE_I386_DIR/lib" | "${SUDO[@]}" tee /etc/ld.so.conf.d/ktsip-i386.conf >/dev/null
  "${SUDO[@]}" ldconfig
fi
echo "install-deps: done" >&2
