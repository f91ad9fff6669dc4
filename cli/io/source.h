#pragma once

#include <memory>
#include <string>

#include "cli/io/input.h"
#include "cli/io/progress.h"

namespace brindlex::tool {

/// An input that can be read more than once. A regular file is opened anew each time; standard
/// input, a pipe or a device is kept in a passing file of the system while it is read for the first
/// time, so that memory does not grow with it.
class Source {
 public:
  /// `path` in UTF-8; "-" is standard input. Failure kInputOutput as Input has it.
  explicit Source(const std::string& path);
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;
  ~Source();

  /// What stands in messages for it.
  const std::string& Name() const { return name_; }

  /// The input from its first byte. One at a time, and none that outlives the source.
  std::unique_ptr<Input> Open() const;

  /// The next block of an input that Open gave; shows how far it is, on a terminal that waits.
  std::string_view Next(Input& input) const;

 private:
  void Keep(Input& input);
  void Close() const;

  std::string path_;
  std::string name_;
  /// The passing file; negative when there is none.
  system::Descriptor kept_ = -1;
  std::unique_ptr<Progress> progress_;
};

}  // namespace brindlex::tool
