#include "cli/check/key_check.h"

#include <cstdint>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/cli/unit/cli_test.h"

namespace brindlex::cli {
namespace {

KeyHash HashOf(const std::string& utf8) {
  KeyHash hash;
  hash.MixUtf8(utf8);
  return hash;
}

bool AreSame(const std::string& left, const std::string& right) {
  const SipHash128 leftHash = HashOf(left).Value();
  const SipHash128 rightHash = HashOf(right).Value();
  return leftHash.low == rightHash.low && leftHash.high == rightHash.high;
}

TEST(KeyHash, IsTheSameInAnyLetterCase) {
  EXPECT_TRUE(AreSame("Moby Dick", "MOBY dick"));
  EXPECT_TRUE(AreSame("\u00C4\u0152\u0416", "\u00E4\u0153\u0436"));
  EXPECT_FALSE(AreSame("a", "b"));
  EXPECT_FALSE(AreSame("ab", "ba"));
  EXPECT_FALSE(AreSame("", std::string(1, '\0')));
  EXPECT_FALSE(AreSame("\xFF", "\xFE")) << "bytes that are no characters";
}

using Found = std::map<std::uint64_t, std::uint64_t>;

/// Every record whose key an earlier one has, with that one, over as many passes as it takes.
Found Check(const std::vector<std::vector<std::string>>& collections, std::size_t slots,
            int* passes = nullptr) {
  KeyCheck check(slots);
  Found found;
  int count = 0;
  do {
    ++count;
    for (std::size_t collection = 0; collection < collections.size(); ++collection) {
      check.Begin(collection);
      for (std::size_t record = 1; record <= collections[collection].size(); ++record) {
        const auto earlier = check.Add(HashOf(collections[collection][record - 1]), record);
        if (!earlier) continue;
        const bool isNew = found.emplace(collection * 1'000'000 + record, *earlier).second;
        EXPECT_TRUE(isNew) << "reported twice: " << record;
      }
    }
  } while (check.NextPass());
  if (passes != nullptr) *passes = count;
  return found;
}

Found Model(const std::vector<std::vector<std::string>>& collections) {
  Found found;
  for (std::size_t collection = 0; collection < collections.size(); ++collection) {
    std::map<std::string, std::uint64_t> seen;
    for (std::size_t record = 1; record <= collections[collection].size(); ++record) {
      const auto [first, isNew] = seen.emplace(collections[collection][record - 1], record);
      if (!isNew) found.emplace(collection * 1'000'000 + record, first->second);
    }
  }
  return found;
}

TEST(KeyCheck, ReportsTheFirstRecordOfTheSameKey) {
  EXPECT_EQ((Found{{2, 1}, {4, 1}}), Check({{"a", "A", "b", "a"}}, 64));
}

TEST(KeyCheck, KeepsCollectionsApart) { EXPECT_EQ(Found(), Check({{"a", "b"}, {"a", "b"}}, 64)); }

TEST(KeyCheck, ReportsNothingAgainInAPassThatIsNotItsOwn) {
  KeyCheck check(64);
  check.Begin(0);
  EXPECT_EQ(std::nullopt, check.Add(HashOf("a"), 1));
  EXPECT_EQ(1U, check.Add(HashOf("a"), 2));
  EXPECT_FALSE(check.NextPass());
  check.Begin(0);
  EXPECT_EQ(std::nullopt, check.Add(HashOf("a"), 1));
  EXPECT_EQ(std::nullopt, check.Add(HashOf("a"), 2));
}

TEST(KeyCheck, FindsAllInAsLittleRoomAsThereIs) {
  std::mt19937 random(9);
  for (int round = 0; round < 30; ++round) {
    std::vector<std::vector<std::string>> collections(1 + random() % 3);
    for (auto& keys : collections) {
      const std::size_t count = random() % 400;
      for (std::size_t i = 0; i < count; ++i) keys.push_back(std::to_string(random() % 300));
    }
    int passes = 0;
    EXPECT_EQ(Model(collections), Check(collections, 16, &passes));
    EXPECT_EQ(Model(collections), Check(collections, 1024, &passes));
    EXPECT_EQ(1, passes);
  }
}

}  // namespace
}  // namespace brindlex::cli
