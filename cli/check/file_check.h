#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "cli/check/defects.h"
#include "cli/format/file_format.h"

namespace brindlex::cli {

/// What a check of a file found besides its defects.
struct CheckedFile {
  /// Records of all its collections, without headers.
  std::uint64_t records = 0;
  std::uint64_t collections = 0;
  /// What follows the last record end and is no record.
  Extent tail;
};

/// Passes every defect of a file, of both its layers, to `handler`, in the order of their offsets;
/// duplicate keys that need another pass over the file follow the others. At most 64 MB of memory,
/// whatever the file. `keySlots` is for KeyCheck. Fails as Input.
CheckedFile CheckFile(Input& input, const FileFormat& format,
                      const std::optional<std::string>& keyName, const DefectHandler& handler,
                      std::size_t keySlots = std::size_t{1} << 21U);

}  // namespace brindlex::cli
