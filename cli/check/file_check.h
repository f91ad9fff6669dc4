#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "cli/check/defects.h"
#include "cli/format/layout.h"

namespace brindlex::tool {

/// What a check of a file found besides its defects.
struct CheckedFile {
  /// Records of all its collections, headers not included.
  std::uint64_t records = 0;
  std::uint64_t collections = 0;
  std::string doubt;
};

/// Tells `sink` every defect of a file, of all its layers, in the order of their places; duplicate
/// keys that need another pass over the file come behind the others. At most 64 MB of memory,
/// whatever the file. Standard input is read once: when its keys would need a second pass, that is
/// a Failure kInputOutput. Other failures are those of Input and FindLayout.
CheckedFile CheckFile(const std::string& path, const FormatOptions& options,
                      const std::optional<std::string>& keyName, DefectSink& sink);

/// The same with room for `keySlots` keys (KeyCheck), for tests.
CheckedFile CheckFile(const std::string& path, const FormatOptions& options,
                      const std::optional<std::string>& keyName, DefectSink& sink,
                      std::size_t keySlots);

}  // namespace brindlex::tool
