#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <utility>
#include <vector>

namespace brindlex::tool {

/// Bytes of a file.
struct Span {
  std::uint64_t at = 0;
  std::uint64_t bytes = 0;

  std::uint64_t End() const { return at + bytes; }
};

/// One record by its places in a file.
struct SpannedRecord {
  /// 0 is the header.
  std::uint64_t number = 0;
  /// With the line breaks before it that belong to nothing, and with its record end.
  Span whole;
  /// Without those.
  std::uint64_t at = 0;
  /// The first ones, as many as are kept.
  std::vector<Span> fields;
  std::uint64_t fieldCount = 0;
  /// What stands behind the last field end; empty, and in its place, when there is nothing.
  Span rest;
  bool hasEnd = true;
};

/// A sink of MarkerWalk that hands over where the fields of each record stand; of a record no more
/// than kMostFields.
class SpanGather {
 public:
  using Each = std::function<void(SpannedRecord&)>;
  static constexpr std::size_t kMostFields = 10'000;

  /// The text begins at `start`; markers take that many bytes.
  SpanGather(std::uint64_t start, std::size_t lineBreakBytes, std::size_t recordEndBytes, Each each)
      : lineBreakBytes_(lineBreakBytes), recordEndBytes_(recordEndBytes), each_(std::move(each)) {
    Begin(start);
  }

  void FieldPiece(std::string_view bytes, std::uint64_t at) {
    if (record_.rest.bytes == 0) record_.rest.at = at;
    record_.rest.bytes += bytes.size();
  }

  void FieldEnd(std::uint64_t at) {
    if (record_.rest.bytes == 0) record_.rest.at = at;
    if (record_.fields.size() < kMostFields) record_.fields.push_back(record_.rest);
    ++record_.fieldCount;
    record_.rest = {};
  }

  void LineBreak(std::uint64_t at) { record_.at = at + lineBreakBytes_; }

  void RecordEnd(std::uint64_t at) {
    if (record_.rest.bytes == 0) record_.rest.at = at;
    HandOver(at + recordEndBytes_, true);
  }

  /// To be called behind the walk's own Finish: hands over what no record end follows.
  void Finish(std::uint64_t end) {
    if (record_.fieldCount > 0 || record_.rest.bytes > 0) HandOver(end, false);
  }

 private:
  void Begin(std::uint64_t at) {
    record_.whole.at = at;
    record_.at = at;
    record_.fields.clear();
    record_.fieldCount = 0;
    record_.rest = {};
  }

  void HandOver(std::uint64_t end, bool hasEnd) {
    record_.whole.bytes = end - record_.whole.at;
    record_.hasEnd = hasEnd;
    each_(record_);
    ++record_.number;
    Begin(end);
  }

  std::size_t lineBreakBytes_;
  std::size_t recordEndBytes_;
  Each each_;
  SpannedRecord record_;
};

}  // namespace brindlex::tool
