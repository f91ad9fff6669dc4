# Sourced by ./dev: the benchmarks, and the ratios that they are judged by.

# bench [--check]: with --check, fails when a ratio is worse than 1.25 times its target.
bench() {
  local programs=() program native=$root/build/release/bench windows=$root/build/win32/bench
  "$root/tools/bench_setup.sh"
  (cd "$root" && cmake --preset release -DBRINDLEX_PEERS=ON >&2 &&
    cmake --preset win32 "-DBRINDLEX_BENCHMARK_SOURCE=$root/build/tools/benchmark" >&2 &&
    cmake --build --preset release >&2 && cmake --build --preset win32 >&2)
  register_component

  mapfile -t programs < <(find "$native" -maxdepth 1 -type f -executable | sort)
  [[ ${#programs[@]} -gt 0 ]] || fail "the build left no benchmark in ${native#"$root"/}"
  for program in "${programs[@]}"; do
    say "${program#"$root"/}"
    "$program" --benchmark_min_time=0.1 --benchmark_repetitions=5 \
      --benchmark_report_aggregates_only=true \
      --benchmark_out="$program.json" >&2
  done
  say "${windows#"$root"/}/com_bench.exe"
  "$root/tools/wine" "$windows/com_bench.exe" --benchmark_min_time=0.2 --benchmark_repetitions=5 \
    --benchmark_report_aggregates_only=true \
    "--benchmark_out=$(windows_folder "$windows")\\com_bench.json" >&2
  say "${windows#"$root"/}/load_bench.exe"
  time_loading "$windows/load_bench.exe" >"$windows/load.txt"
  say "bench/hosts/compare.js, compare.vbs"
  for program in "$root"/bench/hosts/compare.{js,vbs}; do
    run_script "$program" | tr -d '\r'
  done >"$windows/compare.txt"

  say "bench/tool"
  python3 "$root/bench/tool/look_bench.py" "$root/build/release/brindlex" "$root/build/bench" "$@"

  python3 "$root/tools/base_ratios.py" "$native/bases_bench.json"
  "$root/tools/wine" "$windows/invoke_bench.exe" "$(windows_path "$component")"
  say "bench/tool/tool_bench.py"
  python3 "$root/bench/tool/tool_bench.py" "$root/build/release/brindlex" "$root/build" "$@"
  python3 "$root/tools/ratios.py" "$native" "$windows" "$component" "$@"
}

# time_loading PROGRAM: what a new process waits for its first object, of ours and of the system's
# dictionary, in turn.
time_loading() {
  local class
  for _ in {1..15}; do
    for class in Brindlex.clsCollection Scripting.Dictionary; do
      printf '%s %s\n' "$class" "$("$root/tools/wine" "$1" "$class" | tr -d '\r')"
    done
  done
}

windows_folder() {
  local path=$1
  printf 'Z:%s' "${path//\//\\}"
}
