#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/io/output.h"

namespace brindlex::cli {

/// What can be wrong with a text. KindName has the names for machines.
enum class DefectKind {
  kFieldCount,
  kNoFieldEnd,
  kTextAfterFieldEnd,
  kNoRecordEnd,
  kNoRecords,
  kBlankName,
  kDuplicateName,
  kBreakInName,
  kCharacter,
  kDuplicateKey,
  kNoKeyColumn,
  kBlankCollectionName,
  kCollectionNameSpelling,
};

std::string_view KindName(DefectKind kind);

/// A report that the component shows when it is given the text.
struct PredictedReport {
  std::string caption;
  std::int32_t number = 0;
  /// 0 for none.
  std::int32_t line = 0;
  /// Of a report with number 0.
  std::string description;

  bool operator==(const PredictedReport&) const = default;
};

struct Defect {
  DefectKind kind = DefectKind::kFieldCount;
  /// From the first byte of the file, which is 0.
  std::uint64_t offset = 0;
  /// 0 is the header, 1 the first record after it, as the component's reports count.
  std::uint64_t record = 0;
  /// From 1; 0 if it is about no one field.
  std::uint64_t field = 0;
  /// The collection of a file of several, from 1; 0 in its outer layer and in any other text.
  std::uint64_t collection = 0;
  /// What it is, and what the component does about it: each without a full stop.
  std::string what;
  std::string does;
  /// If the component refuses the text because of it, unless an earlier defect already made it: its
  /// reports, in order.
  std::vector<PredictedReport> reports = {};
};

/// Takes defects as they are found. May throw.
using DefectHandler = std::function<void(const Defect&)>;

/// Writes the defects of one file after the other: a line "file:byte:record:field: what; what the
/// component does" for each, or one JSON array of objects. Finish is to be called once, at the end.
class DefectWriter {
 public:
  DefectWriter(Output& output, bool asJson) : output_(output), asJson_(asJson) {}

  void BeginFile(const std::string& name) { file_ = name; }
  void Take(const Defect& defect);
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

}  // namespace brindlex::cli
