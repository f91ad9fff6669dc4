#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "cli/format/byte_scan.h"

namespace brindlex::tool {

/// The two markers of one layer as they stand in a file, and the line break that is dropped behind
/// a record end. `unit` is 2 in UTF-16, whose markers stand at even places only, else 1.
struct ByteMarkers {
  std::string fieldEnd;
  std::string recordEnd;
  std::string lineBreak = "\r\n";
  std::size_t unit = 1;
};

/// A text in pieces, cut at its markers: in one pass, in the memory of a marker or two, however
/// long a field is. Which bytes belong to what is as the component has it: markers are found from
/// left to right, and up to three line breaks behind a record end belong to nothing.
///
/// It tells a Sink, in the order of the text, with places counted in bytes from `start` on:
///
///     void FieldPiece(std::string_view bytes, std::uint64_t at);  // never empty; lives for the
///     call void FieldEnd(std::uint64_t at);                            // ends the pieces since
///     the last end void RecordEnd(std::uint64_t at); void LineBreak(std::uint64_t at); // one that
///     the component drops
///
/// A field without pieces is empty. Pieces that a RecordEnd follows without a FieldEnd, and
/// whatever stands behind the last RecordEnd, are what the component drops. The same text cut into
/// other pieces gives the same ends; only its FieldPieces may be cut otherwise.
///
/// The markers must be as CheckedMarkers demands (layout.h). Not to be shared by threads.
class MarkerWalk {
 public:
  explicit MarkerWalk(ByteMarkers markers, std::uint64_t start = 0)
      : markers_(std::move(markers)), at_(start) {}

  /// Goes on with `piece`. A few bytes at its end may be told of at the next call only.
  template <class Sink>
  void Feed(std::string_view piece, Sink& sink) {
    // Enough behind what was held back to decide about every byte of it.
    constexpr std::size_t kBehind = 64;
    while (!held_.empty() && !piece.empty()) {
      const std::size_t before = held_.size();
      const std::size_t taken = std::min(piece.size(), std::max(kBehind, 2 * Longest()));
      held_.append(piece.substr(0, taken));
      const std::string stitched = std::move(held_);
      held_.clear();
      const std::size_t used = Walk(stitched, false, sink);
      if (used < before) {
        held_ = stitched.substr(used);
        piece.remove_prefix(taken);
      } else {
        piece.remove_prefix(used - before);
      }
    }
    if (piece.empty()) return;
    held_ = piece.substr(Walk(piece, false, sink));
  }

  /// Ends the text: tells what was held back. The walk may be used for another text after Restart.
  template <class Sink>
  void Finish(Sink& sink) {
    const std::string rest = std::move(held_);
    held_.clear();
    Walk(rest, true, sink);
  }

  /// Forgets everything: the next piece begins a text at `start`.
  void Restart(std::uint64_t start) {
    held_.clear();
    at_ = start;
    breaksLeft_ = 0;
  }

  /// Forgets everything: the next piece stands at `start`, directly behind a record end.
  void RestartBehindRecordEnd(std::uint64_t start) {
    Restart(start);
    breaksLeft_ = kMostBreaks;
  }

  /// The bytes up to `start` were no markers; the next piece stands there, in the same field.
  void RestartWithin(std::uint64_t start) { Restart(start); }

  /// Whether some bytes that were fed have not been told of.
  bool IsHolding() const { return !held_.empty(); }

  const ByteMarkers& Markers() const { return markers_; }

 private:
  static constexpr int kMostBreaks = 3;

  std::size_t Longest() const {
    return std::max({markers_.fieldEnd.size(), markers_.recordEnd.size(), std::size_t{4}});
  }

  enum class Found { kNothing, kFieldEnd, kRecordEnd, kUndecided };

  /// Whether `marker` stands at the front of `text`; kUndecided when `text` is too short to say.
  static Found At(std::string_view text, const std::string& marker, Found found, bool isLast) {
    const std::size_t common = std::min(text.size(), marker.size());
    if (text.compare(0, common, marker, 0, common) != 0) return Found::kNothing;
    if (common == marker.size()) return found;
    return isLast ? Found::kNothing : Found::kUndecided;
  }

  Found MarkerAt(std::string_view text, bool isLast) const {
    const Found record = At(text, markers_.recordEnd, Found::kRecordEnd, isLast);
    return record != Found::kNothing ? record
                                     : At(text, markers_.fieldEnd, Found::kFieldEnd, isLast);
  }

  /// Walks over `text` as far as it can be decided; returns how far that is.
  template <class Sink>
  std::size_t Walk(std::string_view text, bool isLast, Sink& sink) {
    const std::uint64_t base = at_;
    // Half a unit at the end waits for its other half.
    const std::size_t end = isLast ? text.size() : text.size() - text.size() % markers_.unit;
    const std::size_t used = markers_.fieldEnd.size() == 1 && markers_.recordEnd.size() == 1
                                 ? WalkBytes(text, end, isLast, base, sink)
                                 : WalkUnits(text, end, isLast, base, sink);
    at_ = base + used;
    return used;
  }

  /// Passes over the line breaks behind a record end. False when `text` ends before that is
  /// decided.
  template <class Sink>
  bool PassBreaks(std::string_view text, bool isLast, std::uint64_t base, std::size_t& at,
                  Sink& sink) {
    while (breaksLeft_ > 0) {
      const Found found = At(text.substr(at), markers_.lineBreak, Found::kRecordEnd, isLast);
      if (found == Found::kUndecided) return false;
      if (found == Found::kNothing) break;
      sink.LineBreak(base + at);
      at += markers_.lineBreak.size();
      --breaksLeft_;
    }
    breaksLeft_ = 0;
    return true;
  }

  template <class Sink>
  static void Piece(std::string_view text, std::size_t from, std::size_t to, std::uint64_t base,
                    Sink& sink) {
    if (to > from) sink.FieldPiece(text.substr(from, to - from), base + from);
  }

  /// For markers of one byte each.
  template <class Sink>
  std::size_t WalkBytes(std::string_view text, std::size_t end, bool isLast, std::uint64_t base,
                        Sink& sink) {
    const char fieldEnd = markers_.fieldEnd.front();
    ByteScan<FastestByteMatch> scan(text.substr(0, end), fieldEnd, markers_.recordEnd.front());
    std::size_t at = 0;
    if (!PassBreaks(text, isLast, base, at, sink)) return at;
    for (;;) {
      const std::size_t found = scan.Next();
      if (found < at) continue;  // A marker that is part of a line break just passed.
      Piece(text, at, found, base, sink);
      if (found == end) return end;
      at = found + 1;
      if (text[found] == fieldEnd) {
        sink.FieldEnd(base + found);
        continue;
      }
      sink.RecordEnd(base + found);
      breaksLeft_ = kMostBreaks;
      if (!PassBreaks(text, isLast, base, at, sink)) return at;
    }
  }

  /// For markers of any length: finds where one may begin, and looks.
  template <class Sink>
  std::size_t WalkUnits(std::string_view text, std::size_t end, bool isLast, std::uint64_t base,
                        Sink& sink) {
    // In UTF-16 with the higher byte first, the lower one is the rarer.
    const std::size_t look = markers_.unit == 2 && markers_.fieldEnd.front() == 0 ? 1 : 0;
    ByteScan<FastestByteMatch> scan(text.substr(0, end), markers_.fieldEnd[look],
                                    markers_.recordEnd[look]);
    std::size_t at = 0;
    if (!PassBreaks(text, isLast, base, at, sink)) return at;
    for (;;) {
      const std::size_t hit = scan.Next();
      if (hit == end) {
        Piece(text, at, end, base, sink);
        return end;
      }
      if (hit < at + look) continue;
      const std::size_t found = hit - look;
      // Pieces are whole units long, so a place in the text says as much as one in the piece.
      if (found % markers_.unit != 0) continue;
      const Found what = MarkerAt(text.substr(found), isLast);
      if (what == Found::kNothing) continue;
      Piece(text, at, found, base, sink);
      at = found;
      if (what == Found::kUndecided) return at;
      if (what == Found::kFieldEnd) {
        at += markers_.fieldEnd.size();
        sink.FieldEnd(base + found);
        continue;
      }
      at += markers_.recordEnd.size();
      sink.RecordEnd(base + found);
      breaksLeft_ = kMostBreaks;
      if (!PassBreaks(text, isLast, base, at, sink)) return at;
    }
  }

  ByteMarkers markers_;
  /// The place of the first byte that has not been told of.
  std::uint64_t at_;
  /// Its bytes and those behind it, too few to decide; never more than a marker or a line break.
  std::string held_;
  /// How many line breaks may still be dropped at at_.
  int breaksLeft_ = 0;
};

}  // namespace brindlex::tool
