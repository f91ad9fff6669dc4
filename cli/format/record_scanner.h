#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace brindlex::tool {

/// One record as it stands in a file.
struct GatheredRecord {
  struct Field {
    /// Its first bytes, as many as were asked for.
    std::string bytes;
    /// How many it has in all.
    std::uint64_t length = 0;
    std::uint64_t at = 0;
  };

  /// 0 is the header.
  std::uint64_t number = 0;
  std::vector<Field> fields;
  /// Bytes behind the last field end.
  std::uint64_t restBytes = 0;
  /// False for a last one without a record end.
  bool hasEnd = true;
};

/// A sink of MarkerWalk that hands over records one by one. Of a record no more than `mostFields`
/// fields are kept, of a field no more than `mostBytes`, and 16 MB in all.
class RecordGather {
 public:
  using Each = std::function<void(const GatheredRecord&)>;

  RecordGather(std::size_t mostFields, std::size_t mostBytes, Each each)
      : mostFields_(mostFields), mostBytes_(mostBytes), each_(std::move(each)) {}

  void FieldPiece(std::string_view bytes, std::uint64_t at) {
    if (record_.restBytes == 0) fieldAt_ = at;
    record_.restBytes += bytes.size();
    if (record_.fields.size() >= mostFields_) return;
    const std::size_t room = std::min(mostBytes_ - std::min(mostBytes_, bytes_.size()),
                                      kMostOfARecord - std::min(kMostOfARecord, kept_));
    bytes_.append(bytes.substr(0, room));
    kept_ += std::min(room, bytes.size());
  }

  void FieldEnd(std::uint64_t at) {
    if (record_.fields.size() < mostFields_) {
      const std::uint64_t from = record_.restBytes == 0 ? at : fieldAt_;
      record_.fields.push_back({std::move(bytes_), record_.restBytes, from});
    }
    bytes_.clear();
    record_.restBytes = 0;
    hasContent_ = true;
  }

  void RecordEnd(std::uint64_t) { HandOver(true); }

  void LineBreak(std::uint64_t) {}

  /// To be called behind the walk's own Finish: hands over what no record end follows.
  void Finish() {
    if (hasContent_ || record_.restBytes > 0) HandOver(false);
  }

 private:
  void HandOver(bool hasEnd) {
    record_.hasEnd = hasEnd;
    each_(record_);
    record_.fields.clear();
    record_.restBytes = 0;
    ++record_.number;
    bytes_.clear();
    kept_ = 0;
    hasContent_ = false;
  }

  static constexpr std::size_t kMostOfARecord = std::size_t{16} * 1024 * 1024;

  std::size_t mostFields_;
  std::size_t mostBytes_;
  Each each_;
  GatheredRecord record_;
  std::string bytes_;
  /// Bytes of the record that are kept.
  std::size_t kept_ = 0;
  std::uint64_t fieldAt_ = 0;
  bool hasContent_ = false;
};

}  // namespace brindlex::tool
