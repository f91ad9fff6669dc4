#!/usr/bin/env bash
# Brings a Debian 12 machine to where it can run the commands of ./dev that are given, or all of
# them: installs the packages that are missing, and unpacks those that are only read. Does nothing,
# quickly, when all is there.
#
#   setup.sh [COMMAND...]
set -euo pipefail

source "$(dirname "${BASH_SOURCE[0]}")/../common.sh"
source "$root/tools/setup/apt.sh"
source "$root/tools/setup/emulator.sh"

# Groups of commands that need the same packages.
readonly -A groups=(
  [component]='build test clients demo host package lint bench soak coverage' # compile for Windows
  [wine]='test clients demo host package bench soak coverage' # run what they compile
  [win64]='build test clients package soak'
  [native]='test lint bench fuzz coverage mutate' # compile for this machine, tests included
  [sanitizers]='test fuzz coverage'
  [program]='test lint bench fuzz coverage mutate package' # compile the program brindlex
)

# package | commands that need it, or groups of them | reason. A name with :i386 is a 32-bit package.
readonly packages=(
  'cmake                      | component native | configures every build'
  'ninja-build                | component native | runs it'
  'python3                    | component native generate | runs the scripts of builds and tests'
  'g++-mingw-w64-i686-posix   | component        | compiles the component'
  'mingw-w64-tools            | component        | widl, which compiles its type library'
  'wine32:i386                | component        | runs it; widl imports its stdole2.tlb'
  'wine                       | wine             | the commands wine and wineserver'
  'xvfb                       | wine             | a display for Wine'
  'g++-mingw-w64-x86-64-posix | win64            | compiles the 64-bit component'
  'wine64                     | test clients package soak | runs it'
  'g++                        | test bench fuzz package | the optimized native build'
  'clang                      | native           | the other native builds'
  'libclang-rt-14-dev         | sanitizers       | the run time of sanitizers, fuzzing, coverage'
  'llvm                       | sanitizers       | names in their reports; the coverage tables'
  'clang-format-14            | test lint format generate | the format of every source'
  'clang-tidy-14              | lint             | its checks'
  'python3-clang-14           | mutate           | finds the places to change'
  'googletest                 | native           | the test library, compiled for every toolchain'
  'libbenchmark-dev           | native           | the native benchmarks'
  'libcli11-dev               | program          | the library of its options, headers only'
  'libfmt-dev                 | program          | the library of its messages, headers only'
  'nlohmann-json3-dev         | program          | its library of JSON, headers only'
  'fp-compiler                | test package     | compiles the examples in Pascal; the compiler of the help file'
  'fpc-source                 | test             | the run time of those examples, for Windows'
  'golang-go                  | test             | compiles the example in Go'
  'cargo                      | test             | builds the example in Rust'
  'rustc                      | test             | compiles it'
  'libstd-rust-dev-windows    | test             | its library, for 64-bit Windows'
  'librust-winapi-dev         | test             | its declarations of Windows'
  'chromium                   | test package     | shows the page that to-html makes, and the help'
  'zsh                        | test             | runs the completions for it'
  'git                        | test             | shows the differences of files by the program'
  'strace                     | test             | shows in which order a program makes its calls'
  'wixl                       | package          | makes the installers'
  'msitools                   | package          | completes them'
  'pandoc                     | package          | makes HTML of the documentation'
  'fp-units-misc              | package          | its units write the help file'
  'fp-units-fcl               | package          | what those need'
  'libchm-bin                 | package          | reads the help file back'
  'dpkg-dev                   | package          | finds what the program for Linux depends on'
  'man-db                     | package          | formats its manual page as a reader does'
  'python3-jsonschema         | package          | checks the bill of materials'
  'osslsigncode               | package          | signs DLLs, programs and installers'
  'openssl                    | package          | makes a throw-away certificate for the test of that'
  'libgmp-dev                 | bench            | each of these six is compared with'
  'libcsv-dev                 | bench            |'
  'libsimdjson-dev            | bench            |'
  'rapidjson-dev              | bench            |'
  'jq                         | test bench       |'
  'miller                     | test bench       |'
  'sqlite3                    | test             | runs the recipes of the guide, as jq and miller do'
  'visidata                   | test             | the spreadsheet of those recipes'
  'mono-mcs                   | clients          | compiles the client in C#'
  'npm                        | clients bench    | downloads the run times of the clients, and DuckDB'
)

# Packages that are unpacked under build/tools, not installed; the same columns.
readonly unpacked_packages=(
  # Installed, it would bring the whole development tree of Wine.
  'libwine-dev | component | oaidl.idl, which widl comes without'
)

# Source packages under build/tools, so that every toolchain can compile them; the same columns.
readonly source_packages=(
  'benchmark | bench          | Google Benchmark, for the component'
)

# needed ROW...: the names in the rows of a table that one of `commands` needs.
needed() {
  local row name users user
  for row in "$@"; do
    IFS='|' read -r name users _ <<<"$row"
    for user in $users; do users+=" ${groups[$user]:-}"; done
    for user in "${commands[@]}"; do
      [[ " $users " != *" $user "* ]] || { printf '%s\n' "${name// /}" && break; }
    done
  done
}

# Every command that a table names.
all_commands() {
  local row
  for row in "${packages[@]}" "${unpacked_packages[@]}" "${source_packages[@]}"; do
    IFS='|' read -r _ row _ <<<"$row"
    printf '%s\n' $row
  done | grep -Fxv -f <(printf '%s\n' "${!groups[@]}") | cat - <(printf '%s\n' ${groups[*]}) | sort -u
}

# missing PACKAGE...: those that are not installed.
missing() {
  local package answers
  # Asked once for all packages, to be quick. It fails when a name is unknown to dpkg, which only
  # says that the package is missing.
  answers=$(dpkg-query -W -f='${Package} ${Package}:${Architecture} ${db:Status-Status}\n' \
    "$@" 2>/dev/null || true)
  for package in "$@"; do
    # npm of another source than Debian's conflicts with Debian's package of that name.
    [[ $package != npm ]] || ! command -v npm >/dev/null || continue
    # A name matches bare or with its architecture.
    grep -Eq "(^| )${package//+/[+]} (.* )?installed$" <<<"$answers" || printf '%s\n' "$package"
  done
}

install_missing() {
  say "installing ${#absent[@]} packages, which takes some minutes: ${absent[*]}"
  if [[ " ${absent[*]} " == *:i386* ]] && ! dpkg --print-foreign-architectures | grep -qx i386; then
    say "adding the i386 architecture"
    as_root dpkg --add-architecture i386
  fi
  with_fallback "could not install: ${absent[*]}" install_packages "${absent[@]}"
  mapfile -t absent < <(missing "${absent[@]}")
  [[ ${#absent[@]} -eq 0 ]] || fail "apt reported success, yet these are missing: ${absent[*]}"
}

# Whether one of `commands` runs 32-bit programs on a machine that cannot, once their packages are installed.
lacks_i386() {
  [[ -n $(needed "x|wine|") ]] && ! runs_i386
}

# The names of PACKAGE... that build/tools does not have.
not_unpacked() {
  local package
  for package in "$@"; do
    [[ -f $root/build/tools/$package/.unpacked ]] || printf '%s\n' "$package"
  done
}

setup() {
  local absent binaries sources package
  mapfile -t absent < <(needed "${packages[@]}")
  [[ ${#absent[@]} -eq 0 ]] || mapfile -t absent < <(missing "${absent[@]}")
  mapfile -t binaries < <(needed "${unpacked_packages[@]}")
  mapfile -t binaries < <(not_unpacked "${binaries[@]}")
  mapfile -t sources < <(needed "${source_packages[@]}")
  mapfile -t sources < <(not_unpacked "${sources[@]}")
  if [[ ${#absent[@]} -eq 0 && ${#binaries[@]} -eq 0 && ${#sources[@]} -eq 0 ]] && ! lacks_i386; then
    return
  fi

  say "preparing this machine for: ${commands[*]}"
  begin_apt
  [[ ${#absent[@]} -eq 0 ]] || install_missing
  for package in "${binaries[@]}"; do unpack_package "$package" "$root/build/tools/$package"; done
  for package in "${sources[@]}"; do unpack_source "$package" "$root/build/tools/$package"; done
  ! lacks_i386 || enable_i386
  say "everything is there"
}

command -v dpkg-query >/dev/null || fail "no dpkg here: this setup knows Debian 12 only"
mapfile -t known < <(all_commands)
for command in "$@"; do
  [[ " ${known[*]} " == *" $command "* ]] || fail "no command '$command'; there are: ${known[*]}"
done
[[ $# -gt 0 ]] && commands=("$@") || commands=("${known[@]}")
readonly commands

# Two setups at once would fight over apt's locks.
mkdir -p "$root/build/tools"
exec 9>"$root/build/tools/setup.lock"
flock 9
setup
