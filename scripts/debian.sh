# SPDX-License-Identifier: Apache-2.0
# Sourced by the scripts that take things from Debian: where they come from, and where they are kept.

# Kept between clones: roots and sources take minutes to fetch and never change under one name.
quorvel_cache=${QUORVEL_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/quorvel}

# The archive that this machine's own packages come from, one line "ADDRESS CODENAME COMPONENT" each.
debian_archives() {
  apt-get indextargets --format '$(REPO_URI) $(CODENAME) $(COMPONENT)' 'Created-By: Packages' | sort -u |
    grep -E ' [a-z]+(-updates|-security)? main$'
}

# The release's main archive alone: ADDRESS CODENAME.
debian_main_archive() {
  debian_archives | awk '$2 !~ /-/ {print $1, $2; exit}'
}

# debian_source PACKAGE TARBALL SHA256: fetches the upstream tarball of a source package into the cache and prints its
# path. Tarball and digest pin the version, whatever Debian's own revision of the packaging. The list of sources is one
# of ours, so that nothing of the machine's own configuration changes.
debian_source() {
  local package=$1 tarball=$2 digest=$3 kept=$quorvel_cache/sources work
  if [ ! -e "$kept/$tarball" ]; then
    work=$(mktemp -d)
    mkdir -p "$work/lists/partial" "$kept"
    debian_archives | sed 's/^/deb-src /' >"$work/sources.list"
    local options=(-o "Dir::Etc::SourceList=$work/sources.list" -o Dir::Etc::SourceParts=- -o "Dir::State::Lists=$work/lists"
      -o APT::Sandbox::User=root)
    if ! (cd "$work" && apt-get "${options[@]}" update && apt-get "${options[@]}" source --download-only "$package") \
        >"$work/log" 2>&1; then
      tail -n 10 "$work/log" >&2
      echo "the source package $package could not be fetched (its last lines are above)" >&2
      rm -rf "$work"
      return 1
    fi
    mv "$work/$tarball" "$kept/"
    rm -rf "$work"
  fi
  if ! echo "$digest  $kept/$tarball" | sha256sum --check --status; then
    echo "$kept/$tarball is not the file it should be; remove it to have it fetched again" >&2
    return 1
  fi
  echo "$kept/$tarball"
}
