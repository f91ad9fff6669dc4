// Random work on clsCollection, against a list that looks at everything anew each time.

#include <algorithm>
#include <optional>
#include <random>
#include <vector>

#include "tests/com/objects/late_call.h"
#include "tests/com/support/collection_fixture.h"

namespace brindlex::testing {
namespace {

struct ModelEntry {
  long value;
  std::optional<std::u16string> key;
};

/// The rules in their plainest form. Keys are ASCII. Each function yields the run-time error's
/// number, or 0.
class Model {
 public:
  struct Place {
    bool isKey = false;
    long position = 0;
    std::u16string key;
  };

  unsigned Find(const Place& place, std::size_t& index) const {
    if (!place.isKey) {
      index = static_cast<std::size_t>(place.position - 1);
      return place.position < 1 || place.position > Count() ? 9 : 0;
    }
    for (index = 0; index < entries_.size(); ++index) {
      if (entries_[index].key && Same(*entries_[index].key, place.key)) return 0;
    }
    return 5;
  }

  unsigned Add(ModelEntry entry, const Place* before, const Place* after) {
    if (before != nullptr && after != nullptr) return 5;
    std::size_t index = entries_.size();
    if (before != nullptr) {
      if (const unsigned error = Find(*before, index)) return error;
    }
    if (after != nullptr) {
      if (const unsigned error = Find(*after, index)) return error;
      ++index;
    }
    std::size_t other = 0;
    if (entry.key && Find({true, 0, *entry.key}, other) == 0) return 457;
    entries_.insert(entries_.begin() + static_cast<std::ptrdiff_t>(index), std::move(entry));
    return 0;
  }

  unsigned Remove(const Place& place) {
    std::size_t index = 0;
    if (const unsigned error = Find(place, index)) return error;
    entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(index));
    return 0;
  }

  long Count() const { return static_cast<long>(entries_.size()); }
  const std::vector<ModelEntry>& Entries() const { return entries_; }

 private:
  static char16_t Small(char16_t unit) {
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
  }
  static bool Same(const std::u16string& left, const std::u16string& right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char16_t l, char16_t r) { return Small(l) == Small(r); });
  }

  std::vector<ModelEntry> entries_;
};

class CollectionModelTest : public CollectionTest {
 protected:
  std::uint32_t Any(std::uint32_t below) { return random_() % below; }

  std::u16string AnyKey() {
    constexpr TextView kLetters = u"abAB";
    std::u16string key;
    for (std::uint32_t length = Any(3); length > 0; --length) key += kLetters[Any(4)];
    return key;
  }

  Model::Place AnyPlace() {
    Model::Place place;
    place.isKey = Any(2) == 0;
    if (place.isKey) {
      place.key = AnyKey();
    } else {
      place.position = static_cast<long>(Any(static_cast<std::uint32_t>(model_.Count()) + 3)) - 1;
    }
    return place;
  }

  static Variant ValueOf(const Model::Place& place) {
    return place.isKey ? Variant(TextView(place.key)) : OfLong(place.position);
  }

  void AddOne(long value) {
    ModelEntry entry{value, Any(2) == 0 ? std::optional(AnyKey()) : std::nullopt};
    const Model::Place before = AnyPlace();
    const Model::Place after = AnyPlace();
    const bool hasBefore = Any(4) == 0;
    const bool hasAfter = Any(4) == 0;
    const Variant key = entry.key ? Variant(TextView(*entry.key)) : Variant(Missing());
    const HRESULT status = Add(OfLong(value).Get(), key.Get(),
                               (hasBefore ? ValueOf(before) : Variant(Missing())).Get(),
                               (hasAfter ? ValueOf(after) : Variant(Missing())).Get());
    ExpectOutcome(
        model_.Add(std::move(entry), hasBefore ? &before : nullptr, hasAfter ? &after : nullptr),
        status);
  }

  void RemoveOne() {
    const Model::Place place = AnyPlace();
    const HRESULT status = Collection().Remove(ValueOf(place).Get());
    ExpectOutcome(model_.Remove(place), status);
  }

  void ReadOne() {
    const Model::Place place = AnyPlace();
    Variant entry;
    const HRESULT status = Collection().get_Item(ValueOf(place).Get(), entry.Receive());
    std::size_t index = 0;
    const unsigned error = model_.Find(place, index);
    ExpectOutcome(error, status);
    if (error != 0) return;
    EXPECT_EQ(model_.Entries()[index].value, entry.Get().lVal);
  }

  void ExpectAll() const {
    ASSERT_EQ(model_.Count(), Count());
    ComPtr<IUnknown> unknown;
    ASSERT_EQ(S_OK, Collection().get__NewEnum(unknown.Receive()));
    const auto enumerator = unknown.As<IEnumVARIANT>();
    for (const ModelEntry& expected : model_.Entries()) {
      VARIANT entry;
      ASSERT_EQ(S_OK, enumerator->Next(1, &entry, nullptr));
      EXPECT_EQ(expected.value, entry.lVal);
      if (!expected.key) continue;
      Variant byKey;
      EXPECT_EQ(S_OK,
                Collection().get_Item(Variant(TextView(*expected.key)).Get(), byKey.Receive()));
      EXPECT_EQ(expected.value, byKey.Get().lVal);
    }
  }

 private:
  static void ExpectOutcome(unsigned error, HRESULT status) {
    EXPECT_EQ(error == 0 ? S_OK : ErrorStatus(error), status);
  }

  std::mt19937 random_{20240229};
  Model model_;
};

TEST_F(CollectionModelTest, AgreesWithTheModelWhateverIsDone) {
  for (long step = 0; step < 20000 && !HasFailure(); ++step) {
    switch (Any(8)) {
      case 0:
      case 1:
      case 2:
        AddOne(step);
        break;
      case 3:
      case 4:
        RemoveOne();
        break;
      default:
        ReadOne();
    }
    if (step % 50 == 0) ExpectAll();
  }
  ExpectAll();
}

}  // namespace
}  // namespace brindlex::testing
