#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

#include "cli/text/byte_prefix.h"

namespace brindlex::cli {

/// Bytes that grow at their end, as a std::string does; but short texts are copied as whole
/// vectors, without a branch for each byte or a call.
class ByteBuffer {
 public:
  std::size_t Size() const { return size_; }

  /// Valid until something is appended.
  std::string_view View() const { return {bytes_.get(), size_}; }

  ByteBuffer& operator+=(char byte) {
    *Room(1) = byte;
    ++size_;
    return *this;
  }

  ByteBuffer& operator+=(std::string_view text) {
    char* const end = Room(text.size());
#ifdef __SSE2__
    if (text.size() < kByteBlock) {
      const __m128i block = LoadPartial(text.data(), text.size());
      _mm_storeu_si128(reinterpret_cast<__m128i*>(end), block);
      size_ += text.size();
      return *this;
    }
#endif
    text.copy(end, text.size());
    size_ += text.size();
    return *this;
  }

  /// Appends the plain bytes at the front of `text`, and returns how many there are.
  template <ByteRule Rule>
  std::size_t AppendPlain(std::string_view text, const Rule& rule = {}) {
    const std::size_t plain = CopyPlain(text, Room(text.size()), rule);
    size_ += plain;
    return plain;
  }

  /// Drops everything from `size` on, which is at most Size().
  void Truncate(std::size_t size) { size_ = size; }

  /// Drops the first `count` bytes, at most Size().
  void EraseFront(std::size_t count) {
    size_ -= count;
    if (size_ > 0) std::memmove(bytes_.get(), bytes_.get() + count, size_);
  }

 private:
  /// The end, with room for `count` bytes and those that CopyPlain may write after them.
  char* Room(std::size_t count) {
    if (capacity_ - size_ < count + kCopySlack) Grow(count + kCopySlack);
    return bytes_.get() + size_;
  }

  void Grow(std::size_t count) {
    const std::size_t capacity = std::max(size_ + count, 2 * capacity_);
    auto bytes = std::make_unique_for_overwrite<char[]>(capacity);
    if (size_ > 0) std::memcpy(bytes.get(), bytes_.get(), size_);
    bytes_ = std::move(bytes);
    capacity_ = capacity;
  }

  std::unique_ptr<char[]> bytes_;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace brindlex::cli
