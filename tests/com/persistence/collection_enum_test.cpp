// For Each over clsCollection: IEnumVARIANT by its rules, and while the collection changes.

#include <array>

#include "tests/com/objects/late_call.h"
#include "tests/com/objects/probe_object.h"
#include "tests/com/support/collection_fixture.h"

namespace brindlex::testing {
namespace {

class EnumTest : public CollectionTest {
 protected:
  ComPtr<IEnumVARIANT> NewEnumerator() const {
    ComPtr<IUnknown> unknown;
    EXPECT_EQ(S_OK, Collection().get__NewEnum(unknown.Receive()));
    return unknown.As<IEnumVARIANT>();
  }

  /// What one call for `wanted` entries yields, such as "[text a, text b] false": false when there
  /// were fewer.
  static std::u16string Next(IEnumVARIANT& enumerator, ULONG wanted) {
    std::array<VARIANT, 8> entries;
    for (VARIANT& entry : entries) entry.vt = 77;
    ULONG fetched = 4711;
    const HRESULT status = enumerator.Next(wanted, entries.data(), &fetched);
    EXPECT_EQ(fetched == wanted ? S_OK : S_FALSE, status);
    std::u16string shown(u"[");
    for (ULONG index = 0; index < fetched; ++index) {
      shown.append(index == 0 ? u"" : u", ").append(Shown(entries[index]));
      VariantClear(&entries[index]);
    }
    shown.append(u"]");
    if (status == S_FALSE) shown.append(u" at the end");
    return shown;
  }
};

TEST_F(EnumTest, YieldsTheEntriesInOrder) {
  AddKeyed({u"a", u"b", u"c"});
  const auto enumerator = NewEnumerator();
  EXPECT_EQ(u"[text a]", Next(*enumerator.Get(), 1));
  EXPECT_EQ(u"[text b]", Next(*enumerator.Get(), 1));
  EXPECT_EQ(u"[text c]", Next(*enumerator.Get(), 1));
  EXPECT_EQ(u"[] at the end", Next(*enumerator.Get(), 1));
  EXPECT_EQ(u"[] at the end", Next(*enumerator.Get(), 1));
}

TEST_F(EnumTest, YieldsNothingOfAnEmptyCollection) {
  EXPECT_EQ(u"[] at the end", Next(*NewEnumerator().Get(), 1));
}

TEST_F(EnumTest, YieldsSeveralAtATime) {
  AddKeyed({u"a", u"b", u"c"});
  EXPECT_EQ(u"[text a, text b, text c]", Next(*NewEnumerator().Get(), 3));
  EXPECT_EQ(u"[text a, text b, text c] at the end", Next(*NewEnumerator().Get(), 4));
  const auto enumerator = NewEnumerator();
  EXPECT_EQ(u"[text a, text b]", Next(*enumerator.Get(), 2));
  EXPECT_EQ(u"[]", Next(*enumerator.Get(), 0));
  EXPECT_EQ(u"[text c] at the end", Next(*enumerator.Get(), 2));
}

TEST_F(EnumTest, TheCountFetchedMayBeLeftOutForOneOnly) {
  AddKeyed({u"a", u"b"});
  const auto enumerator = NewEnumerator();
  VARIANT entries[2];
  EXPECT_EQ(E_POINTER, enumerator->Next(2, entries, nullptr));
  EXPECT_EQ(S_OK, enumerator->Next(1, entries, nullptr));
  EXPECT_EQ(u"text a", Shown(entries[0]));
  VariantClear(&entries[0]);
  EXPECT_EQ(S_OK, enumerator->Next(1, entries, nullptr));
  EXPECT_EQ(u"text b", Shown(entries[0]));
  VariantClear(&entries[0]);
  EXPECT_EQ(S_FALSE, enumerator->Next(1, entries, nullptr));
}

TEST_F(EnumTest, NeedsPlacesForItsResults) {
  AddKeyed({u"a"});
  const auto enumerator = NewEnumerator();
  ULONG fetched = 4711;
  EXPECT_EQ(E_POINTER, enumerator->Next(1, nullptr, &fetched));
  EXPECT_EQ(0U, fetched);
  EXPECT_EQ(E_POINTER, enumerator->Clone(nullptr));
  EXPECT_EQ(E_POINTER, enumerator->QueryInterface(IID_IUnknown, nullptr));
  EXPECT_EQ(u"[text a]", Next(*enumerator.Get(), 1));
}

TEST_F(EnumTest, Skips) {
  AddKeyed({u"a", u"b", u"c"});
  const auto enumerator = NewEnumerator();
  EXPECT_EQ(S_OK, enumerator->Skip(0));
  EXPECT_EQ(S_OK, enumerator->Skip(1));
  EXPECT_EQ(u"[text b]", Next(*enumerator.Get(), 1));
  EXPECT_EQ(S_OK, enumerator->Skip(1));
  EXPECT_EQ(S_FALSE, enumerator->Skip(1));
  EXPECT_EQ(S_OK, enumerator->Skip(0));
  EXPECT_EQ(u"[] at the end", Next(*enumerator.Get(), 1));

  EXPECT_EQ(S_OK, enumerator->Reset());
  EXPECT_EQ(S_FALSE, enumerator->Skip(0xFFFFFFFF));
  EXPECT_EQ(u"[] at the end", Next(*enumerator.Get(), 1));
}

TEST_F(EnumTest, StartsAnewAfterReset) {
  AddKeyed({u"a", u"b"});
  const auto enumerator = NewEnumerator();
  EXPECT_EQ(u"[text a, text b] at the end", Next(*enumerator.Get(), 3));
  EXPECT_EQ(S_OK, enumerator->Reset());
  EXPECT_EQ(u"[text a]", Next(*enumerator.Get(), 1));
}

TEST_F(EnumTest, AClonesWalkIsItsOwn) {
  AddKeyed({u"a", u"b", u"c"});
  const auto enumerator = NewEnumerator();
  EXPECT_EQ(u"[text a]", Next(*enumerator.Get(), 1));
  ComPtr<IEnumVARIANT> clone;
  ASSERT_EQ(S_OK, enumerator->Clone(clone.Receive()));
  EXPECT_EQ(u"[text b]", Next(*enumerator.Get(), 1));
  EXPECT_EQ(u"[text b, text c]", Next(*clone.Get(), 2));
  EXPECT_EQ(u"[text c]", Next(*enumerator.Get(), 1));
}

TEST_F(EnumTest, SeveralWalksDoNotDisturbEachOther) {
  AddKeyed({u"a", u"b"});
  const auto first = NewEnumerator();
  EXPECT_EQ(u"[text a]", Next(*first.Get(), 1));
  const auto second = NewEnumerator();
  EXPECT_NE(first.Get(), second.Get());
  EXPECT_EQ(u"[text a, text b]", Next(*second.Get(), 2));
  EXPECT_EQ(u"[text b]", Next(*first.Get(), 1));
}

TEST_F(EnumTest, IsOneObjectWithoutOtherInterfaces) {
  const auto enumerator = NewEnumerator();
  EXPECT_EQ(enumerator.Get(), enumerator.As<IUnknown>().As<IEnumVARIANT>().Get());
  void* other = this;
  EXPECT_EQ(E_NOINTERFACE, enumerator->QueryInterface(IID_IDispatch, &other));
  EXPECT_EQ(nullptr, other);
}

TEST_F(EnumTest, YieldsCopiesWithReferencesOfTheirOwn) {
  const auto object = ProbeObject::New();
  EXPECT_EQ(S_OK, Add(Variant::OfObject(object.Get()).Get()));
  const auto enumerator = NewEnumerator();
  VARIANT entry;
  ASSERT_EQ(S_OK, enumerator->Next(1, &entry, nullptr));
  EXPECT_EQ(3U, object->References());
  VariantClear(&entry);
  EXPECT_EQ(2U, object->References());
}

TEST_F(EnumTest, KeepsTheCollectionAlive) {
  AddKeyed({u"a", u"b"});
  const auto enumerator = NewEnumerator();
  Let();
  EXPECT_EQ(u"[text a, text b] at the end", Next(*enumerator.Get(), 3));
}

TEST_F(EnumTest, SeesWhatIsAddedAtTheEnd) {
  AddKeyed({u"a"});
  const auto enumerator = NewEnumerator();
  EXPECT_EQ(u"[text a]", Next(*enumerator.Get(), 1));
  EXPECT_EQ(u"[] at the end", Next(*enumerator.Get(), 1));
  AddKeyed({u"b"});
  EXPECT_EQ(u"[text b]", Next(*enumerator.Get(), 1));
}

TEST_F(EnumTest, EndsWhenTheEntriesAreGone) {
  AddKeyed({u"a", u"b", u"c"});
  const auto enumerator = NewEnumerator();
  EXPECT_EQ(u"[text a, text b]", Next(*enumerator.Get(), 2));
  while (Count() > 0) EXPECT_EQ(S_OK, Collection().Remove(OfLong(1).Get()));
  EXPECT_EQ(S_OK, enumerator->Skip(0));
  EXPECT_EQ(S_FALSE, enumerator->Skip(1));
  EXPECT_EQ(u"[] at the end", Next(*enumerator.Get(), 1));
  ComPtr<IEnumVARIANT> clone;
  ASSERT_EQ(S_OK, enumerator->Clone(clone.Receive()));
  EXPECT_EQ(u"[] at the end", Next(*clone.Get(), 1));
}

TEST_F(EnumTest, EveryEntryMayBeRemovedInItsTurn) {
  AddKeyed({u"a", u"b", u"c", u"d"});
  const auto enumerator = NewEnumerator();
  int turns = 0;
  for (VARIANT entry; enumerator->Next(1, &entry, nullptr) == S_OK; ++turns) {
    EXPECT_EQ(S_OK, Collection().Remove(entry));
    VariantClear(&entry);
  }
  // Each removal moves the rest up by one, past the enumerator.
  EXPECT_EQ(2, turns);
  EXPECT_EQ(u"[text b, text d]", Entries());
}

TEST_F(EnumTest, IsAskedForByEitherFlag) {
  AddKeyed({u"a"});
  for (const int flags :
       {DISPATCH_METHOD, DISPATCH_PROPERTYGET, DISPATCH_METHOD | DISPATCH_PROPERTYGET}) {
    LateCall call(Collection(), DISPID{DISPID_NEWENUM});
    EXPECT_EQ(S_OK, call.By(static_cast<WORD>(flags)).Run());
    ASSERT_EQ(VT_UNKNOWN, call.Result().vt);
    const auto enumerator = ComPtr<IUnknown>(call.Result().punkVal).As<IEnumVARIANT>();
    ASSERT_TRUE(enumerator);
    EXPECT_EQ(u"[text a]", Next(*enumerator.Get(), 1));
  }
}

TEST_F(EnumTest, ACollectionHandedOutIsWalkedLikeAnyOther) {
  const auto record = Dll().New<_clsTextData, ::clsTextData>();
  ComPtr<_clsCollection> names;
  ASSERT_EQ(S_OK, record->GetMemberNames(names.Receive()));
  ComPtr<IUnknown> unknown;
  ASSERT_EQ(S_OK, names->get__NewEnum(unknown.Receive()));
  EXPECT_EQ(u"[text DataString, text Name] at the end", Next(*unknown.As<IEnumVARIANT>().Get(), 3));
}

}  // namespace
}  // namespace brindlex::testing
