# Sourced by ./dev: how much of the core its own tests run.

# coverage: a table of the lines and branches per file, then every branch that was not taken.
coverage() {
  local tests=$root/build/coverage/tests/core_tests data=$root/build/coverage/core_tests
  say "building coverage"
  configure coverage
  (cd "$root" && cmake --build --preset coverage --target core_tests >&2)
  say "running the tests of the core"
  LLVM_PROFILE_FILE=$data.profraw "$tests" --gtest_brief=1 >&2
  llvm-profdata merge -sparse "$data.profraw" -o "$data.profdata"
  llvm-cov export "$tests" -instr-profile "$data.profdata" >"$data.json"
  python3 "$root/tools/coverage_table.py" "$root" "$data.json"
}
