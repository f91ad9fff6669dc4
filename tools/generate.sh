# Sourced by ./dev: the files of the tree that are made from others.

# generate: after a change of server/Brindlex.idl or bases/bases.txt.
generate() {
  say "bringing the generated files up to date"
  python3 -B "$root/tools/generate/generate.py" "$root"
}
