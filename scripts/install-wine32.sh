#!/usr/bin/env bash
# install-wine32.sh: installs Debian's 32-bit Wine loader (wine32:i386) beside wine64, so that
# the i686 build can run its tests.
#
# Where the mirror's i386 and amd64 indexes disagree, apt-aligned.sh asks for library versions
# both architectures offer.
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

# shellcheck source=apt-aligned.sh
. "$(dirname "$0")/apt-aligned.sh"
if apt_install_aligned wine32:i386; then exit 0; fi
echo "install-wine32: wine32:i386 not installed" >&2
exit 1
