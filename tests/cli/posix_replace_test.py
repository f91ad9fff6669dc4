"""What becomes of a file that is replaced: mode, owner, group, ACL and links, and who can read what is
being written. Needs a second local user: run as root, or where sudo asks for no password."""

import os
import pathlib
import re
import shutil
import stat
import struct
import subprocess
import sys
import time

import program
from program import SUCCESS, INPUT_OUTPUT, USAGE, contains, encoded, expect

BOOKS = encoded("Title|Price|;" + "".join(f"Book {n}|{n}.50|;" for n in range(9)))
LISTS = encoded("DataString|Name|;Title>Price><A>1><|Books|;".replace("><", "»Š").replace(">", "»"))
LARGE = BOOKS[:13] + BOOKS[13:] * 20_000
OTHER = 65534  # nobody and its group: on every Linux system
ROOT = os.geteuid() == 0

ACCESS, DEFAULT = "system.posix_acl_access", "system.posix_acl_default"
USER_OBJ, USER, GROUP_OBJ, MASK, EVERYONE = 1, 2, 4, 0x10, 0x20
NO_ID = 0xFFFFFFFF


def acl(*entries: tuple[int, int, int]) -> bytes:
    """An access-control list as the kernel has it: tag, permissions and id of each entry."""
    return struct.pack("<I", 2) + b"".join(struct.pack("<HHI", *entry) for entry in entries)


SHARED = acl((USER_OBJ, 6, NO_ID), (USER, 4, 1234), (GROUP_OBJ, 0, NO_ID), (MASK, 4, NO_ID), (EVERYONE, 0, NO_ID))


def as_user(user: int, command: list[str]) -> list[str]:
    """`command`, run by another user. Fails loudly where nobody else can be had."""
    if not ROOT and subprocess.run(["sudo", "-n", "true"], capture_output=True, check=False).returncode != 0:
        raise AssertionError("this test needs a second user: run it as root, or where sudo asks for no password")
    change = ["setpriv", f"--reuid={user}", f"--regid={user}", "--clear-groups", "--"]
    return [*([] if ROOT else ["sudo", "-n"]), *change, *command]


def as_root(*command: str) -> None:
    subprocess.run([*([] if ROOT else ["sudo", "-n"]), *command], check=True)


def run_as(user: int, folder: pathlib.Path, *arguments: str) -> program.Result:
    """Runs the program as `user`, from where that one may run it."""
    copy = folder / "brindlex"
    if not copy.exists():
        shutil.copy(program.COMMAND[0], copy)
        copy.chmod(0o755)
    done = subprocess.run(as_user(user, [str(copy), *arguments]), capture_output=True, check=False)
    return program.Result(done)


def opened(folder: pathlib.Path) -> pathlib.Path:
    """The folder, which others may look into."""
    folder.chmod(0o755)
    return folder


def put(file: pathlib.Path, content: bytes = LISTS, mode: int = 0o644, owner: int | None = None,
        group: int | None = None) -> pathlib.Path:
    file.write_bytes(content)
    if owner is not None or group is not None:
        as_root("chown", f"{'' if owner is None else owner}:{'' if group is None else group}", str(file))
    as_root("chmod", f"{mode:o}", str(file))
    return file


def state(file: pathlib.Path) -> tuple[str, int, int]:
    found = file.lstat()
    return oct(stat.S_IMODE(found.st_mode)), found.st_uid, found.st_gid


def rename(file: pathlib.Path, *more: str) -> program.Result:
    return program.run("collections", "rename", str(file), "Books", "Lists", *(more or ["--in-place"]))


def acl_of(file: pathlib.Path) -> bytes | None:
    try:
        return os.getxattr(file, ACCESS, follow_symlinks=False)
    except OSError:
        return None


# ---- Mode, owner, group ------------------------------------------------------------------------

def test_no_file_runs_as_whoever_replaced_it(folder: pathlib.Path) -> None:
    opened(folder)
    for mode in (0o4755, 0o2755, 0o6755, 0o1755, 0o7777):
        file = put(folder / "lists", mode=mode, owner=OTHER, group=OTHER)
        if ROOT:
            expect("in place", SUCCESS, rename(file).code)
            expect(oct(mode), (oct(mode & 0o777), OTHER, OTHER), state(file))
        target = put(folder / f"out{mode:o}", mode=mode, owner=OTHER, group=OTHER)
        if ROOT:
            books = put(folder / "books", BOOKS)
            expect("forced", SUCCESS, program.run("salvage", str(books), "-o", str(target), "--force").code)
            expect(oct(mode), (oct(mode & 0o777), OTHER, OTHER), state(target))
        own = put(folder / f"own{mode:o}", mode=mode)
        expect("own", SUCCESS, rename(own).code)
        expect("own " + oct(mode), oct(mode & 0o777), state(own)[0])


def test_owner_and_group_are_kept_where_the_user_may(folder: pathlib.Path) -> None:
    if not ROOT:
        as_user(0, [])
        return
    file = put(folder / "lists", mode=0o640, owner=1234, group=4321)
    expect("code", SUCCESS, rename(file).code)
    expect("state", (oct(0o640), 1234, 4321), state(file))


def test_a_group_that_cannot_be_kept_gets_nothing(folder: pathlib.Path) -> None:
    folder.chmod(0o777)
    for mode, left in ((0o664, 0o604), (0o660, 0o600), (0o604, 0o600), (0o646, 0o604), (0o777, 0o707)):
        file = put(folder / "lists", mode=mode, owner=OTHER, group=0)
        result = run_as(OTHER, folder, "collections", "rename", str(file), "Books", "Lists", "--in-place")
        expect(result.errors, SUCCESS, result.code)
        expect(oct(mode), (oct(left), OTHER, OTHER), state(file))
        as_root("rm", str(file))


def test_an_access_control_list_is_kept(folder: pathlib.Path) -> None:
    file = put(folder / "lists")
    os.setxattr(file, ACCESS, SHARED)
    expect("code", SUCCESS, rename(file).code)
    expect("list", SHARED, acl_of(file))
    expect("mode", oct(0o640), state(file)[0])


def test_an_access_control_list_of_a_file_that_cannot_be_read_is_kept(folder: pathlib.Path) -> None:
    folder.chmod(0o777)
    books = put(folder / "books", BOOKS)
    file = put(folder / "out", mode=0o200, owner=OTHER, group=OTHER)
    hidden = acl((USER_OBJ, 2, NO_ID), (USER, 4, 1234), (GROUP_OBJ, 0, NO_ID), (MASK, 4, NO_ID), (EVERYONE, 0, NO_ID))
    set_acl(file, hidden)
    result = run_as(OTHER, folder, "salvage", str(books), "-o", str(file), "--force")
    expect(result.errors, SUCCESS, result.code)
    expect("list", hidden, acl_of(file))


def set_acl(file: pathlib.Path, value: bytes) -> None:
    code = f"import os; os.setxattr({str(file)!r}, {ACCESS!r}, {value!r})"
    as_root(sys.executable, "-c", code)


def test_a_list_whose_group_cannot_be_kept_leaves_the_owner_alone(folder: pathlib.Path) -> None:
    folder.chmod(0o777)
    file = put(folder / "lists", owner=OTHER, group=0)
    set_acl(file, SHARED[:-8] + struct.pack("<HHI", EVERYONE, 4, NO_ID))
    result = run_as(OTHER, folder, "collections", "rename", str(file), "Books", "Lists", "--in-place")
    expect(result.errors, SUCCESS, result.code)
    expect("state", (oct(0o600), OTHER, OTHER), state(file))
    expect("list", None, acl_of(file))


def test_a_list_that_the_folder_bequeaths_opens_no_file_that_had_none(folder: pathlib.Path) -> None:
    file = put(folder / "lists", mode=0o640)
    os.setxattr(folder, DEFAULT, acl((USER_OBJ, 7, NO_ID), (USER, 6, 1234), (GROUP_OBJ, 7, NO_ID), (MASK, 7, NO_ID),
                                     (EVERYONE, 0, NO_ID)))
    expect("code", SUCCESS, rename(file).code)
    expect("list", None, acl_of(file))
    expect("mode", oct(0o640), state(file)[0])


def test_a_new_file_has_what_any_new_file_has(folder: pathlib.Path) -> None:
    books = put(folder / "books", BOOKS)
    for mask in (0o000, 0o022, 0o027, 0o077):
        out, usual = folder / f"out{mask:o}", folder / f"usual{mask:o}"
        command = ["sh", "-c", f'umask {mask:o}; : > "$0"; exec "$@"', str(usual), *program.COMMAND]
        subprocess.run([*command, "salvage", str(books), "-o", str(out)], check=True, capture_output=True)
        expect(oct(mask), state(usual), state(out))


def test_a_new_file_has_the_list_that_the_folder_bequeaths(folder: pathlib.Path) -> None:
    books = put(folder / "books", BOOKS)
    for number, other in enumerate((0, 4, 6)):
        place = folder / str(number)
        place.mkdir()
        os.setxattr(place, DEFAULT, acl((USER_OBJ, 7, NO_ID), (USER, 6, 1234), (GROUP_OBJ, 5, NO_ID), (MASK, 7, NO_ID),
                                        (EVERYONE, other, NO_ID)))
        (place / "usual").write_bytes(b"")
        expect("code", SUCCESS, program.run("salvage", str(books), "-o", str(place / "out")).code)
        expect("list", acl_of(place / "usual"), acl_of(place / "out"))
        expect("state", state(place / "usual"), state(place / "out"))


# ---- While it is written -----------------------------------------------------------------------

# Opens whatever comes up in a folder, for as long as its standard input is open; prints how often
# something came up, and how often it could be read.
WATCHER = """
import os, select, sys
folder, known = sys.argv[1], set(sys.argv[2:])
seen, read = set(), set()
while not select.select([0], [], [], 0)[0]:
    for name in os.listdir(folder):
        if name in known:
            continue
        seen.add(name)
        try:
            os.close(os.open(os.path.join(folder, name), os.O_RDONLY))
            read.add(name)
        except OSError:
            pass
print(len(seen), len(read), sorted(read)[:3])
"""


def test_nobody_reads_a_private_file_while_it_is_replaced(folder: pathlib.Path) -> None:
    opened(folder)
    runs = int(os.environ.get("BRINDLEX_RUNS", "40"))
    books, secret = put(folder / "books", LARGE), put(folder / "secret", BOOKS, 0o600)
    watcher = subprocess.Popen(
        as_user(OTHER, [sys.executable, "-c", WATCHER, str(folder), *os.listdir(folder), "secret.damaged"]),
        stdin=subprocess.PIPE, stdout=subprocess.PIPE)
    time.sleep(0.3)
    for _ in range(runs):
        result = program.run("salvage", str(books), "-o", str(secret), "--force")
        expect(result.errors, SUCCESS, result.code)
    seen, read, names = watcher.communicate(b"\n")[0].decode().split(maxsplit=2)
    print(f"another user saw {seen} of {runs} temporary files and opened {read}")
    expect("seen by the other user, or the test shows nothing", True, int(seen) > runs // 2)
    expect(f"opened: {names}", 0, int(read))
    expect("still private", oct(0o600), state(secret)[0])


def calls_of(folder: pathlib.Path, *arguments: str) -> list[str]:
    """The calls of the system that touch files, in their order."""
    log = folder / "calls"
    traced = "openat,open,creat,write,fchown,fchownat,chown,lchown,fchmod,fchmodat,chmod,fsetxattr,setxattr," \
             "fremovexattr,fsync,rename,renameat,renameat2,link,linkat,unlink,unlinkat"
    command = ["strace", "-f", "-o", str(log), "-e", f"trace={traced}", *program.COMMAND, *arguments]
    # The sanitizers cannot look for leaks in a program that is traced.
    own = {**os.environ, "ASAN_OPTIONS": "detect_leaks=0"}
    done = subprocess.run(command, capture_output=True, check=False, env=own)
    expect(done.stderr.decode(), SUCCESS, done.returncode)
    return [re.sub(r"^\d+ +", "", line) for line in log.read_text(errors="replace").splitlines()]


def test_the_order_of_calls(folder: pathlib.Path) -> None:
    books, secret = put(folder / "books", LARGE), put(folder / "secret", BOOKS, 0o640)
    os.setxattr(secret, ACCESS, SHARED)
    calls = calls_of(folder, "salvage", str(books), "-o", str(secret), "--force")
    created = [n for n, call in enumerate(calls) if ".partial" in call and "O_CREAT" in call]
    expect("created once", 1, len(created))
    creation = calls[created[0]]
    for flag in ("O_EXCL", "O_NOFOLLOW", "O_CLOEXEC", ", 0600)"):
        contains(flag, creation)
    descriptor = creation.rsplit("= ", 1)[1]
    later = [call for call in calls[created[0] + 1:] if call.startswith(tuple(
        f"{name}({descriptor}," for name in ("write", "fchown", "fsetxattr", "fchmod")) + (f"fsync({descriptor}", "rename"))]
    names = [re.match(r"\w+", call).group() for call in later]
    order = [name for n, name in enumerate(names) if n == 0 or names[n - 1] != name]
    expect("order", ["write", "fsync", "fchown", "fsetxattr", "fchmod"], order[:5])
    expect("then it gets its name, and nothing else follows", True,
           len(order) == 6 and order[5].startswith("rename"))
    by_name = [call for call in calls if re.match(r"(l?chown|fchownat|chmod|fchmodat|setxattr|rename|link|unlink)\(", call)]
    expect("nothing by a path", [], by_name)


def test_the_hash_key_is_drawn_anew(folder: pathlib.Path) -> None:
    log = folder / "calls"
    own = {**os.environ, "ASAN_OPTIONS": "detect_leaks=0"}
    keys = set()
    for _ in range(3):
        subprocess.run(["strace", "-x", "-o", str(log), "-e", "trace=getrandom", *program.COMMAND, "--version"],
                       check=True, capture_output=True, env=own)
        keys.update(re.findall(r'getrandom\("([^"]*)", 16, 0\) += 16', log.read_text()))
    expect("keys", 3, len(keys))


def test_what_a_killed_run_leaves_is_no_wider_than_its_target(folder: pathlib.Path) -> None:
    books, target = put(folder / "books", LARGE), put(folder / "target", BOOKS, 0o640)
    killed = 0
    while killed < 5:
        process = subprocess.Popen([*program.COMMAND, "salvage", str(books), "-o", str(target), "--force"],
                                   stderr=subprocess.DEVNULL, stdout=subprocess.DEVNULL)
        while process.poll() is None and not list(folder.glob("*.partial")):
            pass
        process.kill()
        process.wait()
        for left in folder.glob("*.partial"):
            killed += 1
            # It has the target's mode at the very end only, just before it takes its name.
            expect(f"{left.name}: {state(left)[0]}", True, state(left)[0] in (oct(0o600), oct(0o640)))
            left.unlink()


def test_the_next_run_removes_what_a_killed_one_has_left(folder: pathlib.Path) -> None:
    target = folder / "target"
    command = [*program.COMMAND, "from-csv", "-", "-o", str(target), "--force"]
    for _ in range(3):
        process = subprocess.Popen(command, stdin=subprocess.PIPE)
        while not list(folder.glob("*.partial")):
            pass
        # One that goes on loses nothing to another run.
        expect("another", SUCCESS, program.run(*command[len(program.COMMAND):], stdin=b"a\n1\n").code)
        expect("of the one that goes on", 1, len(list(folder.glob("*.partial"))))
        process.kill()
        process.communicate()
        expect("left", 1, len(list(folder.glob("*.partial"))))
        expect("the next", SUCCESS, program.run(*command[len(program.COMMAND):], stdin=b"a\n2\n").code)
        expect("removed", [target], list(folder.iterdir()))


def test_another_users_file_of_such_a_name_stays(folder: pathlib.Path) -> None:
    target = folder / "target"
    process = subprocess.Popen([*program.COMMAND, "from-csv", "-", "-o", str(target)], stdin=subprocess.PIPE)
    while not list(folder.glob("*.partial")):
        pass
    process.kill()
    process.communicate()
    left, = folder.glob("*.partial")
    as_root("chown", str(OTHER), str(left))
    expect("next", SUCCESS, program.run("from-csv", "-", "-o", str(target), stdin=b"a\n1\n").code)
    expect("stays", True, left.exists())
    as_root("chown", str(os.geteuid()), str(left))
    (folder / "link").hardlink_to(left)
    expect("a second link", SUCCESS, program.run("from-csv", "-", "-o", str(target), "--force", stdin=b"a\n1\n").code)
    expect("stays", True, left.exists())


def test_the_temporary_name_cannot_be_guessed(folder: pathlib.Path) -> None:
    books = put(folder / "books", BOOKS)
    names = set()
    for _ in range(20):
        calls = calls_of(folder, "salvage", str(books), "-o", str(folder / "out"), "--force")
        names.update(re.findall(r'"(out\.[0-9a-f]{24}\.partial)", O_WRONLY\|O_CREAT', "\n".join(calls)))
    expect("names", 20, len(names))


def test_a_name_as_long_as_names_can_be(folder: pathlib.Path) -> None:
    books = put(folder / "books", BOOKS)
    for name in ("x" * 255, "ä" * 127):
        expect(name, SUCCESS, program.run("salvage", str(books), "-o", str(folder / name), "--damaged",
                                       str(folder / "damaged")).code)
        expect(name, BOOKS, (folder / name).read_bytes())


# ---- Links and other people's folders ----------------------------------------------------------

def test_a_link_is_followed_and_its_target_replaced(folder: pathlib.Path) -> None:
    (folder / "far").mkdir()
    target, books = put(folder / "far" / "target", b"old", 0o640), put(folder / "books", BOOKS)
    (folder / "first").symlink_to("second")
    (folder / "second").symlink_to("far/target")
    before = sorted(os.listdir(folder))
    expect("refused", USAGE, program.run("salvage", str(books), "-o", str(folder / "first")).code)
    expect("code", SUCCESS, program.run("salvage", str(books), "-o", str(folder / "first"), "--force").code)
    expect("links", ("second", "far/target"), (os.readlink(folder / "first"), os.readlink(folder / "second")))
    expect("target", (BOOKS, oct(0o640)), (target.read_bytes(), state(target)[0]))
    expect("nothing else", (before, ["target"]), (sorted(os.listdir(folder)), os.listdir(folder / "far")))


def test_a_link_to_nothing_is_a_file_that_is_there(folder: pathlib.Path) -> None:
    books, link = put(folder / "books", BOOKS), folder / "link"
    link.symlink_to("nothing")
    expect("refused", USAGE, program.run("salvage", str(books), "-o", str(link)).code)
    expect("still a link", "nothing", os.readlink(link))
    expect("forced", SUCCESS, program.run("salvage", str(books), "-o", str(link), "--force").code)
    expect("replaced", (False, BOOKS), (link.is_symlink(), link.read_bytes()))
    expect("nothing was made at its end", False, (folder / "nothing").exists())


def test_other_hard_links_keep_the_old_content(folder: pathlib.Path) -> None:
    file = put(folder / "lists", LISTS)
    (folder / "hard").hardlink_to(file)
    expect("code", SUCCESS, rename(file).code)
    expect("the other name", LISTS, (folder / "hard").read_bytes())
    expect("apart", (1, 1), (file.stat().st_nlink, (folder / "hard").stat().st_nlink))


def sticky(folder: pathlib.Path) -> pathlib.Path:
    place = opened(folder) / "shared"
    place.mkdir()
    place.chmod(0o1777)
    return place


def by_other(*command: str) -> None:
    subprocess.run(as_user(OTHER, list(command)), check=True)


def test_what_another_user_put_into_a_shared_folder_is_refused(folder: pathlib.Path) -> None:
    place, books, own = sticky(folder), put(folder / "books", BOOKS), put(folder / "own", b"mine", 0o666)
    by_other("ln", "-s", str(own), str(place / "link"))
    by_other("ln", "-s", str(folder / "none"), str(place / "dangling"))
    by_other("sh", "-c", f"echo theirs > {place}/file; chmod 666 {place}/file")
    by_other("mkfifo", "-m", "666", str(place / "pipe"))
    by_other("ln", "-s", str(folder / "far"), str(place / "far"))
    (folder / "far").symlink_to(own)
    for name in ("link", "dangling", "file", "pipe", "far"):
        result = program.run("salvage", str(books), "-o", str(place / name), "--force", "--damaged",
                             str(folder / "damaged"))
        expect(name + result.errors, INPUT_OUTPUT, result.code)
        contains("Permission denied", result.errors)
    expect("untouched", (b"mine", b"theirs\n"), (own.read_bytes(), (place / "file").read_bytes()))
    expect("nothing at the end of a link", False, (folder / "none").exists())
    expect("nothing left", ["dangling", "far", "file", "link", "pipe"], sorted(os.listdir(place)))


def test_ones_own_in_a_shared_folder_is_fine(folder: pathlib.Path) -> None:
    place, books, own = sticky(folder), put(folder / "books", BOOKS), put(folder / "own", b"mine")
    (place / "link").symlink_to(own)
    put(place / "file", b"old")
    for name in ("link", "file", "new"):
        result = program.run("salvage", str(books), "-o", str(place / name), "--force")
        expect(name + result.errors, SUCCESS, result.code)
    expect("written", [BOOKS] * 3, [file.read_bytes() for file in (own, place / "file", place / "new")])


def test_a_link_of_the_folders_owner_is_followed(folder: pathlib.Path) -> None:
    place, books, own = sticky(folder), put(folder / "books", BOOKS), put(folder / "own", b"mine")
    as_root("chown", str(OTHER), str(place))
    by_other("ln", "-s", str(own), str(place / "link"))
    expect("code", SUCCESS, program.run("salvage", str(books), "-o", str(place / "link"), "--force").code)
    expect("written", BOOKS, own.read_bytes())


def test_standard_output_by_its_path(folder: pathlib.Path) -> None:
    books = put(folder / "books", BOOKS)
    # As /dev/stdout is, which a test had better not put at risk.
    link = folder / "stdout"
    link.symlink_to("/proc/self/fd/1")
    piped = program.run("to-json", str(books), "-o", str(link))
    expect("a pipe", (SUCCESS, True), (piped.code, piped.text.startswith("[")))
    with open(folder / "out", "wb") as out:
        done = subprocess.run([*program.COMMAND, "to-json", str(books), "-o", str(link), "--force"], stdout=out,
                              check=False)
    expect("a file", (SUCCESS, piped.output), (done.returncode, (folder / "out").read_bytes()))
    with open(folder / "gone", "wb") as gone:
        (folder / "gone").unlink()
        done = subprocess.run([*program.COMMAND, "to-json", str(books), "-o", str(link), "--force"], stdout=gone,
                              check=False, stderr=subprocess.DEVNULL)
    expect("a file without a name", INPUT_OUTPUT, done.returncode)
    expect("still a link", True, link.is_symlink())


def test_a_path_that_ends_as_a_folder_does(folder: pathlib.Path) -> None:
    books = put(folder / "books", BOOKS)
    for end in ("new/", "books/", ".", "none/new"):
        result = program.run("salvage", str(books), "-o", f"{folder}/{end}", "--force", "--damaged",
                             str(folder / "damaged"))
        expect(end + result.errors, INPUT_OUTPUT, result.code)


program.main(globals())
