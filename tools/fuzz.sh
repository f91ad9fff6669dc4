# Sourced by ./dev: every fuzz target, with the sanitizers.

# fuzz SECONDS: each target for so long, from its corpus and from what earlier runs have found. It
# ends at the first input on which the component and its model differ.
fuzz() {
  local seconds=$1 found=$root/build/fuzz program name
  configure debug
  (cd "$root" && cmake --build --preset debug --target fuzzers >&2)
  for program in "$root"/build/debug/fuzz/*_fuzz; do
    [[ -x $program ]] || fail "the build left no fuzz target in build/debug/fuzz"
    name=$(basename "$program" _fuzz)
    mkdir -p "$found/$name"
    say "fuzzing $name for $seconds seconds"
    "$program" -max_total_time="$seconds" -print_final_stats=1 -artifact_prefix="$found/$name-" \
      "$found/$name" "$root/fuzz/corpus/$name" ||
      fail "$name: the input is the newest of build/fuzz/$name-*; keep it in fuzz/corpus/$name"
  done
}
