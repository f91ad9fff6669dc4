# Sourced by ./dev: the benchmarks, and the ratios that they are judged by.

# bench [--check]: with --check, fails when a ratio is worse than 1.25 times its target.
bench() {
  local status=0 programs=() program native=$root/build/release/bench windows=$root/build/win32/bench
  say "building the benchmarks"
  configure release -DBRINDLEX_PEERS=ON
  configure win32 "-DBRINDLEX_BENCHMARK_SOURCE=$root/build/tools/benchmark"
  (cd "$root" && cmake --build --preset release --target brindlex bench/all >&2 &&
    cmake --build --preset win32 --target Brindlex bench/all >&2)
  register_component

  # Those that are compared take turns, for a machine that is shared changes its pace.
  local turns=(--benchmark_min_time=0.05 --benchmark_repetitions=9
    --benchmark_enable_random_interleaving=true --benchmark_display_aggregates_only=true)
  mapfile -t programs < <(find "$native" -maxdepth 1 -type f -executable | sort)
  [[ ${#programs[@]} -gt 0 ]] || fail "the build left no benchmark in ${native#"$root"/}"
  for program in "${programs[@]}"; do
    say "${program#"$root"/}"
    "$program" "${turns[@]}" --benchmark_out="$program.json" >&2
  done
  say "${windows#"$root"/}/com_bench.exe"
  "$root/tools/wine" "$windows/com_bench.exe" "${turns[@]}" \
    "--benchmark_out=$(windows_folder "$windows")\\com_bench.json" >&2
  say "${windows#"$root"/}/load_bench.exe"
  time_loading "$windows/load_bench.exe" >"$windows/load.txt"
  say "bench/hosts/compare.js, compare.vbs"
  for program in "$root"/bench/hosts/compare.{js,vbs}; do
    run_script "$program" | tr -d '\r'
  done >"$windows/compare.txt"

  # Each shows its figures, also when one before is worse than it may be.
  say "bench/tool"
  python3 "$root/bench/cli/look_bench.py" "$root/build/release/brindlex" "$root/build/bench" "$@" ||
    status=1
  python3 "$root/tools/measure/base_ratios.py" "$native/bases_bench.json" || status=1
  "$root/tools/wine" "$windows/invoke_bench.exe" "$(windows_path "$component")" || status=1
  say "bench/cli/tool_bench.py"
  python3 "$root/bench/cli/tool_bench.py" "$root/build/release/brindlex" "$root/build" "$@" ||
    status=1
  python3 "$root/tools/measure/ratios.py" "$native" "$windows" "$component" "$@" || status=1
  return "$status"
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
