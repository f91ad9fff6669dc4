# Sourced by ./dev: the component over a long life, in both widths.

# How often it is loaded and unloaded, and how often everything else is done.
readonly soak_cycles=10000 soak_rounds=100

# The program says what it has measured, and what is beyond its limits.
soak() {
  local width
  for width in 32 64; do
    build_component "win$width" soak
    say "soaking the $width-bit component: $soak_cycles lives, $soak_rounds rounds of the rest"
    "$root/tools/$(wine_of "$width")" "$root/build/win$width/tests/soak.exe" \
      "Z:$root/build/win$width/Brindlex.dll" "$soak_cycles" "$soak_rounds" ||
      fail "the $width-bit component does not keep its limits; see above"
  done
}

wine_of() {
  [[ $1 == 64 ]] && echo wine64 || echo wine
}
