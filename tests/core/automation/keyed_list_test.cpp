#include "automation/keyed_list.h"

#include <gmock/gmock.h>

#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "automation/hash_key.h"
#include "environment/trap.h"
#include "tests/core/core_test.h"
#include "tests/core/failing_new.h"

namespace brindlex {
namespace {

using testing::ElementsAre;

template <class T>
std::vector<T> Values(const KeyedList<T>& list) {
  std::vector<T> values;
  for (std::size_t position = 1; position <= list.Count(); ++position) {
    values.push_back(list.At(position));
  }
  return values;
}

TEST(KeyedListTest, StartsEmpty) {
  KeyedList<int> list;
  EXPECT_EQ(0U, list.Count());
  EXPECT_EQ(nullptr, list.Find(u""));
  EXPECT_EQ(9, ErrorOf([&] { list.At(1); }));
  EXPECT_EQ(5, ErrorOf([&] { list.At(u"a"); }));
  EXPECT_EQ(5, ErrorOf([&] { list.PositionOf(u"a"); }));
  EXPECT_EQ(9, ErrorOf([&] { list.Remove(1); }));
}

TEST(KeyedListTest, PositionsCountFromOne) {
  KeyedList<int> list;
  list.Add(10);
  list.Add(20);
  EXPECT_EQ(10, list.At(1));
  EXPECT_EQ(20, list.At(2));
  EXPECT_EQ(9, ErrorOf([&] { list.At(std::size_t{0}); }));
  EXPECT_EQ(9, ErrorOf([&] { list.At(3); }));
  EXPECT_EQ(9, ErrorOf([&] { list.At(static_cast<std::size_t>(-1)); }));
  EXPECT_EQ(9, ErrorOf([&] { list.Remove(0); }));
  EXPECT_EQ(9, ErrorOf([&] { list.Remove(3); }));
  EXPECT_EQ(9, ErrorOf([&] { list.Insert(0, 1); }));
  EXPECT_EQ(9, ErrorOf([&] { list.Insert(4, 1); }));
  EXPECT_THAT(Values(list), ElementsAre(10, 20));
}

TEST(KeyedListTest, InsertsBeforeAPosition) {
  KeyedList<int> list;
  list.Insert(1, 2);
  list.Insert(1, 1);
  list.Insert(3, 4);
  list.Insert(3, 3);
  EXPECT_THAT(Values(list), ElementsAre(1, 2, 3, 4));
}

TEST(KeyedListTest, KeysIgnoreLetterCase) {
  KeyedList<int> list;
  list.Add(1, u"Name");
  list.Add(2, u"\u03A3");
  EXPECT_EQ(1, list.At(u"nAME"));
  EXPECT_EQ(2, list.At(u"\u03C2"));
  EXPECT_EQ(2U, list.PositionOf(u"\u03C3"));
  EXPECT_EQ(5, ErrorOf([&] { list.At(u"Names"); }));
  EXPECT_EQ(457, ErrorOf([&] { list.Add(3, u"NAME"); }));
  EXPECT_EQ(457, ErrorOf([&] { list.Insert(1, 3, u"\u03C2"); }));
  EXPECT_THAT(Values(list), ElementsAre(1, 2));
}

TEST(KeyedListTest, ThePositionIsCheckedBeforeTheKey) {
  KeyedList<int> list;
  list.Add(1, u"a");
  EXPECT_EQ(9, ErrorOf([&] { list.Insert(3, 2, u"a"); }));
}

TEST(KeyedListTest, AnyTextIsAKey) {
  KeyedList<int> list;
  const TextView keys[] = {u"",       u" ",      TextView(u"\0", 1), TextView(u"\0\0", 2),
                           u"\xD800", u"\xDC00", u"\u00A5",          u"1"};
  int value = 0;
  for (const TextView key : keys) list.Add(++value, key);
  value = 0;
  for (const TextView key : keys) EXPECT_EQ(++value, list.At(key));
  EXPECT_EQ(457, ErrorOf([&] { list.Add(0, u""); }));
}

TEST(KeyedListTest, AKeyIsCopied) {
  KeyedList<int> list;
  Text key = u"a key that is longer than any small buffer";
  list.Add(1, key);
  key.assign(key.size(), u'x');
  EXPECT_EQ(1, list.At(u"a key that is longer than any small buffer"));
  EXPECT_EQ(nullptr, list.Find(key));
}

TEST(KeyedListTest, ARemovedValueTakesItsKeyAlong) {
  KeyedList<Text> list;
  list.Add(u"one", u"a");
  list.Add(u"two");
  list.Add(u"three", u"c");
  EXPECT_EQ(u"one", list.Remove(1));
  EXPECT_EQ(u"two", list.Remove(1));
  EXPECT_EQ(nullptr, list.Find(u"a"));
  EXPECT_EQ(1U, list.PositionOf(u"c"));
  list.Add(u"four", u"A");
  EXPECT_THAT(Values(list), ElementsAre(u"three", u"four"));
}

TEST(KeyedListTest, ValuesStayWhereTheyAreWhileOthersComeAndGo) {
  KeyedList<int> list;
  list.Add(1, u"kept");
  const int* const kept = &list.At(1);
  for (int n = 0; n < 1000; ++n) list.Insert(1, n);
  for (int n = 0; n < 500; ++n) list.Remove(1);
  EXPECT_EQ(kept, &list.At(u"kept"));
  EXPECT_EQ(501U, list.PositionOf(u"kept"));
}

TEST(KeyedListTest, HoldsValuesThatCannotBeCopied) {
  KeyedList<std::unique_ptr<int>> list;
  list.Add(std::make_unique<int>(5), u"a");
  EXPECT_EQ(5, *list.At(u"A"));
  EXPECT_EQ(5, *list.Remove(1));
}

/// The same list as a plain vector that is searched from its start.
class NaiveList {
 public:
  struct Entry {
    int value;
    std::optional<std::string> key;
  };

  static char Lower(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : letter;
  }

  static bool SameKey(const std::string& left, const std::string& right) {
    if (left.size() != right.size()) return false;
    for (std::size_t i = 0; i < left.size(); ++i) {
      if (Lower(left[i]) != Lower(right[i])) return false;
    }
    return true;
  }

  /// From 1; 0 when there is none.
  std::size_t PositionOf(const std::string& key) const {
    for (std::size_t i = 0; i < entries.size(); ++i) {
      if (entries[i].key && SameKey(*entries[i].key, key)) return i + 1;
    }
    return 0;
  }

  std::optional<std::int32_t> Insert(std::size_t position, int value,
                                     const std::optional<std::string>& key) {
    if (position < 1 || position > entries.size() + 1) return 9;
    if (key && PositionOf(*key) != 0) return 457;
    entries.insert(At(position), {value, key});
    return std::nullopt;
  }

  std::optional<std::int32_t> Remove(std::size_t position) {
    if (position < 1 || position > entries.size()) return 9;
    entries.erase(At(position));
    return std::nullopt;
  }

  std::vector<Entry> entries;

 private:
  std::vector<Entry>::iterator At(std::size_t position) {
    return entries.begin() + static_cast<std::ptrdiff_t>(position - 1);
  }
};

Text Wide(const std::string& narrow) { return {narrow.begin(), narrow.end()}; }

class RandomOperations {
 public:
  explicit RandomOperations(std::uint32_t seed) : random_(seed) {}

  void Run(int count) {
    for (int n = 0; n < count; ++n) {
      // Phases of growing and of shrinking.
      const bool growing = n / 500 % 2 == 0;
      if (Below(10) < (growing ? 7U : 3U)) {
        Insert(n);
      } else {
        Remove();
      }
      LookUp();
      if (n % 50 == 0) CompareWhole();
    }
    CompareWhole();
  }

  std::size_t Largest() const { return largest_; }

 private:
  std::size_t Below(std::size_t limit) { return random_() % limit; }

  /// A short key, often equal to an earlier one but for letter case.
  std::string Key() {
    std::string key;
    for (std::size_t length = Below(6); length > 0; --length) key += "aAbBcC1 "[Below(8)];
    return key;
  }

  void Insert(int value) {
    const std::size_t end = model_.entries.size() + 1;
    const std::size_t position = Below(3) == 0 ? Below(end + 2) : end;
    const auto key = Below(4) == 0 ? std::nullopt : std::optional<std::string>(Key());
    const auto expected = model_.Insert(position, value, key);
    EXPECT_EQ(expected, ErrorOf([&] { InsertIntoList(position, value, key); }));
    largest_ = std::max(largest_, model_.entries.size());
  }

  void InsertIntoList(std::size_t position, int value, const std::optional<std::string>& key) {
    if (!key) return list_.Insert(position, value);
    list_.Insert(position, value, Wide(*key));
  }

  void Remove() {
    const std::size_t position = Below(model_.entries.size() + 2);
    int removed = 0;
    const auto error = ErrorOf([&] { removed = list_.Remove(position); });
    if (!error) {
      EXPECT_EQ(model_.entries.at(position - 1).value, removed);
    }
    EXPECT_EQ(model_.Remove(position), error);
  }

  void LookUp() {
    const std::string key = Key();
    const std::size_t position = model_.PositionOf(key);
    const int* const found = list_.Find(Wide(key));
    ASSERT_EQ(position != 0, found != nullptr);
    if (found == nullptr) {
      EXPECT_EQ(5, ErrorOf([&] { list_.At(Wide(key)); }));
      EXPECT_EQ(5, ErrorOf([&] { list_.PositionOf(Wide(key)); }));
    } else {
      EXPECT_EQ(model_.entries[position - 1].value, *found);
      EXPECT_EQ(*found, list_.At(Wide(key)));
      EXPECT_EQ(position, list_.PositionOf(Wide(key)));
    }
  }

  void CompareWhole() {
    ASSERT_EQ(model_.entries.size(), list_.Count());
    for (std::size_t i = 0; i < model_.entries.size(); ++i) {
      const NaiveList::Entry& entry = model_.entries[i];
      EXPECT_EQ(entry.value, list_.At(i + 1));
      if (entry.key) {
        EXPECT_EQ(i + 1, list_.PositionOf(Wide(*entry.key)));
      }
    }
  }

  std::mt19937 random_;
  NaiveList model_;
  KeyedList<int> list_;
  std::size_t largest_ = 0;
};

TEST(KeyedListTest, RandomOperationsGoAsInANaiveList) {
  std::size_t largest = 0;
  for (std::uint32_t seed = 1; seed <= 8; ++seed) {
    RandomOperations operations(seed);
    operations.Run(3000);
    largest = std::max(largest, operations.Largest());
  }
  EXPECT_GT(largest, 100U);
}

/// A value that fails when it is copied or moved for the n-th time.
class Fragile {
 public:
  explicit Fragile(int value) : value_(value) {}
  Fragile(const Fragile& other) : value_(other.value_) { Pass(); }
  // NOLINTNEXTLINE(performance-noexcept-move-constructor,bugprone-exception-escape)
  Fragile(Fragile&& other) : value_(other.value_) {
    Pass();
    other.value_ = -1;
  }
  Fragile& operator=(const Fragile&) = delete;
  Fragile& operator=(Fragile&&) = delete;
  ~Fragile() = default;

  int Value() const { return value_; }

  static int movesLeft;

 private:
  static void Pass() {
    if (movesLeft > 0 && --movesLeft == 0) throw std::runtime_error("fragile");
  }

  int value_;
};

int Fragile::movesLeft = 0;

/// A list of the values 1 to 3 under the keys "1" to "3".
std::unique_ptr<KeyedList<Fragile>> ThreeFragile() {
  Fragile::movesLeft = 0;
  auto list = std::make_unique<KeyedList<Fragile>>();
  for (int n = 1; n <= 3; ++n) list->Add(Fragile(n), DecimalText(n));
  return list;
}

void ExpectThree(const KeyedList<Fragile>& list) {
  ASSERT_EQ(3U, list.Count());
  for (int n = 1; n <= 3; ++n) {
    EXPECT_EQ(n, list.At(static_cast<std::size_t>(n)).Value());
    EXPECT_EQ(n, list.At(DecimalText(n)).Value());
    EXPECT_EQ(static_cast<std::size_t>(n), list.PositionOf(DecimalText(n)));
  }
  EXPECT_EQ(nullptr, list.Find(u"new"));
}

/// Runs `step` on a list of three with the first move failing, then the second, and so on; says how
/// many failed.
template <class Step>
int FailEveryMove(Step&& step) {
  for (int nth = 1;; ++nth) {
    const auto list = ThreeFragile();
    Fragile::movesLeft = nth;
    const bool done = TrapSilently([&] { step(*list); });
    const bool failed = Fragile::movesLeft == 0;
    Fragile::movesLeft = 0;
    EXPECT_EQ(failed, !done);
    if (!failed) return nth - 1;
    ExpectThree(*list);
  }
}

TEST(KeyedListTest, AFailedMoveLeavesTheListAsItWas) {
  EXPECT_GT(FailEveryMove([](auto& list) { list.Insert(2, Fragile(9), u"new"); }), 0);
  EXPECT_GT(FailEveryMove([](auto& list) { list.Add(Fragile(9)); }), 0);
  EXPECT_GT(FailEveryMove([](auto& list) { list.Remove(2); }), 0);
  EXPECT_GT(FailEveryMove([](auto& list) { list.Remove(3); }), 0);
}

TEST(KeyedListTest, AFailedAllocationLeavesTheListAsItWas) {
  std::size_t failures = 0;
  for (int count = 0; count < 40; ++count) {
    KeyedList<int> list;
    for (int n = 0; n < count; ++n) list.Add(n, DecimalText(n));
    const auto before = Values(list);
    bool inserted = false;
    failures += FailEveryAllocation(
        [&] { inserted = TrapSilently([&] { list.Insert(1, -1, u"a key of some length"); }); },
        [&](bool failed) {
          EXPECT_EQ(failed, !inserted);
          if (inserted) {
            EXPECT_EQ(-1, list.Remove(list.PositionOf(u"A KEY of some length")));
          }
          EXPECT_EQ(before, Values(list));
          EXPECT_EQ(nullptr, list.Find(u"a key of some length"));
          for (int n = 0; n < count; ++n) EXPECT_EQ(n, list.At(DecimalText(n)));
        });
  }
  EXPECT_GT(failures, 80U);
}

TEST(KeyedListTest, RemovingNeedsNoMemory) {
  KeyedList<Text> list;
  list.Add(Text(100, u'x'), u"a key of some length");
  list.Add(u"y");
  Text removed;
  {
    const FailingNew failing(1, FailingNew::Extent::kFromThere);
    removed = list.Remove(1);
    EXPECT_FALSE(FailingNew::Failed());
  }
  EXPECT_EQ(Text(100, u'x'), removed);
}

TEST(KeyedListTest, GivesAllItsMemoryBack) {
  const std::size_t before = LiveAllocations();
  {
    KeyedList<Text> list;
    for (int n = 0; n < 100; ++n) list.Insert(1, Text(50, u'x'), DecimalText(n));
    for (int n = 0; n < 50; ++n) list.Remove(25);
    EXPECT_GT(LiveAllocations(), before);
  }
  EXPECT_EQ(before, LiveAllocations());
}

TEST(KeyedListTest, KeepsNothingOfWhatIsRemoved) {
  KeyedList<Text> list;
  const std::size_t before = LiveAllocations();
  list.Add(Text(50, u'x'), Text(50, u'k'));
  EXPECT_EQ(Text(50, u'x'), list.Remove(1));
  const std::size_t made = LiveAllocations();
  for (int n = 0; n < 3; ++n) {
    list.Add(Text(50, u'x'), Text(50, u'k'));
    list.Remove(1);
    EXPECT_EQ(made, LiveAllocations());
  }
  EXPECT_GT(made, before);
}

TEST(KeyedListTest, WhoComesAndGoesTakesNoMoreMemory) {
  KeyedList<int> list;
  for (int n = 0; n < 4; ++n) list.Add(n, DecimalText(n));
  const MemoryMeter meter;
  for (int n = 4; n < 10'000; ++n) {
    list.Add(n, DecimalText(n));
    EXPECT_EQ(n, list.Remove(5));
  }
  EXPECT_LE(meter.Peak(), 4096U);
}

TEST(KeyedListTest, ManyValuesLieInFewBlocksOfMemory) {
  KeyedList<int> list;
  const std::size_t before = LiveAllocations();
  for (int n = 0; n < 4 + 8 + 16 + 32 + 64 + 128 + 256 + 3 * 512; ++n) list.Add(n);
  // Those of the values and of their positions.
  EXPECT_EQ(7U + 3 + 1, LiveAllocations() - before);
}

using SharedList = KeyedList<std::shared_ptr<void>>;

/// A value that looks the whole of `list` over, and changes it, when it goes away.
std::shared_ptr<void> Meddler(SharedList& list, bool& keyGone) {
  return {&list, [&list, &keyGone](void*) {
            for (std::size_t n = 1; n <= list.Count(); ++n) EXPECT_NE(nullptr, list.At(n));
            keyGone = list.Find(u"meddler") == nullptr;
            list.Insert(1, nullptr, u"left behind");
            list.Remove(list.Count());
          }};
}

TEST(KeyedListTest, AValueThatGoesAwayMayUseTheList) {
  SharedList list;
  bool keyGone = false;
  list.Add(std::make_shared<int>(1), u"a");
  list.Add(Meddler(list, keyGone), u"meddler");
  list.Add(std::make_shared<int>(3), u"c");
  list.Remove(2);
  EXPECT_TRUE(keyGone);
  ASSERT_EQ(2U, list.Count());
  EXPECT_EQ(nullptr, list.At(u"left behind"));
  EXPECT_EQ(2U, list.PositionOf(u"a"));
  EXPECT_EQ(nullptr, list.Find(u"c"));
}

TEST(KeyedListTest, AValueThatIsRefusedMayUseTheListToo) {
  SharedList list;
  bool keyGone = false;
  list.Add(std::make_shared<int>(1), u"a");
  EXPECT_EQ(457, ErrorOf([&] { list.Add(Meddler(list, keyGone), u"A"); }));
  EXPECT_TRUE(keyGone);
  ASSERT_EQ(1U, list.Count());
  EXPECT_EQ(nullptr, list.At(u"left behind"));
}

TEST(KeyedListTest, HandsItsValuesAndKeysOverAndIsEmptyThen) {
  KeyedList<int> list;
  list.Add(1, u"a");
  list.Add(2, u"b");
  list.Remove(1);
  list.Add(3, u"c");
  KeyedList<int> taken = std::exchange(list, {});
  ASSERT_EQ(2U, taken.Count());
  EXPECT_EQ(2, taken.At(1));
  EXPECT_EQ(3, taken.At(u"C"));
  EXPECT_EQ(0U, list.Count());
  EXPECT_EQ(nullptr, list.Find(u"b"));
  list.Add(4, u"b");
  EXPECT_EQ(4, list.At(u"b"));
  taken = std::move(list);
  ASSERT_EQ(1U, taken.Count());
  EXPECT_EQ(4, taken.At(u"b"));
  EXPECT_EQ(nullptr, taken.Find(u"c"));
  taken.Add(5, u"c");
  EXPECT_EQ(5, taken.At(2));
}

TEST(KeyedListTest, AListThatWasMovedFromIsEmptyAndOfUse) {
  KeyedList<int> list;
  list.Add(1, u"a");
  const KeyedList<int> taken(std::move(list));
  // NOLINTNEXTLINE(bugprone-use-after-move,clang-analyzer-cplusplus.Move): it is what is tested.
  EXPECT_EQ(0U, list.Count());
  list.Add(2, u"a");
  EXPECT_EQ(2, list.At(u"a"));
  EXPECT_EQ(1, taken.At(u"a"));
}

TEST(KeyedListTest, TakesTheMemoryOverWithTheEntries) {
  KeyedList<int> list;
  for (int n = 1; n <= 3; ++n) list.Add(n);
  KeyedList<int> taken;
  taken.Add(9);
  taken.Add(8);
  taken.Remove(1);
  taken = std::move(list);
  for (int n = 4; n <= 7; ++n) taken.Add(n);
  for (int n = 1; n <= 7; ++n) EXPECT_EQ(n, taken.At(static_cast<std::size_t>(n)));
}

// Of four places one was never used, or is left by an entry.
TEST(KeyedListTest, ThePlacesThatAreFreeAreTakenOverToo) {
  for (const int count : {3, 4}) {
    KeyedList<int> list;
    for (int n = 1; n <= count; ++n) list.Add(n);
    if (count == 4) list.Remove(4);
    KeyedList<int> taken;
    taken = std::move(list);
    const std::size_t before = LiveAllocations();
    taken.Add(4);
    EXPECT_EQ(before, LiveAllocations()) << count;
  }
}

TEST(KeyedListTest, AValueThatGoesAwayWithAllOthersMayUseTheList) {
  SharedList list;
  bool keyGone = false;
  list.Add(std::make_shared<int>(1), u"a");
  list.Add(Meddler(list, keyGone), u"meddler");
  { const SharedList ended = std::exchange(list, {}); }
  EXPECT_TRUE(keyGone);
}

/// Two keys whose hashes agree in the 32 bits that an index looks at.
std::pair<Text, Text> KeysOfOneHash() {
  std::unordered_map<std::uint32_t, Text> seen;
  std::mt19937 random(11);
  for (int tries = 0; tries < 1'000'000; ++tries) {
    Text key;
    while (key.size() < 6) key += static_cast<char16_t>(u'a' + random() % 26);
    const auto hash = IndexHashIgnoringCase(key);
    const auto found = seen.try_emplace(hash, key);
    if (found.first->second != key) return {found.first->second, key};
  }
  return {};
}

TEST(KeyedListTest, KeysOfOneHashAreToldApart) {
  const auto [one, other] = KeysOfOneHash();
  ASSERT_NE(one, other);
  KeyedList<int> list;
  list.Add(1, one);
  EXPECT_EQ(nullptr, list.Find(other));
  list.Add(2, other);
  EXPECT_EQ(1, list.At(one));
  EXPECT_EQ(2, list.At(other));
  list.Remove(1);
  EXPECT_EQ(nullptr, list.Find(one));
  EXPECT_EQ(2, list.At(other));
}

}  // namespace
}  // namespace brindlex
