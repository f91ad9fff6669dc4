# Sourced by setup.sh: 32-bit programs on a machine that cannot run them.
#
# Some virtual machines run 64-bit code only, and every 32-bit program, wine32 among them, fails with "Exec format
# error". There qemu-user emulates the processor, and the kernel starts it for each i386 program (binfmt_misc).
# Debian 12's own qemu-user searches its memory page by page, so that a start of Wine takes minutes; the one from the
# backports does not.

readonly emulator_folder=$root/build/tools/qemu-user

# Whether an i386 program runs: the loader that wine32 needs.
runs_i386() {
  /lib/ld-linux.so.2 --version >/dev/null 2>&1
}

# Unpacks qemu-user from the backports of the machine's release into build/tools.
unpack_emulator() {
  local list
  list=$(scratch_folder backports)
  say "unpacking qemu-user of the backports into ${emulator_folder#"$root"/}"
  make_private_list "$list"
  sed -Ei 's/^(deb .*) ([a-z]+) main$/\1 \2-backports main/; /-updates-backports/d' "$list/sources.list"
  apt_get "$list" update || apt_failed "could not read the list of the backports"
  download_package "$list" qemu-user "$list" || apt_failed "could not download qemu-user from the backports"
  rm -rf "$emulator_folder"
  mkdir -p "$emulator_folder"
  dpkg-deb -x "$list/"qemu-user_*.deb "$emulator_folder"
  touch "$emulator_folder/.unpacked"
}

# Lets the kernel start the emulator for i386 programs until the next boot: files that begin as their ELF headers
# do. The kernel keeps the emulator open (F), so the folder may go.
register_emulator() {
  local formats=/proc/sys/fs/binfmt_misc magic mask
  magic='\x7fELF\x01\x01\x01\x00\x00\x00\x00\x00\x00\x00\x00\x00\x02\x00\x03\x00'
  mask='\xff\xff\xff\xff\xff\xfe\xfe\x00\xff\xff\xff\xff\xff\xff\xff\xff\xfe\xff\xff\xff'
  [[ -e $formats/register ]] || as_root mount -t binfmt_misc binfmt_misc "$formats" ||
    fail "this machine runs no 32-bit programs, and its kernel knows no binfmt_misc to emulate them"
  printf ':brindlex-i386:M::%s:%s:%s:F' "$magic" "$mask" "$emulator_folder/usr/bin/qemu-i386" |
    as_root tee "$formats/register" >/dev/null ||
    fail "this machine runs no 32-bit programs, and its kernel refused the emulator for them"
}

# Fails if 32-bit programs do not run in the end.
enable_i386() {
  say "this machine runs no 32-bit programs; qemu-user will emulate them, which is several times slower"
  [[ -f $emulator_folder/.unpacked ]] || unpack_emulator
  register_emulator
  runs_i386 || fail "32-bit programs do not run, though their emulator is registered"
}
