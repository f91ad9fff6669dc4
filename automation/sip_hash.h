#pragma once

#include <cstdint>
#include <string_view>

#include "automation/sip_state.h"
#include "automation/text.h"

namespace brindlex {

/// The 128-bit key of a SipHash. Read from 16 bytes, each half is little-endian, `low` first.
struct SipKey {
  std::uint64_t low = 0;
  std::uint64_t high = 0;
};

/// The result of a SipHash of 128 bits; written as 16 bytes, each half is little-endian, `low`
/// first.
struct SipHash128 {
  std::uint64_t low = 0;
  std::uint64_t high = 0;
};

/// SipHash, a hash with a secret key: whoever does not know the key cannot find inputs that
/// collide. After Aumasson and Bernstein, "SipHash: a fast short-input PRF" (INDOCRYPT 2012), and
/// for 128 bits the authors' reference implementation. The tests hold it to the authors' test
/// vectors, which are those of 2 and 4 rounds.
///
/// The input arrives in pieces; the result depends on the bytes alone, not on how they are divided.
/// Never fails, never allocates. The same on every platform, whatever its byte order.
template <int kRoundsPerWord, int kFinalRounds>
class BasicSipHasher {
 public:
  enum class Width { k64, k128 };

  explicit BasicSipHasher(const SipKey& key, Width width = Width::k64) noexcept
      : state_{key.low ^ 0x736F6D6570736575U,
               key.high ^ 0x646F72616E646F6DU ^ (width == Width::k128 ? 0xEEU : 0U),
               key.low ^ 0x6C7967656E657261U, key.high ^ 0x7465646279746573U} {}

  /// Adds the `count` low bytes of `value`, the lowest first. `count` is 1 to 8; the bytes above
  /// them must be 0.
  void Add(std::uint64_t value, unsigned count) noexcept {
    const unsigned used = 8 * static_cast<unsigned>(length_ % 8);
    word_ |= value << used;
    length_ += count;
    if (used + 8 * count < 64) return;
    AddWord(word_);
    word_ = used == 0 ? 0 : value >> (64 - used);
  }

  void Add(char16_t unit) noexcept { Add(std::uint64_t{unit}, 2); }

  void Add(std::string_view bytes) noexcept {
    while (bytes.size() >= 8) {
      Add(Load(bytes.substr(0, 8)), 8);
      bytes.remove_prefix(8);
    }
    if (!bytes.empty()) Add(Load(bytes), static_cast<unsigned>(bytes.size()));
  }

  /// The hash of what was added. Requires Width::k64.
  std::uint64_t Finish() const noexcept {
    BasicSipHasher last = *this;
    last.AddLength();
    last.state_.v2 ^= 0xFFU;
    return last.Result();
  }

  /// The hash of what was added. Requires Width::k128.
  SipHash128 Finish128() const noexcept {
    BasicSipHasher last = *this;
    last.AddLength();
    last.state_.v2 ^= 0xEEU;
    SipHash128 hash;
    hash.low = last.Result();
    last.state_.v1 ^= 0xDDU;
    hash.high = last.Result();
    return hash;
  }

 private:
  static std::uint64_t Load(std::string_view bytes) noexcept {
    std::uint64_t value = 0;
    for (std::size_t index = bytes.size(); index > 0; --index) {
      value = value << 8U | static_cast<unsigned char>(bytes[index - 1]);
    }
    return value;
  }

  void AddWord(std::uint64_t word) noexcept { state_.AddWord(word, kRoundsPerWord); }

  void AddLength() noexcept { AddWord(word_ | length_ << 56U); }

  std::uint64_t Result() noexcept {
    state_.Rounds(kFinalRounds);
    return state_.v0 ^ state_.v1 ^ state_.v2 ^ state_.v3;
  }

  SipState<std::uint64_t, 13, 16, 17, 21> state_;
  /// The bytes that do not fill a word yet, and the number of all bytes so far.
  std::uint64_t word_ = 0;
  std::uint64_t length_ = 0;
};

/// SipHash-1-3: for hash tables in memory.
using SipHasher = BasicSipHasher<1, 3>;

/// SipHash-1-3 of the bytes.
inline std::uint64_t SipHash(const SipKey& key, std::string_view bytes) noexcept {
  SipHasher hasher(key);
  hasher.Add(bytes);
  return hasher.Finish();
}

/// SipHash-1-3 of the units, each as two bytes, the lower one first.
inline std::uint64_t SipHash(const SipKey& key, TextView units) noexcept {
  SipHasher hasher(key);
  for (const char16_t unit : units) hasher.Add(unit);
  return hasher.Finish();
}

}  // namespace brindlex
