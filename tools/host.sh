# Sourced by ./dev: scripts in the Windows Script Host, with the component registered.

readonly component=$root/build/win32/Brindlex.dll

# Wine's drive Z: is the root of this machine's files.
windows_path() {
  local path
  path=$(realpath -e -- "$1") || fail "no such file: $1"
  printf 'Z:%s' "${path//\//\\}"
}

build_component() {
  build win32
  [[ -f $component ]] || fail "the build left no ${component#"$root"/}"
}

register_component() {
  local path
  path=$(windows_path "$component")
  "$root/tools/wine" regsvr32 /s "$path" || fail "${component#"$root"/} did not register in Wine"
}

# run_script SCRIPT [ARGUMENT...], with the script's exit status.
run_script() {
  local script
  script=$(windows_path "$1")
  shift
  "$root/tools/wine" cscript //nologo "$script" "$@"
}

host() {
  [[ $# -gt 0 ]] || fail "usage: ./dev host SCRIPT [ARGUMENT...]"
  build_component
  register_component
  run_script "$@"
}

# A script that fails can do so in silence and with status 0: only its last line tells.
demo() {
  local output=$root/build/demo.output script
  build_component
  register_component
  for script in collection_demo.vbs bases_demo.vbs; do
    say "examples/$script"
    run_script "$root/examples/$script" | tee "$output"
    [[ $(tail -n 1 "$output" | tr -d '\r') == "demo: done" ]] ||
      fail "examples/$script did not come to its last line, 'demo: done'"
  done
}
