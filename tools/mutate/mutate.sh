# Sourced by ./dev: whether the tests of the core notice when it is changed.

# mutate [FILE...]: all of the core, or these of its files. By Debian's own Python, to whose modules
# the binding of libclang belongs.
mutate() {
  nice /usr/bin/python3 -B "$root/tools/mutate/run.py" "$root" "$@"
}
