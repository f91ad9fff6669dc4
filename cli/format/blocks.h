#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "cli/format/layout.h"
#include "cli/io/input.h"
#include "cli/io/progress.h"

namespace brindlex::tool {

/// One collection of a multi-collection file.
struct Block {
  /// From 1, in the order of the file.
  std::uint64_t number = 0;
  /// UTF-8, as far as it can be told; cut behind some hundreds of bytes.
  std::string name;
  /// Where its text stands in the file.
  std::uint64_t at = 0;
  std::uint64_t bytes = 0;
  /// Records, the header not included, and names in the header; 0 when they were not counted.
  std::uint64_t records = 0;
  std::uint64_t fields = 0;
};

/// Walks over a multi-collection file, which `layout` is of and nothing was read of, and hands over
/// its blocks until `each` returns false. Counting records takes a second look at every byte.
void EachBlock(Input& input, const Layout& layout, bool countsRecords,
               const std::function<bool(const Block&)>& each, Progress& progress);

/// The first block of that name, in any letter case, as the component finds it. Failure kUsage when
/// there is none, with the names that there are.
Block FindBlock(Input& input, const Layout& layout, const std::string& name, Progress& progress);

}  // namespace brindlex::tool
