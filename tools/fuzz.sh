# Sourced by ./dev: every fuzz target, with the sanitizers, and the program on random tables.

# fuzz SECONDS: each target for so long, from its corpus and from what earlier runs have found. It
# ends at the first input on which the component and its model differ. Then 10,000 random tables for each
# command that has a model in Python.
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
  fuzz_tables
}

# The seed is printed, so that a run can be repeated.
fuzz_tables() {
  local test seed=${BRINDLEX_SEED:-$RANDOM}
  configure release
  (cd "$root" && cmake --build --preset release --target brindlex >&2)
  for test in model recode cat diff; do
    say "random tables: tests/cli/${test}_test.py with BRINDLEX_SEED=$seed"
    BRINDLEX_TABLES=10000 BRINDLEX_SEED=$seed \
      python3 -B "$root/tests/cli/${test}_test.py" "$root/build/release/brindlex" >&2 ||
      fail "${test}_test.py: repeat it with BRINDLEX_SEED=$seed"
  done
}
