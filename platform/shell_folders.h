#pragma once

#include <array>
#include <cstdint>

namespace brindlex {

/// The shell's name for a folder, which only the shell can read.
using ItemIdList = const void*;

/// The buffer for the path of a folder. The shell writes the path and a NUL; the rest stays as it
/// was.
using PathBuffer = std::array<char16_t, 260>;

/// The special folders of the shell. Every function may throw RuntimeError and is called on the
/// thread of the caller's apartment.
class ShellFolders {
 public:
  ShellFolders() = default;
  ShellFolders(const ShellFolders&) = delete;
  ShellFolders& operator=(const ShellFolders&) = delete;
  virtual ~ShellFolders() = default;

  /// Asks the shell for the special folder `csidl` (the shell's own numbers). Returns the shell's
  /// status, 0 for success; only then is `list` set. Nobody releases the list.
  virtual std::int32_t SpecialFolderLocation(std::int32_t csidl, ItemIdList& list) = 0;

  /// Asks the shell for the path of `list`. The text crosses the call in the system's code page;
  /// what replaces the whole of `buffer` is padded with blanks. Returns what the shell returns, 1
  /// for success.
  virtual std::int32_t PathFromItemIdList(ItemIdList list, PathBuffer& buffer) = 0;
};

}  // namespace brindlex
