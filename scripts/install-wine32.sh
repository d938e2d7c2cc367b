#!/usr/bin/env bash
# install-wine32.sh: installs Debian's 32-bit Wine loader (wine32:i386) beside wine64, so that
# the i686 build can run its tests.
#
# A mirror whose i386 index lags behind (or runs ahead of) the amd64 one offers i386 libraries
# at versions the installed amd64 copies do not have; apt then refuses the Multi-Arch: same pairs
# ("Depends: X:i386 but it is not going to be installed"). Each library the resolver names is
# then asked for at one version both architectures offer, and the install is tried again until
# it goes through or names nothing new. On a whole mirror the first try succeeds.
set -u

installed() { dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q 'install ok installed'; }

installed wine32:i386 && exit 0
if [ "$(id -u)" != 0 ]; then
  echo "install-wine32: wine32:i386 is missing (run as root to install it)" >&2
  exit 0
fi
export DEBIAN_FRONTEND=noninteractive

if ! dpkg --print-foreign-architectures | grep -qx i386; then
  dpkg --add-architecture i386
fi
# An index that cannot be read (a mirror mid-sync) is reported and skipped by apt; the
# resolver below copes with the versions that are left.
apt-get update -q >/dev/null 2>&1 || echo "install-wine32: apt-get update reported errors; going on" >&2

# versions PKG:ARCH: every version the archive offers, one a line.
versions() { apt-cache madison "$1" 2>/dev/null | awk -F'|' '{gsub(/ /, "", $2); print $2}' | sort -u; }

# common_version NAME: the highest version offered for both amd64 and i386, or nothing.
common_version() {
  local best="" v
  while read -r v; do
    [ -n "$v" ] || continue
    if [ -z "$best" ] || dpkg --compare-versions "$v" gt "$best"; then best=$v; fi
  done < <(comm -12 <(versions "$1:amd64") <(versions "$1:i386"))
  echo "$best"
}

declare -A pinned=()
request=(wine32:i386)
for round in $(seq 1 12); do
  if out=$(apt-get install -y -q --no-install-recommends --allow-downgrades "${request[@]}" 2>&1); then
    [ ${#pinned[@]} -gt 0 ] && echo "install-wine32: installed with ${#pinned[@]} library pairs aligned"
    exit 0
  fi
  # The libraries the resolver could not bring in at a matching version.
  names=$(printf '%s\n' "$out" | sed -n 's/.*Depends: \([a-z0-9][a-z0-9.+-]*\)\(:[a-z0-9]*\)\{0,1\} .*/\1/p' | sort -u)
  added=0
  for name in $names; do
    [ -n "${pinned[$name]:-}" ] && continue
    v=$(common_version "$name")
    [ -n "$v" ] || continue
    pinned[$name]=$v
    request+=("$name:amd64=$v" "$name:i386=$v")
    added=$((added + 1))
  done
  if [ $added -eq 0 ]; then
    printf '%s\n' "$out" | tail -25 >&2
    echo "install-wine32: apt names no library left to align; wine32:i386 not installed" >&2
    exit 1
  fi
  echo "install-wine32: round $round: aligning $added library pairs"
done
echo "install-wine32: wine32:i386 not installed after 12 rounds" >&2
exit 1
