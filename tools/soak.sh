# Sourced by ./dev: the component over a long life, in both bitnesses.

# How often it is loaded and unloaded, and how often everything else is done.
readonly soak_cycles=10000 soak_rounds=100

# The program says what it has measured, and what is beyond its limits.
soak() {
  local bitness
  for bitness in 32 64; do
    build_component "win$bitness" soak
    say "soaking the $bitness-bit component: $soak_cycles lives, $soak_rounds rounds of the rest"
    "$root/tools/$(wine_of "$bitness")" "$root/build/win$bitness/tests/soak.exe" \
      "Z:$root/build/win$bitness/Brindlex.dll" "$soak_cycles" "$soak_rounds" ||
      fail "the $bitness-bit component does not keep its limits; see above"
  done
}
