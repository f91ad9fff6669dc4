# Sourced by ./dev: clients whose Windows run times come from npm. They have Wine prefixes of their own,
# since Node.js needs Windows 10.

readonly clients_output=$root/build/clients clients_tools=$root/build/tools/clients

# Runs every client, so that one round shows all failures.
clients() {
  local failed=() client bitness
  for bitness in 32 64; do
    prepare_clients "$bitness"
  done
  compile_dotnet_client
  for client in ruby dotnet32 dotnet64 node32 node64; do
    if [[ $client == dotnet32 ]] && is_emulated 32; then
      say "client $client: not run, because .NET starts in no emulator; a machine that runs 32-bit programs runs it"
      continue
    fi
    say "client $client"
    "run_$client" || failed+=("$client")
  done
  say "the examples in PowerShell"
  parse_powershell || failed+=(powershell)
  [[ ${#failed[@]} -eq 0 ]] || fail "failed: ${failed[*]}; see above"
}

# client_wine BITNESS PROGRAM [ARGUMENT...]: in the prefix of the clients. A program that crashes ends,
# instead of waiting for a debugger.
client_wine() {
  local wine
  wine=$(wine_of "$1")
  shift
  BRINDLEX_PREFIX=$root/build/$wine-clients \
    WINEDLLOVERRIDES='mscoree,mshtml=;winemenubuilder.exe=d;winedbg.exe=d' "$root/tools/$wine" "$@"
}

# prepare_clients BITNESS: the component, registered in a prefix that is Windows 10.
prepare_clients() {
  build_component "win$1" run_host
  client_wine "$1" reg add 'HKCU\Software\Wine' /v Version /d win10 /f >/dev/null ||
    fail "the Wine prefix does not become Windows 10"
  client_wine "$1" regsvr32 /s "$(windows_path "$root/build/win$1/Brindlex.dll")" ||
    fail "the $1-bit component did not register in Wine"
}

# run_client BITNESS PROGRAM [ARGUMENT...]: requires that the last line is the one of a complete run.
run_client() {
  local bitness=$1 program
  program=$(windows_path "$2")
  shift 2
  client_wine "$bitness" "$root/build/win$bitness/tests/run_host.exe" "$program" "books: done" "$@"
}

run_ruby() {
  local ruby=$clients_tools/ruby/lib/ruby library
  library=$(windows_path "$ruby/lib/ruby")
  RUBYLIB="$library\\site_ruby\\2.2.0;$library\\2.2.0;$library\\2.2.0\\i386-mingw32" \
    run_client 32 "$ruby/bin.real/ruby.exe" "$(windows_path "$root/examples/ruby/books.rb")"
}

compile_dotnet_client() {
  local version
  version=$(ls "$clients_tools/dotnet64/shared/Microsoft.NETCore.App")
  mkdir -p "$clients_output"
  mcs -warnaserror "-out:$clients_output/Books.dll" "$root/examples/dotnet/Books.cs" ||
    fail "examples/dotnet does not compile"
  # No .NET that has `dynamic` for COM objects runs here.
  mcs "-out:$clients_output/Dynamic.exe" "$root/examples/csharp/Books.cs" ||
    fail "examples/csharp does not compile"
  printf '{"runtimeOptions": {"framework": {"name": "Microsoft.NETCore.App", "version": "%s"}}}\n' \
    "$version" >"$clients_output/Books.runtimeconfig.json"
}

# run_dotnet BITNESS
run_dotnet() {
  run_client "$1" "$clients_tools/dotnet$1/dotnet.exe" "$(windows_path "$clients_output/Books.dll")"
}

run_dotnet32() { run_dotnet 32; }
run_dotnet64() { run_dotnet 64; }

# run_node BITNESS
run_node() {
  NODE_PATH=$(windows_path "$clients_tools/node_modules") run_client "$1" \
    "$clients_tools/node$1/bin/node.exe" "$(windows_path "$root/examples/node/books.js")"
}

run_node32() { run_node 32; }
run_node64() { run_node 64; }

# No PowerShell runs here: a parser reads the examples of the tree and of every page.
parse_powershell() {
  NODE_PATH=$clients_tools/node_modules node "$root/tests/clients/parse_powershell.js" \
    "$clients_tools/node_modules/tree-sitter-powershell/tree-sitter-powershell.wasm" \
    "$root"/examples/powershell/*.ps1 "$root"/*.md "$root"/docs/*.md "$root"/examples/*.md
}
