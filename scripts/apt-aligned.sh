# apt-aligned.sh: sourced by the install scripts. apt_install_aligned PACKAGE... installs the
# packages, and where apt refuses, asks for versions that fit together and tries again.
#
# A mirror whose i386 index lags behind (or runs ahead of) the amd64 one offers i386 libraries at
# versions the amd64 copies do not have, and a -dev package at a version whose library no longer
# matches the one the other architecture needs. apt then names what it cannot install:
#   "Depends: X:i386 but it is not going to be installed"  -> X for amd64 and i386 at the
#                                                             highest version both offer;
#   "P : Depends: X (= V) but W is to be installed"          -> P at version W, when offered
#                                                             (else X at V).
# On a whole mirror the first try succeeds and nothing is pinned.

# versions PKG[:ARCH]: every version the archive offers, one a line.
apt_versions() { apt-cache madison "$1" 2>/dev/null | awk -F'|' '{gsub(/ /, "", $2); print $2}' | sort -u; }

# apt_common_version NAME: the highest version offered for both amd64 and i386, or nothing.
apt_common_version() {
  local best="" v
  while read -r v; do
    [ -n "$v" ] || continue
    if [ -z "$best" ] || dpkg --compare-versions "$v" gt "$best"; then best=$v; fi
  done < <(comm -12 <(apt_versions "$1:amd64") <(apt_versions "$1:i386"))
  echo "$best"
}

apt_install_aligned() {
  local -A pinned=()
  local request=("$@") out round name version added line owner
  for round in $(seq 1 12); do
    if out=$(apt-get install -y -q --no-install-recommends --allow-downgrades "${request[@]}" 2>&1); then
      [ ${#pinned[@]} -gt 0 ] && echo "apt: installed with ${#pinned[@]} versions aligned"
      return 0
    fi
    added=0
    owner=""
    while IFS= read -r line; do
      # A problem line names its package first; continuation lines keep the last one.
      if [[ $line =~ ^\ ?([a-z0-9][a-z0-9.+-]*(:[a-z0-9]+)?)\ :\  ]]; then owner=${BASH_REMATCH[1]}; fi
      if [[ $line =~ Depends:\ ([a-z0-9][a-z0-9.+-]*)(:[a-z0-9]+)?\ .*but\ it\ is\ not ]]; then
        name=${BASH_REMATCH[1]}
        [ -n "${pinned[$name]:-}" ] && continue
        version=$(apt_common_version "$name")
        [ -n "$version" ] || continue
        pinned[$name]=$version
        request+=("$name:amd64=$version" "$name:i386=$version")
        added=$((added + 1))
      elif [[ $line =~ Depends:\ ([^\ ]+)\ \(=\ ([^\)]+)\)\ but\ ([^\ ]+)\ is\ to\ be\ installed ]] && [ -n "$owner" ]; then
        # P needs X at exactly V while W is to be installed: P follows W, unless P's version was
        # chosen here already; then X follows P.
        local dep=${BASH_REMATCH[1]} want=${BASH_REMATCH[2]} have=${BASH_REMATCH[3]}
        if [ -z "${pinned[$owner]:-}" ] && apt_versions "$owner" | grep -qxF "$have"; then
          pinned[$owner]=$have
          request+=("$owner=$have")
        elif [ -z "${pinned[$dep]:-}" ] && apt_versions "$dep" | grep -qxF "$want"; then
          pinned[$dep]=$want
          request+=("$dep=$want")
        else
          continue
        fi
        added=$((added + 1))
      fi
    done <<<"$out"
    if [ $added -eq 0 ]; then
      printf '%s\n' "$out" | tail -25 >&2
      echo "apt: nothing left to align" >&2
      return 1
    fi
    echo "apt: round $round: $added versions aligned"
  done
  return 1
}
