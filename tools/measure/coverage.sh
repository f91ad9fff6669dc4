# Sourced by ./dev: how much of the core and of the Windows half their own tests run.

coverage() {
  coverage_of_core
  coverage_of_component
}

# A table of the lines and branches per file, then every branch that was not taken.
coverage_of_core() {
  local tests=$root/build/coverage/tests/core_tests data=$root/build/coverage/core_tests
  say "building coverage"
  configure coverage
  (cd "$root" && cmake --build --preset coverage --target core_tests >&2)
  say "running the tests of the core"
  LLVM_PROFILE_FILE=$data.profraw "$tests" --gtest_brief=1 >&2
  llvm-profdata merge -sparse "$data.profraw" -o "$data.profdata"
  llvm-cov export "$tests" -instr-profile "$data.profdata" >"$data.json"
  python3 "$root/tools/measure/coverage_table.py" "$root" "$data.json"
}

# A table of the branches per file.
coverage_of_component() {
  local build=$root/build/coverage-win32
  say "building coverage-win32"
  configure coverage-win32
  (cd "$root" && cmake --build --preset coverage-win32 >&2)
  find "$build" -name '*.gcda' -delete
  say "running the tests of the component"
  OANOCACHE=1 "$root/tools/wine" "$build/tests/com_tests.exe" --gtest_brief=1 >&2
  python3 "$root/tools/measure/coverage_com.py" "$root" "$build" i686-w64-mingw32-gcov-posix
}
