#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <system_error>

#include "cli/io/system.h"

namespace brindlex::cli::system {

/// A file that is written as a temporary file in its target's folder, and takes the target's name
/// in one step. replacement_posix.cpp and replacement_windows.cpp implement it;
/// docs/tool-reference.md has what it keeps of a file that it replaces.
///
/// From Create to Commit nobody but the user can open the temporary file; no permission is widened
/// before its last byte is written. It is deleted when the object is destroyed without a Commit,
/// and when the process is ended from the keyboard or by a request to terminate. At most two are
/// open at a time. On POSIX no step after Find uses a path: a folder that is renamed or replaced
/// meanwhile leads nothing astray.
class Replacement {
 public:
  Replacement();
  Replacement(const Replacement&) = delete;
  Replacement& operator=(const Replacement&) = delete;
  ~Replacement();

  /// Finds what `path` leads to, symbolic links followed; a link that leads nowhere is the target
  /// itself. To be called once, before all others. permission_denied if the target, or a link on
  /// the way, was put into a sticky folder that anyone may write to by somebody who is neither the
  /// user nor the folder's owner.
  std::error_code Find(const std::string& path);

  /// What Find found. A link that leads nowhere is kRegular.
  FileKind Kind() const;

  /// Creates the temporary file, empty. Requires Kind() kNone or kRegular. Before that it removes
  /// what runs that were killed have left for the same target: regular files of the user with a
  /// name of TemporaryName, which no run holds open. A failure of that is none.
  std::error_code Create();

  /// The temporary file, from Create on; owned by this object, until Commit.
  Descriptor File() const;

  /// Gives the temporary file the permissions of the file that it replaces, or those of a new one,
  /// writes it to the disk and gives it the target's name. file_exists if there is a target and
  /// `overwrite` is false. At most once; after a failure only destroying is left.
  std::error_code Commit(bool overwrite);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/// The name of a temporary file for a target of that name: unpredictable, and short enough for
/// every file system. Empty if the system supplies no random numbers.
std::string TemporaryName(const std::string& targetName);

/// Whether `name` is one that TemporaryName has made for a target of that name.
bool IsTemporaryName(std::string_view name, const std::string& targetName);

}  // namespace brindlex::cli::system
