# Sourced by ./dev and the scripts beside this file: where the tree is, and how they speak.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
readonly root

# On the error stream, as is all that the commands say about themselves: the output of `./dev host`
# is the script's alone.
say() {
  printf '== %s\n' "$*" >&2
}

fail() {
  printf '%s: %s\n' "${0##*/}" "$*" >&2
  exit 1
}

configure() {
  (cd "$root" && cmake --preset "$1" >&2)
}

# build PRESET [ARGUMENT...]
build() {
  say "building $1"
  configure "$1"
  (cd "$root" && cmake --build --preset "$@" >&2)
}
