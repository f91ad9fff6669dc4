# Sourced by ./dev: the benchmarks, and the ratios that they are judged by.

# The bitness of the component that is measured: an emulator's time is not the component's.
measured_bitness() {
  if is_emulated 32; then
    say "32-bit programs are emulated here, so the 64-bit component is measured"
    printf 64
  else
    printf 32
  fi
}

# bench [--check]: with --check, fails when a ratio is worse than 1.25 times its target.
bench() {
  local status=0 programs=() program native=$root/build/release/bench bitness wine windows dll
  bitness=$(measured_bitness)
  wine=$root/tools/$(wine_of "$bitness")
  windows=$root/build/win$bitness/bench
  dll=$root/build/win$bitness/Brindlex.dll
  say "building the benchmarks"
  configure release -DBRINDLEX_PEERS=ON
  configure "win$bitness" "-DBRINDLEX_BENCHMARK_SOURCE=$root/build/tools/benchmark"
  (cd "$root" && cmake --build --preset release --target brindlex bench/all >&2 &&
    cmake --build --preset "win$bitness" --target Brindlex bench/all >&2)
  "$wine" regsvr32 /s "$(windows_path "$dll")" || fail "${dll#"$root"/} did not register in Wine"

  # Interleaved, because a shared machine changes its pace.
  local turns=(--benchmark_min_time=0.05 --benchmark_repetitions=9
    --benchmark_enable_random_interleaving=true --benchmark_display_aggregates_only=true)
  mapfile -t programs < <(find "$native" -maxdepth 1 -type f -executable | sort)
  [[ ${#programs[@]} -gt 0 ]] || fail "the build left no benchmark in ${native#"$root"/}"
  for program in "${programs[@]}"; do
    say "${program#"$root"/}"
    "$program" "${turns[@]}" --benchmark_out="$program.json" >&2
  done
  say "${windows#"$root"/}/com_bench.exe"
  "$wine" "$windows/com_bench.exe" "${turns[@]}" \
    "--benchmark_out=$(windows_folder "$windows")\\com_bench.json" >&2
  say "${windows#"$root"/}/load_bench.exe"
  time_loading "$wine" "$windows/load_bench.exe" >"$windows/load.txt"
  say "bench/hosts/compare.js, compare.vbs"
  for program in "$root"/bench/hosts/compare.{js,vbs}; do
    "$wine" cscript //nologo "$(windows_path "$program")" | tr -d '\r'
  done >"$windows/compare.txt"

  # Each prints its figures, also after one that misses its target.
  say "bench/cli/look_bench.py"
  python3 "$root/bench/cli/look_bench.py" "$root/build/release/brindlex" "$root/build/bench" "$@" ||
    status=1
  python3 "$root/tools/measure/base_ratios.py" "$native/bases_bench.json" || status=1
  "$wine" "$windows/invoke_bench.exe" "$(windows_path "$dll")" || status=1
  say "bench/cli/tool_bench.py"
  unpack_duckdb
  python3 "$root/bench/cli/tool_bench.py" "$root/build/release/brindlex" "$root/build" \
    --duckdb "$root/build/tools/duckdb" "$@" ||
    status=1
  python3 "$root/tools/measure/ratios.py" "$native" "$windows" "$dll" "$@" || status=1
  return "$status"
}

# DuckDB from npm, whose package for this system holds its library.
unpack_duckdb() {
  local folder=$root/build/tools/duckdb package=@duckdb/node-api@1.5.6-r.1
  [[ -f $folder/.unpacked && $(<"$folder/.unpacked") == "$package" ]] && return
  mkdir -p "$folder"
  npm install --prefix "$folder" --ignore-scripts --no-audit --no-fund --loglevel=error "$package" >&2 ||
    fail "npm could not install $package; its reason is above"
  printf '%s\n' "$package" >"$folder/.unpacked"
}

# time_loading WINE PROGRAM: the time from the start of a new process to its first object, of ours and of the
# system's dictionary, interleaved.
time_loading() {
  local class
  for _ in {1..15}; do
    for class in Brindlex.clsCollection Scripting.Dictionary; do
      printf '%s %s\n' "$class" "$("$1" "$2" "$class" | tr -d '\r')"
    done
  done
}

windows_folder() {
  local path=$1
  printf 'Z:%s' "${path//\//\\}"
}
