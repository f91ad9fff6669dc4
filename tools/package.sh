# Sourced by ./dev: what users download.

# Left in build/package once it is made twice, the same to the byte, and has been installed, used and
# taken out again.
package() {
  local version output=$root/build/package again=$root/build/package-again
  version=$(sed -n 's/^project(Brindlex VERSION \([0-9.]*\) .*/\1/p' "$root/CMakeLists.txt")
  build_shipped
  python3 -B "$root/tools/package/linked.py" "$root"
  say "making the help"
  python3 -B "$root/tools/help/make_help.py" "$root" "$version" "$root/build/help"
  python3 -B "$root/tests/docs/help_test.py" "$root" "$root/build/help"
  say "making the packages of version $version"
  rm -rf "$output" "$again"
  make_packages "$version" "$output"
  make_packages "$version" "$again" >/dev/null
  same_packages "$output" "$again"
  rm -rf "$again"
  try_packages "$version" "$output"
}

# Everything that goes into a package, of every system.
build_shipped() {
  build_without tests win32 Brindlex brindlex verify_programs
  build_without tests win64 Brindlex brindlex verify_programs
  build_without tests release brindlex
}

# make_packages VERSION OUTPUT
make_packages() {
  python3 -B "$root/tools/package/make.py" "$root" "$1" "$root/build/help" "$2"
}

# same_packages ONE OTHER: signatures carry a time, so only unsigned packages can be the same.
same_packages() {
  local file
  [[ -z ${BRINDLEX_SIGN_CERTIFICATE:-} ]] || return 0
  for file in "$1"/*; do
    cmp "$file" "$2/${file##*/}" || fail "two packages of the same sources differ"
  done
}

# try_packages VERSION OUTPUT
try_packages() {
  say "checking what is in them"
  # Debian's own Python has Debian's package of the schema checker.
  /usr/bin/python3 -B "$root/tests/install/content_test.py" "$2" "$1"
  python3 -B "$root/tests/install/linux_test.py" "$2" "$1"
  python3 -B "$root/tests/install/signed_test.py" "$root" "$1"
  say "installing them"
  python3 -B "$root/tests/install/package_test.py" "$root/tools/wine64" "$2" \
    "$root/build/wine64-package"
  python3 -B "$root/tests/install/shared_folder_test.py" "$root/docs/files.md" "$root/tools/wine64" \
    "$root/build/wine64-package"
  say "upgrading and downgrading"
  python3 -B "$root/tests/install/upgrade_test.py" "$root" "$root/tools/wine64" "$1" \
    "$root/build/wine64-upgrade"
  say "verifying as a user does"
  python3 -B "$root/tests/install/verify_test.py" "$root/tools/wine64" "$2/Brindlex-$1.zip" \
    "$root/build/wine64-verify"
}
