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

# configure PRESET [OPTION...]
configure() {
  (cd "$root" && cmake --preset "$@" >&2)
}

# build PRESET [ARGUMENT...]: everything, or the targets that the arguments name.
build() {
  say "building $1"
  configure "$1"
  (cd "$root" && cmake --build --preset "$@" >&2)
}

# build_without PARTS PRESET TARGET...: these targets, in a build that leaves parts out, "tests" or
# "program tests", whose packages the command does not install. A part that the build folder has
# stays: CMake would delete what has been built of it.
build_without() {
  local parts=$1 preset=$2 part options=()
  local -A folders=([program]=cli [tests]=tests)
  shift 2
  for part in $parts; do
    grep -qs "^build ${folders[$part]}/all: phony" "$root/build/$preset/build.ninja" ||
      options+=("-DBRINDLEX_${part^^}=OFF")
  done
  say "building $preset: $*"
  configure "$preset" "${options[@]}"
  (cd "$root" && cmake --build --preset "$preset" --target "$@" >&2)
}
