#!/usr/bin/env bash
# Brings a machine that can build and test to where it can measure as well: installs the libraries
# that the benchmarks compare with, and unpacks the sources of Google Benchmark, so that the Windows
# compiler can build it too. Does nothing, quickly, when all is there.
set -euo pipefail

source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
source "$root/tools/apt.sh"

readonly peers=(libgmp-dev libcsv-dev libsimdjson-dev rapidjson-dev)
readonly source_folder=$root/build/tools/benchmark

missing_peers() {
  local package
  for package in "${peers[@]}"; do
    dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed ||
      printf '%s\n' "$package"
  done
}

# A list of source packages of the mirror that the machine uses for its packages.
make_source_road() {
  make_private_road "$1"
  sed -i 's/^deb /deb-src /' "$1/sources.list"
}

unpack_benchmark() {
  local by=$scratch/sources archive
  say "unpacking the sources of Google Benchmark into ${source_folder#"$root"/}"
  mkdir -p "$by"
  make_source_road "$by"
  apt_get "$by" update || fail "could not read the list of source packages; apt's reason is above"
  (cd "$scratch" && apt_get "$by" --download-only source benchmark) ||
    fail "could not download the sources of benchmark; apt's reason is above"
  archive=$(find "$scratch" -maxdepth 1 -name 'benchmark_*.orig.tar.gz')
  [[ -n $archive ]] || fail "the source package of benchmark holds no archive"
  rm -rf "$source_folder"
  mkdir -p "$source_folder"
  tar xf "$archive" -C "$source_folder" --strip-components=1
  touch "$source_folder/.unpacked"
}

mapfile -t missing < <(missing_peers)
if [[ ${#missing[@]} -gt 0 || ! -f $source_folder/.unpacked ]]; then
  scratch=$(mktemp -d)
  trap 'as_root rm -rf "$scratch"' EXIT
  if [[ ${#missing[@]} -gt 0 ]]; then
    say "installing what is missing: ${missing[*]}"
    by_either_road install_packages "${missing[@]}" ||
      fail "could not install: ${missing[*]}; apt's reason is above"
  fi
  [[ -f $source_folder/.unpacked ]] || unpack_benchmark
fi
