#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "cli/check/column_profile.h"
#include "cli/format/record_scanner.h"
#include "cli/io/output.h"

namespace brindlex::cli {

/// What becomes of records that a marker in a value has damaged.
struct JoinOptions {
  /// Join where exactly one join fits.
  bool join = false;
  /// UTF-8: what a joined value has in place of the marker.
  std::string replacement = " ";
};

/// How many records went where. A record that was joined of two is one.
struct SalvageCounts {
  std::uint64_t valid = 0;
  std::uint64_t joined = 0;
  std::uint64_t damaged = 0;

  SalvageCounts& operator+=(const SalvageCounts& other);
};

/// A damaged record.
struct Damage {
  std::uint64_t offset = 0;
  std::uint64_t record = 0;
  /// Of a file of several collections, from 1; 0 elsewhere.
  std::uint64_t collection = 0;
  /// What is wrong, and which joins would fit or which one was made.
  std::string what;
  bool isJoined = false;
  Extent bytes;
};

/// Sorts the records of one text, which is a part of an input, into the valid ones, which it
/// writes, and the others, which it reports. In bounded memory: of a damaged record some kilobytes
/// are looked at, however long it is. Fails as Input and Output.
class TextSalvage {
 public:
  using Report = std::function<void(const Damage&)>;

  /// Everything must outlive it. `progress` may be null.
  TextSalvage(Input& input, Encoding encoding, ByteMarkers markers, const JoinOptions& options,
              Output& output, Report report, Progress* progress = nullptr);
  TextSalvage(const TextSalvage&) = delete;
  TextSalvage& operator=(const TextSalvage&) = delete;
  virtual ~TextSalvage() = default;

  /// Sorts the records of `text`. If `isJoined`, the text was joined itself, and the markers of the
  /// layer around it, which SetAround gave, are replaced in what is written. Nothing is written of
  /// a text whose header has no end or no fields; that is reported as one damage.
  SalvageCounts Run(const Extent& text, std::uint64_t collection, bool isJoined);

  void SetAround(const ByteMarkers& markers) { around_ = markers; }

 protected:
  /// Whether a value may be in a column, from 0; its first some hundred bytes are given.
  virtual bool Fits(std::size_t column, const std::string& value);

  /// Writes a value. If `isJoined`, it holds markers of this text.
  virtual void WriteField(std::size_t column, const Extent& field, bool isJoined);

  /// Whether valid records are written byte for byte, without WriteField.
  virtual bool CopiesRecords() const { return true; }

  /// The number of the record that is being written, of the first of two that are joined.
  std::uint64_t Writing() const { return writing_; }

 private:
  using Fields = std::vector<Extent>;

  void Take(ScannedRecord& record);
  void TakeHeader(const ScannedRecord& header);
  void WriteValid(const ScannedRecord& record);
  void WriteJoined(const Fields& fields, std::size_t first, std::size_t count);
  void Copy(const Extent& extent);
  void CopyReplacing(const Extent& extent, const ByteMarkers& markers);
  void Sort(const ScannedRecord& record);
  std::vector<Join> FindJoins(const Fields& fields);
  std::string Proposal(const std::vector<Join>& joins) const;
  bool SortPair(const ScannedRecord& first, const ScannedRecord& second);
  void FlushPending();
  void ReportDamaged(const ScannedRecord& record, const std::string& proposal);
  void ReportJoined(const ScannedRecord& record, const Extent& bytes, const std::string& what);
  std::string WhatIsWrong(const ScannedRecord& record) const;
  std::string JoinText(const Join& join, const char* verb) const;
  std::vector<std::string> Values(const Fields& fields);
  void Learn();

  Input& input_;
  Encoding encoding_;
  ByteMarkers markers_;
  std::optional<ByteMarkers> around_;
  const JoinOptions& options_;
  std::string replacement_;
  Output& output_;
  Report report_;
  Progress* progress_;
  ExtentReader reader_;

  Extent text_;
  std::uint64_t collection_ = 0;
  bool isJoined_ = false;
  bool hasHeader_ = false;
  std::vector<std::string> names_;
  std::vector<ColumnProfile> profile_;
  /// A damaged record that the next one may be the other half of.
  std::optional<ScannedRecord> pending_;
  std::uint64_t writing_ = 0;
  SalvageCounts counts_;
};

}  // namespace brindlex::cli
