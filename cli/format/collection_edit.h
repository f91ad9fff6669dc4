#pragma once

#include <functional>
#include <string>
#include <vector>

#include "cli/format/named_collections.h"
#include "cli/format/table_writer.h"

namespace brindlex::cli {

/// A change of a file: the bytes from `begin` to `end` become what `write` passes to its handler.
struct Edit {
  std::uint64_t begin = 0;
  std::uint64_t end = 0;
  std::function<void(const ByteHandler&)> write;
};

/// A file of several collections with one change in it. Collections are found by their names in any
/// letter case.
class CollectionEditor {
 public:
  /// Reads the outer layer of `file`, which must outlive it. UsageError if the file holds a single
  /// collection, ConversionError as CollectionIndex. An empty file has no collections.
  CollectionEditor(Input& file, const FormatOptions& options);

  /// A file that does not exist yet, in the encoding of `like` and with its byte order mark.
  static CollectionEditor OfNewFile(Input& like, const FormatOptions& options);

  /// Passes the collection of that name to `writeBytes` as a file by itself: with the markers of
  /// such a file, or with its own if `keepsMarkers`; after the byte order mark of the file.
  void Extract(const std::string& name, bool keepsMarkers, const ByteHandler& writeBytes) const;

  /// The file without that collection; without the last one it is empty, as the component saves it.
  void Remove(const std::string& name, const ByteHandler& writeBytes) const;

  /// The file in which that collection has another name. ConversionError for a name that is taken.
  void Rename(const std::string& name, const std::string& newName,
              const ByteHandler& writeBytes) const;

  /// The file with the single collection in `added` under `name`: at the end, or, if `replaces`, in
  /// the place of the one of that name. ConversionError if the name is taken otherwise, for values
  /// that hold one of the four markers or characters that the encoding lacks, and as CopyTables.
  void Add(const std::string& name, Input& added, const FormatOptions& addedOptions, bool replaces,
           const ByteHandler& writeBytes, LossReport& lossReport) const;

 private:
  CollectionEditor() = default;
  const NamedCollection& Require(const std::string& name) const;
  std::string EncodeName(const std::string& name) const;
  std::string Header(const ByteMarkers& outer) const;
  void Splice(const std::vector<Edit>& edits, const ByteHandler& writeBytes) const;

  /// Null for a new file.
  Input* file_ = nullptr;
  FileFormat format_;
  CollectionIndex index_;
  std::uint64_t end_ = 0;
};

}  // namespace brindlex::cli
