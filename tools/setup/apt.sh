# Sourced by setup.sh: Debian packages by name, from the machine's own sources or, where those cannot
# be brought up to date, from a private list of the same mirror.
#
# Why two lists: the i386 index of the security suite can be out of step with its release file, and
# apt then refuses every i386 package. The main suites alone have all that is needed here.

as_root() {
  if [[ $EUID -eq 0 ]]; then
    "$@"
  else
    sudo "$@"
  fi
}

# Makes `scratch`, a folder for what this file downloads and logs, which the script's end removes.
begin_apt() {
  [[ $EUID -eq 0 ]] || command -v sudo >/dev/null ||
    fail "installing packages needs root, or sudo; this is neither"
  scratch=$(mktemp -d)
  trap 'as_root rm -rf "$scratch"' EXIT
}

# apt_get LIST COMMAND [ARGUMENT...]; LIST is "machine" or a folder of make_private_list. Its output
# goes to a log: an attempt that fails and has a fallback is nothing to be startled by.
apt_get() {
  local list=$1
  shift
  local options=(-y -q -o DPkg::Lock::Timeout=600)
  if [[ $list != machine ]]; then
    options+=(-o "Dir::Etc::sourcelist=$list/sources.list" -o Dir::Etc::sourceparts=/dev/null
      -o "Dir::State::Lists=$list/lists" -o Dir::Cache::pkgcache= -o Dir::Cache::srcpkgcache=)
  fi
  printf '== apt-get %s\n' "$*" >>"$scratch/apt.log"
  # A service that a package starts must not inherit setup's lock (9>&-).
  as_root env DEBIAN_FRONTEND=noninteractive apt-get "${options[@]}" "$@" \
    >>"$scratch/apt.log" 2>&1 9>&-
}

# apt_failed MESSAGE: ends the script after showing what apt printed.
apt_failed() {
  cat "$scratch/apt.log" >&2
  fail "$1; apt's output is above"
}

# The mirrors the machine itself uses for its release, a line "URI<tab>KEYRING" for each.
machine_mirrors() {
  local suite=$1 files=() file
  for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.list \
    /etc/apt/sources.list.d/*.sources; do
    [[ -f $file ]] && files+=("$file")
  done
  [[ ${#files[@]} -gt 0 ]] || return 0
  awk -v "suite=$suite" -f "$root/tools/setup/apt_sources.awk" "${files[@]}"
}

# make_private_list FOLDER: fills it with a source list of the release's main suites and an empty
# folder of lists.
make_private_list() {
  local folder=$1 suite mirror uri keyring
  suite=$(. /etc/os-release && printf '%s' "${VERSION_CODENAME:-}")
  [[ -n $suite ]] || apt_failed "/etc/os-release names no release; this setup knows Debian only"
  mirror=$(machine_mirrors "$suite")
  mirror=${mirror%%$'\n'*} # the first will do
  [[ -n $mirror ]] ||
    apt_failed "no apt source of this machine offers $suite main; add one and try again"
  uri=${mirror%%$'\t'*}
  keyring=${mirror#*$'\t'}
  keyring=${keyring:-/usr/share/keyrings/debian-archive-keyring.gpg}
  mkdir -p "$folder/lists/partial"
  printf 'deb [signed-by=%s] %s %s main\n' "$keyring" "$uri" "$suite" \
    "$keyring" "$uri" "$suite-updates" >"$folder/sources.list"
  # apt downloads as a user of its own, who has to come in.
  chmod -R a+rX "$folder" "$folder/.."
}

# scratch_folder NAME: a folder in `scratch`.
scratch_folder() {
  mkdir -p "$scratch/$1"
  printf '%s' "$scratch/$1"
}

# The list that with_fallback uses first: the private one once the machine's own has failed.
apt_list=machine

# with_fallback FAILURE ACTION [ARGUMENT...]: updates the lists and runs `ACTION LIST [ARGUMENT...]`
# with the machine's own list, else with the private one. Ends the script with FAILURE, after apt's
# output, when both fail.
with_fallback() {
  local failure=$1 action=$2
  shift 2
  if [[ $apt_list == machine ]]; then
    if apt_get machine update && "$action" machine "$@"; then
      return
    fi
    say "the machine's package lists are incomplete at the moment, which happens when a mirror" \
      "is being updated; continuing with the main suites of the mirror alone"
    apt_list=$(scratch_folder apt)
    make_private_list "$apt_list"
  fi
  { apt_get "$apt_list" update && "$action" "$apt_list" "$@"; } || apt_failed "$failure"
}

install_packages() {
  local list=$1
  shift
  apt_get "$list" install --no-install-recommends "$@"
}

# Downloads one package into FOLDER without installing it.
download_package() {
  local list=$1 package=$2 folder=$3
  (cd "$folder" && apt_get "$list" -o APT::Sandbox::User=root download "$package")
}

# unpack_package PACKAGE FOLDER: a binary package. FOLDER gets a stamp, .unpacked, at the end.
unpack_package() {
  local package=$1 folder=$2 download
  download=$(scratch_folder "download-$package")
  say "unpacking $package into ${folder#"$root"/}"
  with_fallback "could not download $package" download_package "$package" "$download"
  rm -rf "$folder"
  mkdir -p "$folder"
  dpkg-deb -x "$download/$package"_*.deb "$folder"
  touch "$folder/.unpacked"
}

# unpack_source PACKAGE FOLDER: the sources of one package, from the mirror that the machine uses for its
# packages. FOLDER gets a stamp, .unpacked, at the end.
unpack_source() {
  local package=$1 folder=$2 list archive
  list=$(scratch_folder "sources-$package")
  say "unpacking the sources of $package into ${folder#"$root"/}"
  make_private_list "$list"
  sed -i 's/^deb /deb-src /' "$list/sources.list"
  apt_get "$list" update || apt_failed "could not read the list of source packages"
  (cd "$list" && apt_get "$list" --download-only source "$package") ||
    apt_failed "could not download the sources of $package"
  archive=$(find "$list" -maxdepth 1 -name "${package}_*.orig.tar.*" ! -name '*.asc')
  [[ -n $archive ]] || fail "the source package of $package holds no archive"
  rm -rf "$folder"
  mkdir -p "$folder"
  tar xf "$archive" -C "$folder" --strip-components=1
  touch "$folder/.unpacked"
}
