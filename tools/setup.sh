#!/usr/bin/env bash
# Brings a Debian 12 machine to where it can build and test: installs the packages that are missing
# and unpacks those that are only read. Does nothing, quickly, when all is there.
set -euo pipefail

source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
source "$root/tools/apt.sh"

# Each with its reason; a name with :i386 is a 32-bit package.
readonly packages=(
  g++ clang libclang-rt-14-dev llvm     # native compilers, the sanitizers' run time, their symbols
  clang-format clang-tidy               # ./dev format, ./dev lint
  cmake ninja-build python3
  python3-clang-14                      # ./dev mutate
  googletest libbenchmark-dev
  g++-mingw-w64-i686-posix              # the compilers of the component
  g++-mingw-w64-x86-64-posix
  mingw-w64-tools                       # widl, the compiler of its type library
  fp-compiler fpc-source                # compiles the examples in Pascal
  golang-go                             # the example in Go
  cargo rustc libstd-rust-dev-windows   # the example in Rust, for 64-bit Windows
  librust-winapi-dev                    # its declarations of Windows
  wine wine32:i386 wine64               # runs the component and its tests
  wixl msitools                         # the installation packages
  xvfb xauth                            # a display for Wine
  chromium                              # tests the page that to-html makes
  zsh                                   # tests the completions for it
  strace                                # tests in which order the program sets permissions
  libcli11-dev libfmt-dev nlohmann-json3-dev   # libraries of the program brindlex, headers only
)

# widl comes without the interface descriptions it has to import; this package has them. It is
# unpacked, not installed: installed it would bring Wine's whole development tree.
readonly idl_package=libwine-dev
readonly idl_folder=$root/build/tools/libwine-dev
readonly idl_stamp=$idl_folder/.unpacked

# The CSV library of the program brindlex, which no package has for the Windows compilers.
readonly csv_folder=$root/build/tools/libcsv
readonly csv_stamp=$csv_folder/.unpacked

missing_packages() {
  local package answers
  # Asked once for all packages, to be quick. Names unknown to dpkg are what is looked for: its
  # complaint and its status about them are no news.
  answers=$(dpkg-query -W -f='${Package} ${Package}:${Architecture} ${db:Status-Status}\n' \
    "${packages[@]}" 2>/dev/null || true)
  for package in "${packages[@]}"; do
    # A name matches bare or with its architecture.
    grep -Eq "(^| )${package//+/[+]} (.* )?installed$" <<<"$answers" || printf '%s\n' "$package"
  done
}

install_missing() {
  say "installing what is missing: $*"
  if ! dpkg --print-foreign-architectures | grep -qx i386; then
    say "adding the i386 architecture"
    as_root dpkg --add-architecture i386
  fi
  by_either_road install_packages "$@" || fail "could not install: $*; apt's reason is above"
}

unpack_idl_package() {
  local download
  download=$(scratch_folder download)
  say "unpacking $idl_package into ${idl_folder#"$root"/}"
  by_either_road download_package "$idl_package" "$download" ||
    fail "could not download $idl_package; apt's reason is above"
  rm -rf "$idl_folder"
  mkdir -p "$idl_folder"
  dpkg-deb -x "$download/$idl_package"_*.deb "$idl_folder"
  touch "$idl_stamp"
}

setup() {
  local missing
  mapfile -t missing < <(missing_packages)
  if [[ ${#missing[@]} -eq 0 && -f $idl_stamp && -f $csv_stamp ]]; then
    return
  fi

  scratch=$(mktemp -d)
  trap 'as_root rm -rf "$scratch"' EXIT
  if [[ ${#missing[@]} -gt 0 ]]; then
    install_missing "${missing[@]}"
    mapfile -t missing < <(missing_packages)
    [[ ${#missing[@]} -eq 0 ]] || fail "apt reported success, yet these are missing: ${missing[*]}"
  fi
  [[ -f $idl_stamp ]] || unpack_idl_package
  [[ -f $csv_stamp ]] || unpack_source libcsv "$csv_folder"
  say "setup is complete"
}

command -v dpkg-query >/dev/null || fail "no dpkg here: this setup knows Debian 12 only"

# Two setups at once would fight over apt's locks.
mkdir -p "$root/build/tools"
exec 9>"$root/build/tools/setup.lock"
flock 9
setup
