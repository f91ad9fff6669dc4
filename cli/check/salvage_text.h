#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "cli/check/column_profile.h"
#include "cli/format/marker_walk.h"
#include "cli/io/file_copy.h"
#include "cli/io/output.h"
#include "cli/io/progress.h"
#include "cli/io/span_gather.h"
#include "cli/text/encoding.h"

namespace brindlex::tool {

/// What becomes of records that a marker in a value has damaged.
struct JoinOptions {
  /// Join where exactly one join fits.
  bool join = false;
  /// UTF-8: what stands in a joined value where the marker was, which it must not stay.
  std::string replacement = " ";
};

/// How many records went where. A record that was joined of two is one.
struct SalvageCounts {
  std::uint64_t whole = 0;
  std::uint64_t joined = 0;
  std::uint64_t damaged = 0;

  SalvageCounts& operator+=(const SalvageCounts& other);
};

/// A damaged record.
struct Damage {
  std::uint64_t at = 0;
  std::uint64_t record = 0;
  /// Of a multi-collection text, from 1; 0 elsewhere.
  std::uint64_t collection = 0;
  /// What is wrong, and which joins would fit or which one was made.
  std::string what;
  bool isJoined = false;
  Span bytes;
};

/// Sorts the records of one text, which is a part of a file, into those that are whole, which it
/// writes, and the others, which it tells of. In bounded memory: of a damaged record some kilobytes
/// are looked at, however long it is. Failures are those of Input and Output.
class TextSalvage {
 public:
  using Tell = std::function<void(const Damage&)>;

  /// Everything must outlive it. The file is read in several places at a time, so it must be one
  /// that can.
  TextSalvage(const std::string& path, Encoding encoding, ByteMarkers markers,
              const JoinOptions& options, Output& output, Tell tell);
  TextSalvage(const TextSalvage&) = delete;
  TextSalvage& operator=(const TextSalvage&) = delete;
  virtual ~TextSalvage() = default;

  /// Sorts the records of `text`. Where `isForeign`, the text was joined itself, and the markers of
  /// the layer around it, which `SetForeign` gave, are replaced in what is written. Nothing is
  /// written of a text whose header has no end or no fields; that is told as one damage.
  SalvageCounts Run(const Span& text, std::uint64_t collection, bool isForeign);

  void SetForeign(const ByteMarkers& markers) { foreign_ = markers; }

  /// `progress` is shown how far Run has come; it must outlive that.
  void SetProgress(Progress* progress) { progress_ = progress; }

 protected:
  /// Whether a value may stand in a column, from 0; some hundred bytes of it are shown.
  virtual bool Fits(std::size_t column, const std::string& value);

  /// Writes a value. Where `isJoined`, it holds markers of this text.
  virtual void WriteField(std::size_t column, const Span& field, bool isJoined);

  /// Whether whole records are written byte for byte, without WriteField.
  virtual bool CopiesRecords() const { return true; }

  /// The number of the record that is being written, of the first of two that are joined.
  std::uint64_t Writing() const { return writing_; }

 private:
  using Fields = std::vector<Span>;

  void Take(SpannedRecord& record);
  void TakeHeader(const SpannedRecord& header);
  bool IsSound(const SpannedRecord& record) const;
  void WriteWhole(const SpannedRecord& record);
  void WriteJoined(const Fields& fields, std::size_t first, std::size_t count);
  void CopyReplacing(const Span& span, const ByteMarkers& markers);
  void Sort(const SpannedRecord& record);
  bool SortPair(const SpannedRecord& first, const SpannedRecord& second);
  void FlushPending();
  void Keep(const SpannedRecord& record, const std::string& proposal);
  void TellJoined(const SpannedRecord& record, const Span& bytes, const std::string& what);
  std::string WhatIsWrong(const SpannedRecord& record) const;
  std::string JoinText(const Join& join, const char* verb) const;
  std::vector<std::string> Values(const Fields& fields);
  void Learn();

  Encoding encoding_;
  ByteMarkers markers_;
  std::optional<ByteMarkers> foreign_;
  const JoinOptions& options_;
  std::string replacement_;
  Output& output_;
  Tell tell_;
  FileCopy scan_;
  FileCopy copy_;
  FileCopy learn_;

  Span text_;
  std::uint64_t collection_ = 0;
  bool isForeign_ = false;
  bool isHeaderless_ = false;
  std::vector<std::string> names_;
  std::vector<ColumnProfile> profile_;
  /// A damaged record that the next one may be the other half of.
  std::optional<SpannedRecord> pending_;
  std::uint64_t writing_ = 0;
  SalvageCounts counts_;
  Progress* progress_ = nullptr;
};

}  // namespace brindlex::tool
