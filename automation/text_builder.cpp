#include "automation/text_builder.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace brindlex {
namespace {

/// A copy of `text` that can grow to `capacity` units in place.
Text WithCapacity(TextView text, std::size_t capacity) {
  Text copy;
  copy.reserve(capacity);
  copy.append(text);
  return copy;
}

/// The size to grow to when all that is known is that `least` units are needed. A large text and
/// its copy are in memory together for a moment, so it grows by less; so does one that was thought
/// to end about here.
std::size_t NextSize(std::size_t least, bool isNearEnd) {
  constexpr std::size_t kSmallest = 256;
  constexpr std::size_t kLarge = std::size_t{1} << 20U;
  return std::max(kSmallest, least + least / (least < kLarge && !isNearEnd ? 1 : 6));
}

/// `expected`, or the part of it that is not out of proportion to `least`; chosen so that only a
/// small part of the text has to be moved in the last step, but enough of it is written by then to
/// know how long all of it will be.
std::size_t StepTowards(std::size_t expected, std::size_t least) {
  constexpr std::size_t kLongestStep = 16;
  while (expected / kLongestStep > least) expected /= kLongestStep;
  return expected;
}

}  // namespace

std::size_t TextBuilder::NextCapacity(std::size_t least) const noexcept {
  return expected_ >= least ? StepTowards(expected_, least) : NextSize(least, expected_ != 0);
}

void TextBuilder::MakeRoom(std::size_t wanted) {
  const std::size_t size = Size();
  const Memory memory = Provide(size + wanted);
  begin_ = memory.begin;
  end_ = begin_ + size;
  limit_ = begin_ + memory.size;
}

void TextBuilder::AppendOutOfLine(TextView run) { Append(run); }

void TextBuilder::Forget() noexcept {
  begin_ = nullptr;
  end_ = nullptr;
  limit_ = nullptr;
  expected_ = 0;
}

Text StringTextBuilder::Take() {
  text_.resize(Size());
  Forget();
  return std::exchange(text_, {});
}

void StringTextBuilder::Clear() noexcept {
  text_ = {};
  Forget();
}

TextBuilder::Memory StringTextBuilder::Provide(std::size_t least) {
  // A string has to be filled before it is written to. Few units at a time are still in the nearest
  // cache then.
  constexpr std::size_t kMadeAhead = 2048;
  if (least > text_.capacity()) {
    Text grown;
    try {
      grown = WithCapacity(View(), NextCapacity(least));
    } catch (const std::exception&) {
      grown = WithCapacity(View(), least);
    }
    text_ = std::move(grown);
  }
  text_.resize(std::max(least, std::min(text_.capacity(), Size() + kMadeAhead)));
  return {text_.data(), text_.size()};
}

}  // namespace brindlex
