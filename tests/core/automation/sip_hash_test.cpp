#include "automation/sip_hash.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "automation/half_sip_hash.h"
#include "tests/core/automation/hash_key_fixture.h"

namespace brindlex {
namespace {

using SipHasher24 = BasicSipHasher<2, 4>;

constexpr SipKey kPublishedKey{0x0706050403020100U, 0x0F0E0D0C0B0A0908U};

/// The bytes 0, 1, 2, ...
std::string Counted(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t index = 0; index < size; ++index) bytes[index] = static_cast<char>(index);
  return bytes;
}

/// Independent of the class: the whole padded message is made first, and each step is written as
/// the paper has it, one operation a line, on an array.
class NaiveSipHash {
 public:
  NaiveSipHash(int perWord, int final) : perWord_(perWord), final_(final) {}

  SipHash128 Hash(const SipKey& key, const std::string& bytes, bool isWide) {
    v_ = {0x736F6D6570736575U ^ key.low, 0x646F72616E646F6DU ^ key.high,
          0x6C7967656E657261U ^ key.low, 0x7465646279746573U ^ key.high};
    if (isWide) v_[1] ^= 0xEEU;
    std::string padded = bytes;
    while (padded.size() % 8 != 7) padded += '\0';
    padded += static_cast<char>(bytes.size() % 256);
    for (std::size_t start = 0; start < padded.size(); start += 8) {
      std::uint64_t word = 0;
      for (std::size_t index = 0; index < 8; ++index) {
        word += static_cast<std::uint64_t>(static_cast<unsigned char>(padded[start + index]))
                << 8 * index;
      }
      v_[3] ^= word;
      for (int round = 0; round < perWord_; ++round) Round();
      v_[0] ^= word;
    }
    v_[2] ^= isWide ? 0xEEU : 0xFFU;
    SipHash128 hash;
    for (int round = 0; round < final_; ++round) Round();
    hash.low = v_[0] ^ v_[1] ^ v_[2] ^ v_[3];
    if (!isWide) return hash;
    v_[1] ^= 0xDDU;
    for (int round = 0; round < final_; ++round) Round();
    hash.high = v_[0] ^ v_[1] ^ v_[2] ^ v_[3];
    return hash;
  }

 private:
  void Turn(std::size_t index, int bits) {
    v_[index] =
        v_[index] * (std::uint64_t{1} << bits) + v_[index] / (std::uint64_t{1} << (64 - bits));
  }

  void AddAndTurn(std::size_t to, std::size_t from, int bits) {
    v_[to] += v_[from];
    Turn(from, bits);
    v_[from] ^= v_[to];
  }

  void Round() {
    AddAndTurn(0, 1, 13);
    Turn(0, 32);
    AddAndTurn(2, 3, 16);
    AddAndTurn(0, 3, 21);
    AddAndTurn(2, 1, 17);
    Turn(2, 32);
  }

  int perWord_;
  int final_;
  std::array<std::uint64_t, 4> v_{};
};

// Of the authors' vectors_sip64: the messages of 0 to 15 bytes.
constexpr std::array<std::uint64_t, 16> kPublished64 = {
    0x726FDB47DD0E0E31U, 0x74F839C593DC67FDU, 0x0D6C8009D9A94F5AU, 0x85676696D7FB7E2DU,
    0xCF2794E0277187B7U, 0x18765564CD99A68DU, 0xCBC9466E58FEE3CEU, 0xAB0200F58B01D137U,
    0x93F5F5799A932462U, 0x9E0082DF0BA9E4B0U, 0x7A5DBBC594DDB9F3U, 0xF4B32F46226BADA7U,
    0x751E8FBC860EE5FBU, 0x14EA5627C0843D90U, 0xF723CA908E7AF2EEU, 0xA129CA6149BE45E5U};

// Of their vectors_sip128: the messages of 0 to 2 bytes.
constexpr std::array<SipHash128, 3> kPublished128 = {{
    {0xE6A825BA047F81A3U, 0x930255C71472F66DU},
    {0x44AF996BD8C187DAU, 0x45FC229B11597634U},
    {0xC75DA4A48D227781U, 0xE4FF0AF6DE8BA3FCU},
}};

TEST(SipHashTest, TwoAndFourRoundsGiveThePublishedHashes) {
  for (std::size_t size = 0; size < kPublished64.size(); ++size) {
    SipHasher24 hasher(kPublishedKey);
    hasher.Add(Counted(size));
    EXPECT_EQ(kPublished64.at(size), hasher.Finish()) << size;
    EXPECT_EQ(kPublished64.at(size),
              NaiveSipHash(2, 4).Hash(kPublishedKey, Counted(size), false).low)
        << size;
  }
}

TEST(SipHashTest, TwoAndFourRoundsGiveThePublishedHashesOf128Bits) {
  for (std::size_t size = 0; size < kPublished128.size(); ++size) {
    SipHasher24 hasher(kPublishedKey, SipHasher24::Width::k128);
    hasher.Add(Counted(size));
    const SipHash128 naive = NaiveSipHash(2, 4).Hash(kPublishedKey, Counted(size), true);
    EXPECT_EQ(kPublished128.at(size).low, hasher.Finish128().low) << size;
    EXPECT_EQ(kPublished128.at(size).high, hasher.Finish128().high) << size;
    EXPECT_EQ(kPublished128.at(size).low, naive.low) << size;
    EXPECT_EQ(kPublished128.at(size).high, naive.high) << size;
  }
}

TEST(SipHashTest, OneAndThreeRoundsAgreeWithTheNaiveHash) {
  std::mt19937_64 random(1);
  for (std::size_t size = 0; size <= 300; ++size) {
    const SipKey key{random(), random()};
    std::string bytes(size, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    EXPECT_EQ(NaiveSipHash(1, 3).Hash(key, bytes, false).low, SipHash(key, bytes)) << size;
    SipHasher wide(key, SipHasher::Width::k128);
    wide.Add(bytes);
    const SipHash128 expected = NaiveSipHash(1, 3).Hash(key, bytes, true);
    EXPECT_EQ(expected.low, wide.Finish128().low) << size;
    EXPECT_EQ(expected.high, wide.Finish128().high) << size;
  }
}

TEST(SipHashTest, UnitsAreTheirBytesTheLowerOneFirst) {
  Text units;
  std::string bytes;
  for (char16_t unit = 0xFEF0; units.size() < 40; unit = static_cast<char16_t>(unit + 0x0107)) {
    EXPECT_EQ(SipHash(kPublishedKey, bytes), SipHash(kPublishedKey, units)) << units.size();
    units += unit;
    bytes += static_cast<char>(unit & 0xFFU);
    bytes += static_cast<char>(unit >> 8U);
  }
}

TEST(SipHashTest, HowTheInputIsDividedDoesNotMatter) {
  const std::string bytes = Counted(40);
  const std::uint64_t whole = SipHash(kPublishedKey, bytes);
  for (std::size_t first = 0; first <= bytes.size(); ++first) {
    for (std::size_t second = 0; second <= 17 && first + second <= bytes.size(); ++second) {
      SipHasher hasher(kPublishedKey);
      hasher.Add(bytes.substr(0, first));
      hasher.Add(bytes.substr(first, second));
      hasher.Add(bytes.substr(first + second));
      EXPECT_EQ(whole, hasher.Finish()) << first << " " << second;
    }
  }
}

TEST(SipHashTest, EveryBitOfTheKeyCounts) {
  std::set<std::uint64_t> hashes{SipHash(kPublishedKey, "key")};
  for (unsigned bit = 0; bit < 64; ++bit) {
    const std::uint64_t changed = std::uint64_t{1} << bit;
    hashes.insert(SipHash(SipKey{kPublishedKey.low ^ changed, kPublishedKey.high}, "key"));
    hashes.insert(SipHash(SipKey{kPublishedKey.low, kPublishedKey.high ^ changed}, "key"));
  }
  EXPECT_EQ(129U, hashes.size());
}

// ---- HalfSipHash -------------------------------------------------------------------------------

/// Of 0, 2, 4 and so on bytes that count up, under a key that does: the authors' vectors of whole
/// units.
TEST(HalfSipHashTest, AgreesWithThePublishedVectors) {
  constexpr std::uint64_t kKey = 0x0706050403020100U;
  constexpr std::uint32_t kPublished[] = {0x5B9F35A9U, 0x03A662FAU, 0x89466E2AU, 0x23FC6358U,
                                          0x8F84B8D0U};
  Text units;
  for (const std::uint32_t expected : kPublished) {
    const auto same = [](char16_t unit) { return unit; };
    EXPECT_EQ(expected, (HalfSipHash<2, 4>(kKey, units, same))) << units.size();
    const auto low = static_cast<char16_t>(2 * units.size());
    units.push_back(static_cast<char16_t>(low | (low + 1) << 8));
  }
}

TEST(HalfSipHashTest, EveryBitOfTheKeyCounts) {
  const auto hash = [](std::uint64_t key) {
    return HalfSipHash<1, 3>(key, u"key", [](char16_t unit) { return unit; });
  };
  std::set<std::uint32_t> hashes{hash(0)};
  for (unsigned bit = 0; bit < 64; ++bit) hashes.insert(hash(std::uint64_t{1} << bit));
  EXPECT_EQ(65U, hashes.size());
}

/// Four units are folded at a time; here they are folded one by one before.
TEST_F(HashKeyTest, TheHashIsTheOneOfTheFoldedUnitsAtEveryPosition) {
  constexpr TextView kUsual = u"aZ@[`{z0A~\u00C4";
  const auto require = [](const Text& text) {
    Text folded;
    for (const char16_t unit : text) folded.push_back(FoldCase(unit));
    ASSERT_EQ(SipHash(HashKey(), TextView(folded)), KeyedHashIgnoringCase(text));
    ASSERT_EQ(IndexHashIgnoringCase(folded), IndexHashIgnoringCase(text));
  };
  for (std::size_t size = 0; size <= kUsual.size(); ++size) require(Text(kUsual.substr(0, size)));
  for (std::size_t position = 0; position < 9; ++position) {
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
      Text text(kUsual.substr(0, 9));
      text[position] = static_cast<char16_t>(unit);
      ASSERT_NO_FATAL_FAILURE(require(text)) << unit << " at " << position;
    }
  }
}

TEST_F(HashKeyTest, TheKeyIsTheOneThatWasSet) {
  SetHashKey(kPublishedKey);
  EXPECT_EQ(kPublishedKey.low, HashKey().low);
  EXPECT_EQ(kPublishedKey.high, HashKey().high);
  EXPECT_EQ(SipHash(kPublishedKey, "abc"), KeyedHash("abc"));
  EXPECT_EQ(SipHash(kPublishedKey, TextView(u"abc\u00E4")), KeyedHashIgnoringCase(u"aBC\u00C4"));
}

TEST_F(HashKeyTest, AnotherKeyGivesOtherHashes) {
  const std::uint64_t bytes = KeyedHash("abc");
  const std::uint64_t text = KeyedHashIgnoringCase(u"abc");
  const std::uint32_t index = IndexHashIgnoringCase(u"abc");
  SetHashKey({HashKey().low + 1, HashKey().high});
  EXPECT_NE(bytes, KeyedHash("abc"));
  EXPECT_NE(text, KeyedHashIgnoringCase(u"abc"));
  EXPECT_NE(index, IndexHashIgnoringCase(u"abc"));
}

}  // namespace
}  // namespace brindlex
