#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/format/file_format.h"
#include "cli/format/tokenizer.h"

namespace brindlex::cli {

/// A collection of a file, whose input must outlive it.
struct TableSource {
  Input* input = nullptr;
  FileFormat format;
  ByteMarkers markers;
  Extent text;
  /// For messages; empty if it is the only one of its file.
  std::string name;
};

/// The only collection of a file.
inline TableSource OnlyTable(Input& input, const FileFormat& format) {
  return {&input, format, format.markers, format.Text(), {}};
}

/// A named collection, as its record in the outer layer has it.
struct NamedCollection {
  /// From 1, in file order.
  std::uint64_t number = 0;
  /// The record, from its first byte to that of the next, with the line breaks after it.
  Extent record;
  /// How many those are.
  std::uint64_t lineBreaks = 0;
  /// The text of the collection, and its name.
  Extent data;
  Extent nameExtent;
  /// The first kMostOfAName bytes of its name.
  std::string nameBytes;

  std::uint64_t fieldCount = 0;
  /// Text after the last field end, or no record end.
  bool hasRest = false;
  bool hasEnd = true;
  /// The record has a field of the text; the text starts with a header.
  bool hasData = false;
  bool hasHeader = false;

  /// Records without the header, and names in the header; 0 if they were not counted.
  std::uint64_t records = 0;
  std::uint64_t fields = 0;

  static constexpr std::size_t kMostOfAName = std::size_t{64} * 1024;

  /// In UTF-8, as far as it is well-formed.
  std::string Name(const Encoding& encoding) const;
};

/// Reads the outer layer of a file of several collections, malformed records included.
class NamedCollectionScanner {
 public:
  /// `format.named` is set, except while it is detected. Everything must outlive it. Counting
  /// records looks at every byte of the collections.
  NamedCollectionScanner(Input& input, const FileFormat& format, bool countsRecords = false,
                         Progress* progress = nullptr);

  /// The next collection; false after the last. What follows the last record end is a collection
  /// without an end, unless it is a tail.
  bool Next(NamedCollection& collection);

  /// How many line breaks follow the header. Known from the first Next on.
  std::uint64_t HeaderLineBreaks() const { return headerLineBreaks_; }

  /// Where the last record, with the line breaks after it, ends.
  std::uint64_t End() const { return end_; }

 private:
  void ReadHeader();
  bool ReadText(NamedCollection& collection);
  std::uint64_t SkipLineBreaks();

  const FileFormat& format_;
  InputWindow window_;
  Tokenizer outer_;
  bool countsRecords_;
  bool hasHeader_ = false;
  std::uint64_t number_ = 0;
  std::uint64_t headerLineBreaks_ = 0;
  std::uint64_t end_ = 0;
};

/// All collections of a file, in the memory of their names. ConversionError, with the byte, for a
/// record with more or fewer fields than the header, for text after the last record end that is no
/// tail, for a name that is ill-formed or longer than kMostOfAName, and for two collections of one
/// name in any letter case, since the component cannot read such a file.
class CollectionIndex {
 public:
  CollectionIndex() = default;
  CollectionIndex(Input& input, const FileFormat& format);

  /// Those that the component would find by `name`, in any letter case.
  const NamedCollection* Find(std::string_view name) const;

  /// The same; UsageError if there is none, with the names of `input`'s collections.
  const NamedCollection& Require(const Input& input, std::string_view name) const;

  const std::vector<NamedCollection>& All() const { return all_; }

  /// The offsets of the line breaks between records of the outer layer.
  std::vector<std::uint64_t> LineBreaks(const ByteMarkers& markers) const;

  /// One of them, of the file that the index was made of.
  TableSource Table(Input& input, const FileFormat& format, const NamedCollection& one) const {
    return {&input, format, *format.inner, one.data, NameOf(one)};
  }

  /// In UTF-8.
  const std::string& NameOf(const NamedCollection& collection) const {
    return names_[static_cast<std::size_t>(&collection - all_.data())];
  }

  /// Where the last record, with the line breaks after it, ends.
  std::uint64_t End() const { return end_; }

 private:
  std::vector<NamedCollection> all_;
  std::vector<std::string> names_;
  std::uint64_t headerLineBreaks_ = 0;
  std::uint64_t end_ = 0;
};

/// The collection of `name` in any letter case, or the only one, which has no name. UsageError if
/// there is none, and as CollectionIndex.
TableSource FindTable(Input& input, const FileFormat& format,
                      const std::optional<std::string>& name);

/// Whether two names are one to the component: the same in any letter case.
bool IsSameName(std::string_view left, std::string_view right);

/// The refusal of a collection name in a file that holds one collection without a name.
[[noreturn]] void RefuseCollectionName(const Input& input);

/// The refusal of a name that no collection has; `list` are those that there are, quoted.
[[noreturn]] void RefuseUnknownCollection(const Input& input, std::string_view name,
                                          const std::string& list);

}  // namespace brindlex::cli
