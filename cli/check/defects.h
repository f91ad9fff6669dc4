#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "cli/io/output.h"

namespace brindlex::tool {

/// What can be wrong with a text. KindName has the names that machines are told.
enum class DefectKind {
  kFieldCount,
  kNoFieldEnd,
  kTextBehindFieldEnd,
  kNoRecordEnd,
  kNoRecords,
  kBlankName,
  kDuplicateName,
  kBreakInName,
  kCharacter,
  kDuplicateKey,
  kNoKeyColumn,
  kBlankBlockName,
  kBlockNameSpelling,
};

std::string_view KindName(DefectKind kind);

struct Defect {
  DefectKind kind = DefectKind::kFieldCount;
  /// Counted in bytes from 0, from the first byte of the file.
  std::uint64_t at = 0;
  /// 0 is the header, 1 the first record behind it, as the component's reports count.
  std::uint64_t record = 0;
  /// From 1; 0 when it is about no one field.
  std::uint64_t field = 0;
  /// The collection of a multi-collection text, from 1; 0 in its outer layer and in any other text.
  std::uint64_t collection = 0;
  /// What it is, and what the component does with it: each without a full stop.
  std::string what;
  std::string does;
};

/// Takes defects as they are found.
class DefectSink {
 public:
  DefectSink() = default;
  DefectSink(const DefectSink&) = delete;
  DefectSink& operator=(const DefectSink&) = delete;
  virtual ~DefectSink() = default;

  virtual void Take(const Defect& defect) = 0;
};

/// Writes defects of one file after the other: a line "file:byte:record:field: what; what the
/// component does" for each, or one JSON array of objects. Finish is to be called once, at the end.
class DefectWriter : public DefectSink {
 public:
  DefectWriter(Output& output, bool asJson) : output_(output), asJson_(asJson) {}

  void BeginFile(const std::string& name) { file_ = name; }
  void Take(const Defect& defect) override;
  void Finish();

  std::uint64_t Count() const { return count_; }

 private:
  void WriteLine(const Defect& defect);
  void WriteObject(const Defect& defect);

  Output& output_;
  bool asJson_;
  std::string file_;
  std::uint64_t count_ = 0;
};

}  // namespace brindlex::tool
