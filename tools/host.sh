# Sourced by ./dev: scripts in the Windows Script Host, with the component registered.

readonly component=$root/build/win32/Brindlex.dll

# Wine's drive Z: is the root of this machine's files.
windows_path() {
  local path
  path=$(realpath -e -- "$1") || fail "no such file: $1"
  printf 'Z:%s' "${path//\//\\}"
}

# wine_of BITNESS: the name of its command in this folder.
wine_of() {
  [[ $1 == 64 ]] && echo wine64 || echo wine
}

# is_emulated BITNESS: whether an emulator runs the programs of this bitness.
is_emulated() {
  [[ $1 == 32 && -e /proc/sys/fs/binfmt_misc/brindlex-i386 ]]
}

# build_component PRESET [TARGET...]
build_component() {
  build_without 'program tests' "$1" Brindlex "${@:2}"
}

build_both() {
  build_component win32
  build_component win64
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
  build_component win32
  register_component
  run_script "$@"
}

# The examples, one after the other, in the program that plays their user: it closes the boxes that
# they announce, and fails when a script does not come to its last line, which scripts can do in
# silence.
demo() {
  local script
  build_component win32 run_host
  register_component
  for script in collection_demo.vbs settings_demo.vbs bases_demo.vbs; do
    say "examples/$script"
    "$root/tools/wine" "$root/build/win32/tests/run_host.exe" \
      "$(windows_path "$root/examples/$script")" "demo: done" || fail "examples/$script failed"
  done
}
