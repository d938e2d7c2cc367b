#!/usr/bin/env bash
# install-deps.sh PACKAGE...: installs the Debian packages that are missing, when run as root.
set -u
missing=()
for p in "$@"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0
if [ "$(id -u)" != 0 ]; then
  echo "install-deps: missing Debian packages: ${missing[*]} (run as root to install them)" >&2
  exit 0
fi
echo "install-deps: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
# shellcheck source=apt-aligned.sh
. "$(dirname "$0")/apt-aligned.sh"
for try in 1 2 3; do
  # An index that cannot be read (a mirror mid-sync) makes update fail although the other
  # indexes are fresh; the install decides.
  apt-get update -q >/dev/null 2>&1 || echo "install-deps: apt-get update reported errors; going on" >&2
  apt_install_aligned "${missing[@]}" && exit 0
  echo "install-deps: attempt $try failed" >&2
  sleep $((try * 5))
done
echo "install-deps: could not install ${missing[*]}" >&2
exit 1
