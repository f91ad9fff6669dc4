# Sourced by setup.sh: Debian packages by name, by the machine's own sources or, where those cannot
# be brought up to date, by a private list of the same mirror.
#
# Why two roads: the i386 index of the security suite can be out of step with its release file, and
# apt then refuses every i386 package. The main suite alone has all that is needed here.

as_root() {
  if [[ $EUID -eq 0 ]]; then
    "$@"
  elif command -v sudo >/dev/null; then
    sudo "$@"
  else
    fail "neither root nor sudo: cannot run '$*'"
  fi
}

# apt_get ROAD COMMAND [ARGUMENT...]; ROAD is "plain" or a folder of make_private_road.
apt_get() {
  local by=$1
  shift
  local options=(-y -q -o DPkg::Lock::Timeout=600)
  if [[ $by != plain ]]; then
    options+=(-o "Dir::Etc::sourcelist=$by/sources.list" -o Dir::Etc::sourceparts=/dev/null
      -o "Dir::State::Lists=$by/lists" -o Dir::Cache::pkgcache= -o Dir::Cache::srcpkgcache=)
  fi
  # A service that a package starts must not inherit setup's lock (9>&-).
  as_root env DEBIAN_FRONTEND=noninteractive apt-get "${options[@]}" "$@" >&2 9>&-
}

# The mirrors the machine itself uses for its release, a line "URI<tab>KEYRING" for each.
machine_mirrors() {
  local suite=$1 files=() file
  for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.list \
    /etc/apt/sources.list.d/*.sources; do
    [[ -f $file ]] && files+=("$file")
  done
  [[ ${#files[@]} -gt 0 ]] || return 0
  awk -v "suite=$suite" -f "$root/tools/apt_sources.awk" "${files[@]}"
}

# Fills FOLDER with a source list of the release's main suites and an empty folder of lists.
make_private_road() {
  local folder=$1 suite mirror uri keyring
  suite=$(. /etc/os-release && printf '%s' "${VERSION_CODENAME:-}")
  [[ -n $suite ]] || fail "/etc/os-release names no release; this setup knows Debian only"
  mirror=$(machine_mirrors "$suite")
  mirror=${mirror%%$'\n'*} # the first will do
  [[ -n $mirror ]] || fail "no apt source of this machine offers $suite main; add one and try again"
  uri=${mirror%%$'\t'*}
  keyring=${mirror#*$'\t'}
  keyring=${keyring:-/usr/share/keyrings/debian-archive-keyring.gpg}
  mkdir -p "$folder/lists/partial"
  printf 'deb [signed-by=%s] %s %s main\n' "$keyring" "$uri" "$suite" \
    "$keyring" "$uri" "$suite-updates" >"$folder/sources.list"
  # apt downloads as a user of its own, who has to come in.
  chmod -R a+rX "$folder" "$folder/.."
}

# scratch_folder NAME: a folder in `scratch`, which the script that sources this file makes, and removes
# at its end, whatever the end is.
scratch_folder() {
  mkdir -p "$scratch/$1"
  printf '%s' "$scratch/$1"
}

# The road that by_either_road takes first: the private one once the plain one has failed.
road=plain

# Runs `ACTION ROAD [ARGUMENT...]` after an update by the plain road, else by the private one.
by_either_road() {
  local action=$1
  shift
  if [[ $road == plain ]]; then
    if apt_get plain update && "$action" plain "$@"; then
      return 0
    fi
    say "apt's plain road failed, for the reason above; trying the mirror's main suites alone"
    road=$(scratch_folder apt)
    make_private_road "$road"
  fi
  apt_get "$road" update && "$action" "$road" "$@"
}

install_packages() {
  local by=$1
  shift
  apt_get "$by" install --no-install-recommends "$@"
}

# Downloads one package into FOLDER without installing it.
download_package() {
  local by=$1 package=$2 folder=$3
  (cd "$folder" && apt_get "$by" -o APT::Sandbox::User=root download "$package")
}

# unpack_source PACKAGE FOLDER: the sources of one package, from the mirror that the machine uses for its
# packages, so that the Windows compiler can build them too. FOLDER gets a stamp, .unpacked, at the end.
unpack_source() {
  local package=$1 folder=$2 by archive
  by=$(scratch_folder "sources-$package")
  say "unpacking the sources of $package into ${folder#"$root"/}"
  make_private_road "$by"
  sed -i 's/^deb /deb-src /' "$by/sources.list"
  apt_get "$by" update || fail "could not read the list of source packages; apt's reason is above"
  (cd "$by" && apt_get "$by" --download-only source "$package") ||
    fail "could not download the sources of $package; apt's reason is above"
  archive=$(find "$by" -maxdepth 1 -name "${package}_*.orig.tar.*" ! -name '*.asc')
  [[ -n $archive ]] || fail "the source package of $package holds no archive"
  rm -rf "$folder"
  mkdir -p "$folder"
  tar xf "$archive" -C "$folder" --strip-components=1
  touch "$folder/.unpacked"
}
