#!/usr/bin/env bash
# Brings a machine that can build and test to where it can measure as well: installs the libraries
# and programs that the benchmarks compare with, and unpacks the sources of Google Benchmark, so that
# the Windows compiler can build it too. Does nothing, quickly, when all is there.
set -euo pipefail

source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
source "$root/tools/apt.sh"

readonly peers=(libgmp-dev libcsv-dev libsimdjson-dev rapidjson-dev jq miller)
readonly source_folder=$root/build/tools/benchmark

missing_peers() {
  local package
  for package in "${peers[@]}"; do
    dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed ||
      printf '%s\n' "$package"
  done
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
  [[ -f $source_folder/.unpacked ]] || unpack_source benchmark "$source_folder"
fi
