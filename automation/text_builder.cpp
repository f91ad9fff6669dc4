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
/// its copy are in memory together for a moment, so it grows by less.
std::size_t NextSize(std::size_t least) {
  constexpr std::size_t kSmallest = 256;
  constexpr std::size_t kLarge = std::size_t{1} << 20U;
  return std::max(kSmallest, least + least / (least < kLarge ? 1 : 6));
}

}  // namespace

Text TextBuilder::Take() {
  text_.resize(Size());
  end_ = nullptr;
  room_ = 0;
  expected_ = 0;
  return std::exchange(text_, {});
}

void TextBuilder::Grow(std::size_t least) {
  constexpr std::size_t kMostAtOnce = 32;
  const std::size_t expected = expected_ / kMostAtOnce < least ? expected_ : kMostAtOnce * least;
  Text grown;
  try {
    grown = WithCapacity(View(), expected > least ? expected : NextSize(least));
  } catch (const std::exception&) {
    grown = WithCapacity(View(), least);
  }
  text_ = std::move(grown);
  room_ = 0;
}

void TextBuilder::MakeRoom(std::size_t wanted) {
  // Few enough to be still in the nearest cache when they are written for good.
  constexpr std::size_t kMadeAhead = 2048;
  const std::size_t size = Size();
  if (size + wanted > text_.capacity()) Grow(size + wanted);
  text_.resize(std::max(size + wanted, std::min(text_.capacity(), size + kMadeAhead)));
  room_ = text_.size() - size;
  end_ = text_.data() + size;
}

}  // namespace brindlex
