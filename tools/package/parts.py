"""The third-party parts that are linked into what users download, and where their licence texts are.

The one list that the notices, the SBOM and the check against the linker's maps are made from.
"""

import os
import subprocess
import unicodedata
from dataclasses import dataclass

COMMON = "/usr/share/common-licenses/"
DOC = "/usr/share/doc/"
# Every binary that is shipped: the name in this list, the preset that builds it, its file there.
BINARIES = {
    "component-x86": ("win32", "Brindlex.dll"),
    "component-x64": ("win64", "Brindlex.dll"),
    "program-x86": ("win32", "brindlex.exe"),
    "program-x64": ("win64", "brindlex.exe"),
    "program-linux": ("release", "brindlex"),
}
WINDOWS = tuple(name for name in BINARIES if name != "program-linux")
PROGRAMS = tuple(name for name in BINARIES if name.startswith("program-"))
EXTRACTED = "LicenseRef-mingw-w64-runtime"


@dataclass(frozen=True)
class Text:
    """A licence text: a file; or the paragraph of one whose first line begins with `start`; or, with
    `end`, the lines from there up to the next that begins with that. A paragraph has two lines at least."""

    path: str
    start: str = ""
    end: str = ""

    def read(self, root: str) -> str:
        with open(os.path.join(root, self.path), encoding="utf-8-sig") as file:
            lines = [line.lstrip("\ufeff").rstrip() for line in file]
        if self.start:
            starts = (i for i, line in enumerate(lines) if line.startswith(self.start))
            begin = next(i for i in starts if self.end or lines[i + 1])
            after = [*lines[begin + 1:], ""]
            last = next(i for i, line in enumerate(after, begin + 1)
                        if (line.startswith(self.end) if self.end else not line))
            lines = lines[begin:last]
        return "\n".join(lines).strip("\n") + "\n"


@dataclass(frozen=True)
class Part:
    """One third-party part. `package` is the Debian package that its version is taken from, or empty for
    the data that Python has; `markers` are expressions for the paths of its files, by which the build shows
    that it is linked in."""

    name: str
    package: str
    licence: str
    homepage: str
    binaries: tuple[str, ...]
    markers: tuple[str, ...]
    texts: tuple[Text, ...]
    note: str = ""

    @property
    def version(self) -> str:
        """The version that is installed or, for sources, unpacked."""
        if not self.package:
            return unicodedata.unidata_version
        query = ["dpkg-query", "-W", "-f=${Version}", self.package]
        return subprocess.run(query, stdout=subprocess.PIPE, text=True, check=True).stdout


GCC = DOC + "gcc-12-base/copyright"
GCC_TEXTS = (
    Text(GCC, "GCC is Copyright", "On Debian GNU/Linux systems"),
    Text(GCC, "GCC RUNTIME LIBRARY EXCEPTION", "libquadmath/"),
    Text(COMMON + "GPL-3"),
)
MINGW = DOC + "mingw-w64-common/copyright"
GCC_LICENCE = "GPL-3.0-or-later WITH GCC-exception-3.1"
LGPL = Text(COMMON + "LGPL-2.1")
UNICODE_TEXT = Text(GCC, "UNICODE, INC. LICENSE", "contrib/unicode/from_glibc")

PARTS = (
    Part("GCC run-time libraries for Windows (libgcc, libstdc++)", "gcc-mingw-w64-x86-64-posix-runtime",
         GCC_LICENCE, "https://gcc.gnu.org", WINDOWS, ("/gcc/i686-w64-mingw32/", "/gcc/x86_64-w64-mingw32/"),
         GCC_TEXTS),
    Part("GCC run-time libraries for Linux (libgcc, libstdc++)", "libstdc++-12-dev", GCC_LICENCE,
         "https://gcc.gnu.org", ("program-linux",), ("/gcc/x86_64-linux-gnu/", r"/usr/include/c\+\+/"), GCC_TEXTS),
    Part("mingw-w64 run time (start-up code, C library additions, headers)", "mingw-w64-x86-64-dev",
         EXTRACTED, "https://www.mingw-w64.org", WINDOWS,
         (r"-w64-mingw32/lib/(?!libwinpthread|libpthread)", "-w64-mingw32/include/", "/usr/share/mingw-w64/"),
         (Text(MINGW),)),
    Part("winpthreads", "mingw-w64-x86-64-dev", "MIT AND BSD-3-Clause", "https://www.mingw-w64.org", WINDOWS,
         ("/libwinpthread.a", "/libpthread.a"),
         (Text(MINGW, "Files: mingw-w64-libraries/winpthreads/*", "Files: mingw-w64-libraries/winstorecompat"),
          Text(MINGW, "License: expat"))),
    Part("GNU C library (start-up objects and headers; the library itself is the system's)", "libc6-dev",
         "LGPL-2.1-or-later", "https://www.gnu.org/software/libc/", ("program-linux",),
         ("/usr/lib/x86_64-linux-gnu/", "/lib/x86_64-linux-gnu/", "/lib64/ld-linux", "/usr/include/"),
         (Text(DOC + "libc6-dev/copyright"), LGPL)),
    Part("Unicode Character Database (tables made from it)", "", "Unicode-DFS-2015",
         "https://www.unicode.org", tuple(BINARIES), ("case_fold_table.h", "width_table.h"), (UNICODE_TEXT,),
         "The tables of letter case and of column widths are made from it: the data has been modified."),
    Part("CLI11", "libcli11-dev", "BSD-3-Clause", "https://github.com/CLIUtils/CLI11", PROGRAMS,
         ("/include/CLI/",), (Text(DOC + "libcli11-dev/copyright", "Files: *"),
          Text(DOC + "libcli11-dev/copyright", "License: BSD-3-clause"))),
    Part("{fmt}", "libfmt-dev", "MIT", "https://fmt.dev", PROGRAMS, ("/include/fmt/",),
         (Text(DOC + "libfmt-dev/copyright", "Files: *", "Files: doc/basic"),
          Text(DOC + "libfmt-dev/copyright", "License: Expat with embedded"))),
    Part("JSON for Modern C++ (nlohmann/json)", "nlohmann-json3-dev", "MIT", "https://json.nlohmann.me",
         PROGRAMS, ("/include/nlohmann/",),
         (Text(DOC + "nlohmann-json3-dev/copyright", "Files: *", "Files: debian/"),
          Text(DOC + "nlohmann-json3-dev/copyright", "License: Expat"))),
)
