#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "cli/compare/table_comparison.h"
#include "cli/io/output.h"
#include "cli/text/palette.h"

namespace brindlex::cli {

/// Shows differences: for people, line by line, or as one JSON array of objects, whose members
/// docs/tool-reference.md has. Values are read from their files as they are shown, in JSON whole
/// and in bounded memory.
class DifferenceWriter {
 public:
  DifferenceWriter(Output& output, bool asJson);

  /// A collection or a column is only in the file `isAdded ? NEW : OLD`.
  void WriteCollection(const std::string& name, bool isAdded);
  void WriteColumn(const std::string& name, bool isAdded);

  /// What follows is about a pair of tables with these names; all must outlive it.
  void Begin(const TablePair& pair, const std::vector<std::string>& before,
             const std::vector<std::string>& after);
  void Write(const RecordDifference& difference);

  /// Too many records have left their neighbours to find out which have moved.
  void WriteManyMoved();

  /// Ends the output. To be called once.
  void Finish();

  /// Differences so far.
  std::uint64_t Count() const { return count_; }

 private:
  /// A value, and the name of its column.
  struct Side {
    const TableSource* source = nullptr;
    Extent extent;
  };

  void BeginObject(std::string_view kind);
  void WriteOneSided(std::string_view kind, std::string_view member, const std::string& name,
                     bool isAdded);
  void WriteHead(const RecordDifference& difference);
  void WriteCollectionLine();
  void WriteFields(const RecordDifference& difference);
  void WriteOneSide(const TableSource& source, const std::vector<std::string>& names,
                    const RecordDigest& record, bool isNew);
  void WriteChanges(const RecordDifference& difference);
  void WriteKey(const RecordDifference& difference);
  void WriteField(const std::string& name, const Side& before, const Side& after);
  void WriteJsonValue(std::string_view member, const Side& side);
  static std::string Shown(const Side& side);

  Output& output_;
  bool asJson_;
  Palette palette_;
  const TablePair* pair_ = nullptr;
  const std::vector<std::string>* before_ = nullptr;
  const std::vector<std::string>* after_ = nullptr;
  /// For each compared column its place in both tables.
  std::vector<std::size_t> beforePlaces_;
  bool isCollectionShown_ = false;
  bool isFirstField_ = true;
  std::uint64_t count_ = 0;
};

}  // namespace brindlex::cli
