#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "cli/convert/table_writer.h"
#include "cli/format/block_index.h"
#include "cli/io/source.h"

namespace brindlex::tool {

/// A change of a file: the bytes from `begin` to `end` become what `write` hands to a sink.
struct Edit {
  std::uint64_t begin = 0;
  std::uint64_t end = 0;
  std::function<void(const ByteSink&)> write;
};

/// Hands a source with its edits, which are in order and apart, to `sink`; all other bytes as they
/// are. Without a source there are no other bytes.
void Splice(const Source* source, const std::vector<Edit>& edits, const ByteSink& sink);

/// A file of several collections with one change in it. Names are those of blocks in any letter
/// case.
class BlockEditor {
 public:
  /// Reads the outer layer of `file`, which must outlive it. Failure kUsage when the file holds a
  /// single collection, ConversionError as IndexBlocks. An empty file has no blocks.
  BlockEditor(const Source& file, const FormatOptions& format);

  /// A file that is not there yet, in the encoding of `like` and with its byte order mark.
  static BlockEditor OfNewFile(const Source& like, const FormatOptions& format);

  /// Hands the collection of that name to `sink` as a file by itself: with the markers of such a
  /// one, or with its own when `keepsMarkers`; behind the byte order mark that the file has.
  void Extract(const std::string& name, bool keepsMarkers, const ByteSink& sink) const;

  /// The file without that collection; without the last one it is empty, as the component has it.
  void Remove(const std::string& name, const ByteSink& sink) const;

  /// The file in which that collection has another name. ConversionError for a name that is taken.
  void Rename(const std::string& name, const std::string& newName, const ByteSink& sink) const;

  /// The file with the single collection in `added` under `name`: at the end, or, when `replaces`,
  /// in the place of the one of that name. ConversionError when the name is taken otherwise, for
  /// values that hold one of the four markers or characters that the encoding does not have, and as
  /// ReadTables.
  void Add(const std::string& name, const Source& added, const FormatOptions& addedFormat,
           bool replaces, const ByteSink& sink, Losses& losses) const;

 private:
  BlockEditor() = default;
  const BlockPlace& Found(const std::string& name) const;
  std::string NameBytes(const std::string& name) const;
  std::string HeaderBytes(const ByteMarkers& outer) const;

  /// Nothing for a new file.
  const Source* file_ = nullptr;
  Layout layout_;
  BlockIndex index_;
};

}  // namespace brindlex::tool
