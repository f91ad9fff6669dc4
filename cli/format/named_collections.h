#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/format/layout.h"
#include "cli/io/source.h"

namespace brindlex::tool {

/// Where a block of a multi-collection file is, in bytes.
struct BlockPlace {
  /// Its name in UTF-8, and where it stands.
  std::string name;
  std::uint64_t nameBegin = 0;
  std::uint64_t nameEnd = 0;
  /// Its record, from its first byte to that of the next, line breaks behind it included.
  std::uint64_t begin = 0;
  std::uint64_t end = 0;
  /// Its text.
  std::uint64_t dataBegin = 0;
  std::uint64_t dataEnd = 0;
};

/// The blocks of a multi-collection file, in file order.
struct BlockIndex {
  std::vector<BlockPlace> blocks;
  /// Where the header of the blocks ends, line breaks behind it included, and the file.
  std::uint64_t headerEnd = 0;
  std::uint64_t end = 0;

  /// The block of that name in any letter case, as the component finds it.
  std::optional<std::size_t> Find(std::string_view name) const;

  /// All names, for a message.
  std::string Listed() const;
};

/// Reads the outer layer of an input that `source` opened, a file of several collections, in the
/// memory of the names.
///
/// ConversionError, with the byte, for a block with more or fewer fields than the header, for text
/// behind the last marker, for a name that is no text of the encoding, and for two blocks of one
/// name in any letter case, with which the component cannot read the file.
BlockIndex IndexBlocks(const Source& source, Input& input, const Layout& layout);

/// Whether two names are one to the component: the same in any letter case.
bool IsSameName(std::string_view left, std::string_view right);

}  // namespace brindlex::tool
