# Sourced by ./dev: what users download.

# Left in build/package once it is made twice, the same to the byte, and has been installed, used and
# taken out again in a Windows of its own.
package() {
  local version output=$root/build/package again=$root/build/package-again file
  version=$(sed -n 's/^project(Brindlex VERSION \([0-9.]*\) .*/\1/p' "$root/CMakeLists.txt")
  build_without tests win32 Brindlex brindlex
  build_without tests win64 Brindlex brindlex
  rm -rf "$output" "$again"
  say "making the packages of version $version"
  python3 -B "$root/tools/package.py" "$root" "$version" "$output"
  python3 -B "$root/tools/package.py" "$root" "$version" "$again" >/dev/null
  for file in "$output"/*; do
    cmp "$file" "$again/${file##*/}" || fail "two packages of the same sources differ"
  done
  python3 -m zipfile -e "$output/Brindlex-$version.zip" "$again"
  (cd "$again/Brindlex-$version" && sha256sum --quiet -c SHA256SUMS) ||
    fail "the zip does not hold what its SHA256SUMS says"
  rm -rf "$again"
  say "installing them"
  python3 -B "$root/tests/install/package_test.py" "$root/tools/wine64" "$output" \
    "$root/build/wine64-package"
}
