# Sourced by ./dev: the format of every source, and clang-tidy over every source that is compiled.

# Debian 12's, by version: another one formats and judges otherwise.
readonly clang_format=clang-format-14 clang_tidy=clang-tidy-14

# Every source of ours, zero-terminated; what is built or hidden is not.
sources() {
  (cd "$root" && find . \( -path ./build -o -name '.?*' \) -prune -o \
    -type f \( -name '*.cpp' -o -name '*.c' -o -name '*.h' \) -print0)
}

format() {
  (cd "$root" && sources | xargs -0 -r "$clang_format" -i)
}

check_format() {
  say "checking the format (./dev format mends it)"
  (cd "$root" && sources | xargs -0 -r "$clang_format" --dry-run -Werror)
}

# tidy DATABASE SOURCE_LIST [ARGUMENT_OF_TIDY_PY...]: any objection fails the whole.
tidy() {
  local database=$1 list=$2
  shift 2
  say "clang-tidy over $(tr -cd '\0' <"$list" | wc -c) sources of ${database#"$root"/}"
  python3 -B "$root/tools/tidy.py" "$root" "$database" "--clang-tidy=$clang_tidy" "$@" <"$list"
}

# clang takes mingw's headers when it is given their folders. Left out are the folders of g++'s own
# headers, as clang has its own, and the Linux headers, which it would find otherwise.
windows_arguments() {
  printf '%s\n' --target=i686-w64-mingw32 -nostdlibinc -nostdinc++
  i686-w64-mingw32-g++-posix -E -v -x c++ /dev/null 2>&1 >/dev/null |
    sed -n '/^#include </,/^End of search list/s/^ //p' |
    xargs realpath | grep -Ev '^/usr/lib/gcc/.*/include(-fixed)?$' | sed 's/^/-isystem/'
}

# changed_files BASE: every file that differs from BASE, committed or not, one a line.
changed_files() {
  (cd "$root" && git diff --name-only --diff-filter=d "$1" && git ls-files --others --exclude-standard)
}

# lint [--changed [BASE]]: checks each source once, as native code if it is built so, otherwise as Windows
# code; with --changed, only the sources that differ from BASE (default: HEAD) and one for each header that does.
# The component is built first because its interface header is generated.
lint() {
  local native=$root/build/lint.native windows=$root/build/lint.windows
  local arguments=() changed=() argument status=0
  if [[ ${1-} == --changed ]]; then
    argument=$(changed_files "${2-HEAD}") || fail "no such commit: ${2-HEAD}"
    mapfile -t changed <<<"$argument"
    changed=(--changed "${changed[@]}")
  fi
  check_format
  configure debug
  build win32
  python3 "$root/tools/lint_sources.py" "$root" "$root/build/debug" "${changed[@]}" >"$native"
  python3 "$root/tools/lint_sources.py" "$root" "$root/build/win32" --without "$root/build/debug" \
    "${changed[@]}" >"$windows"

  # mingw's constants are pasted together with a lower-case l, which is reported without a place.
  arguments=(--checks=-readability-uppercase-literal-suffix)
  while read -r argument; do arguments+=("$argument"); done < <(windows_arguments)
  # Both are run, so that one round shows all there is to mend.
  tidy "$root/build/debug" "$native" || status=1
  tidy "$root/build/win32" "$windows" "${arguments[@]}" || status=1
  [[ $status -eq 0 ]] || fail "clang-tidy objects to what is above"
}
