#pragma once

#include <cstddef>
#include <cstring>

#include "automation/text.h"

namespace brindlex {

/// Builds a long text run by run. Short runs are copied inline into room that was made ahead, so
/// that a field of a record costs a few instructions. Where the text lies is a derived class's
/// business. Not synchronized.
class TextBuilder {
 public:
  TextBuilder() = default;
  TextBuilder(const TextBuilder&) = delete;
  TextBuilder& operator=(const TextBuilder&) = delete;
  virtual ~TextBuilder() = default;

  /// Appends `run`, which must not be part of this text. Throws std::bad_alloc or
  /// std::length_error; the text is then as it was.
  void Append(TextView run) {
    if (run.size() > room_) MakeRoom(run.size());
    CopyUnits(run, end_);
    end_ += run.size();
    room_ -= run.size();
  }

  std::size_t Size() const noexcept { return static_cast<std::size_t>(end_ - begin_); }
  TextView View() const noexcept { return {begin_, Size()}; }

  /// Gives the text and its memory up; the builder is empty again.
  virtual void Clear() noexcept = 0;

  /// Says how long the text will be in all, as far as the caller can tell: when it has to grow, it
  /// grows to that size at once, though by no more than a fixed factor, as the caller may be wrong.
  void Expect(std::size_t size) noexcept { expected_ = size; }

 protected:
  /// Units in memory: those of the text, and room that may be written to.
  struct Memory {
    char16_t* begin;
    std::size_t size;
  };

  /// Memory for `least` units or more, of which the first are those of View(). It replaces the
  /// memory that was given before. Throws as Append.
  virtual Memory Provide(std::size_t least) = 0;

  /// How much to allocate when `least` units are needed.
  std::size_t NextCapacity(std::size_t least) const noexcept;

  /// The text has been taken out; the memory is no longer the builder's.
  void Forget() noexcept;

 private:
  /// As std::memcpy, without the call for runs as short as most values are.
  static void CopyUnits(TextView run, char16_t* to) noexcept {
    constexpr std::size_t kEight = 8 * sizeof(char16_t);
    constexpr std::size_t kFour = 4 * sizeof(char16_t);
    constexpr std::size_t kTwo = 2 * sizeof(char16_t);
    const char16_t* const from = run.data();
    const std::size_t count = run.size();
    if (count > 32) {
      std::memcpy(to, from, count * sizeof(char16_t));
    } else if (count >= 8) {
      for (std::size_t done = 0; done + 8 <= count; done += 8) {
        std::memcpy(to + done, from + done, kEight);
      }
      std::memcpy(to + count - 8, from + count - 8, kEight);
    } else if (count >= 4) {
      std::memcpy(to, from, kFour);
      std::memcpy(to + count - 4, from + count - 4, kFour);
    } else if (count >= 2) {
      std::memcpy(to, from, kTwo);
      std::memcpy(to + count - 2, from + count - 2, kTwo);
    } else if (count == 1) {
      *to = *from;
    }
  }

  void MakeRoom(std::size_t wanted);

  char16_t* begin_ = nullptr;
  char16_t* end_ = nullptr;
  std::size_t room_ = 0;
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
