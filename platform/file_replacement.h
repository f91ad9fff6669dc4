#pragma once

#include <string_view>

namespace brindlex {

/// The new content of a file, written to a file of its own beside it and put into its place in one
/// step, so that whoever reads the file finds the old content or the new, whatever happens
/// meanwhile. Going away without having been put in place removes the new file, and so does the end
/// of the process where the system can do that. Every function may
/// throw RuntimeError; what it was called for is then not done.
class FileReplacement {
 public:
  FileReplacement() = default;
  FileReplacement(const FileReplacement&) = delete;
  FileReplacement& operator=(const FileReplacement&) = delete;
  virtual ~FileReplacement() = default;

  /// Gives the new file what the old one has beside its content: permissions, attributes and the
  /// time of its creation. Does nothing when there is no old file.
  virtual void TakeOver() = 0;

  /// Appends `bytes`. Error 61 when the disk is full.
  virtual void Write(std::string_view bytes) = 0;

  /// Returns when all that was written is on the disk, as far as the system can tell.
  virtual void Flush() = 0;

  /// Puts the new file in the place of the old one. Error 70 when somebody else has that open.
  virtual void Commit() = 0;
};

}  // namespace brindlex
