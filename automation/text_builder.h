#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "automation/text.h"

namespace brindlex {

/// Builds a long text run by run. Short runs are copied inline into room that was made ahead, so
/// that a field of a record costs a few instructions. Where the memory comes from is a derived
/// class's business. Not synchronized.
class TextBuilder {
 public:
  TextBuilder() = default;
  TextBuilder(const TextBuilder&) = delete;
  TextBuilder& operator=(const TextBuilder&) = delete;
  virtual ~TextBuilder() = default;

  /// Appends `run`, which must not be part of this text. Throws std::bad_alloc or
  /// std::length_error; the text is then as it was.
  void Append(TextView run) {
    if (run.size() > Room()) MakeRoom(run.size());
    CopyUnits(run, end_);
    end_ += run.size();
  }

  /// As Append, for a run that is nearly always a single unit.
  void AppendMarker(TextView marker) {
    if (marker.size() != 1 || Room() == 0) return AppendOutOfLine(marker);
    *end_++ = marker.front();
  }

  std::size_t Size() const noexcept { return static_cast<std::size_t>(end_ - begin_); }
  TextView View() const noexcept { return {begin_, Size()}; }

  /// Releases the text and its memory; the builder is empty again.
  virtual void Clear() noexcept = 0;

  /// A size hint: the length that the caller expects of the whole text. When the text has to grow,
  /// it grows to that size at once, though by no more than a fixed factor, as the hint may be
  /// wrong.
  void SetSizeHint(std::size_t size) noexcept { expected_ = size; }

  /// Allocates memory for a text of `size` units in all, if there is less, so that appending up to
  /// that size neither fails nor moves the text. Throws as Append.
  void Reserve(std::size_t size) {
    expected_ = size;
    if (size > Size() + Room()) MakeRoom(size - Size());
  }

 protected:
  /// Units in memory: those of the text, and room that may be written to.
  struct Memory {
    char16_t* begin;
    std::size_t size;
  };

  /// Memory for `least` units or more, of which the first are those of View(). It replaces the
  /// memory that it returned before. Throws as Append.
  virtual Memory Provide(std::size_t least) = 0;

  /// How much to allocate when `least` units are needed.
  std::size_t NextCapacity(std::size_t least) const noexcept;

  /// The text has been taken out; the memory is no longer the builder's.
  void Forget() noexcept;

 private:
  /// As std::memcpy, without the call for runs as short as most values are, and with few branches
  /// on their length: it differs from value to value, so that the processor would guess wrong.
  static void CopyUnits(TextView run, char16_t* to) noexcept {
    const char16_t* const from = run.data();
    const std::size_t count = run.size();
    if (count > 32) {
      std::memcpy(to, from, count * sizeof(char16_t));
    } else if (count > 16) {
      CopyEnds<8>(from, count, to);
    } else if (count >= 4) {
      CopyEnds<4>(from, count, to);
    } else if (count > 0) {
      // The first, the middle and the last, which may be the same.
      const std::size_t middle = count / 2;
      to[0] = from[0];
      to[middle] = from[middle];
      to[count - 1] = from[count - 1];
    }
  }

  /// Copies `count` units, from `Run` to four times as many: one or two runs from their start and
  /// as many up to their end, which may overlap.
  template <std::size_t Run>
  static void CopyEnds(const char16_t* from, std::size_t count, char16_t* to) noexcept {
    const std::size_t second = count >= 2 * Run ? Run : 0;
    const std::size_t last = count - Run;
    CopyRun<Run>(from, to);
    CopyRun<Run>(from + second, to + second);
    CopyRun<Run>(from + last - second, to + last - second);
    CopyRun<Run>(from + last, to + last);
  }

  template <std::size_t Run>
  static void CopyRun(const char16_t* from, char16_t* to) noexcept {
#ifdef __SSE2__
    if constexpr (Run * sizeof(char16_t) == sizeof(std::uint64_t)) {
      // A compiler for 32 bits would make two copies of it.
      const __m128i units = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from));
      _mm_storel_epi64(reinterpret_cast<__m128i*>(to), units);
      return;
    }
#endif
    std::memcpy(to, from, Run * sizeof(char16_t));
  }

  std::size_t Room() const noexcept {
#ifdef __clang_analyzer__
    // It does not know that a null pointer less another is 0.
    if (limit_ == nullptr) return 0;
#endif
    return static_cast<std::size_t>(limit_ - end_);
  }
  void MakeRoom(std::size_t wanted);
  void AppendOutOfLine(TextView run);

  char16_t* begin_ = nullptr;
  char16_t* end_ = nullptr;
  /// The end of the memory that may be written to.
  char16_t* limit_ = nullptr;
  std::size_t expected_ = 0;
};

/// Builds a Text.
class StringTextBuilder final : public TextBuilder {
 public:
  /// The text; the builder is empty again.
  Text Take();

  void Clear() noexcept override;

 private:
  Memory Provide(std::size_t least) override;

  /// Longer than the text by the room that is ready to be written.
  Text text_;
};

}  // namespace brindlex
