// clsCollection by position and key: adding, reading, removing, and what it refuses.

#include "automation/runtime_error.h"
#include "tests/com/objects/late_call.h"
#include "tests/com/objects/probe_object.h"
#include "tests/com/support/collection_fixture.h"
#include "tests/com/support/malloc_spy.h"

namespace brindlex::testing {
namespace {

TEST_F(CollectionTest, IsEmptyAtFirst) {
  EXPECT_EQ(0, Count());
  ExpectError(9, Ask(OfLong(1).Get()));
}

TEST_F(CollectionTest, CountsPositionsFromOne) {
  AddKeyed({u"a", u"b", u"c"});
  EXPECT_EQ(3, Count());
  EXPECT_EQ(u"text a", Entry(OfLong(1).Get()));
  EXPECT_EQ(u"text c", Entry(OfLong(3).Get()));
  for (const long position : {0L, 4L, -1L, 0x7FFFFFFFL, -0x7FFFFFFFL - 1}) {
    ExpectError(9, Ask(OfLong(position).Get()));
    ExpectError(9, Collection().Remove(OfLong(position).Get()));
  }
  EXPECT_EQ(3, Count());
}

TEST_F(CollectionTest, FindsKeysInAnyLetterCase) {
  const std::pair<TextView, TextView> keys[] = {
      {u"Name", u"nAME"},
      {u"\u00E4\u00F6\u00FC", u"\u00C4\u00D6\u00DC"},
      {u"\u0436\u0443\u043A", u"\u0416\u0423\u041A"},
      {u"\u03C3\u03C2", u"\u03A3\u03A3"},
  };
  for (const auto& [key, other] : keys) {
    EXPECT_EQ(S_OK, Add(Variant(key).Get(), Variant(key).Get()));
    EXPECT_EQ(std::u16string(u"text ").append(key), Entry(Variant(other).Get()));
    ExpectError(457, Add(Variant(u"again").Get(), Variant(other).Get()));
  }
}

TEST_F(CollectionTest, KeysAreTextsOfAnyUnits) {
  const std::u16string withNull(u"a\0b", 3);
  const std::u16string loneSurrogate(1, u'\xD800');
  for (const std::u16string& key : {withNull, loneSurrogate, std::u16string(u"a"), std::u16string(),
                                    std::u16string(5000, u'x')}) {
    EXPECT_EQ(S_OK, Add(OfLong(static_cast<long>(key.size())).Get(), Variant(key).Get()));
    ExpectError(457, Add(OfLong(0).Get(), Variant(key).Get()));
  }
  EXPECT_EQ(u"long 3", Entry(Variant(withNull).Get()));
  EXPECT_EQ(u"long 1", Entry(Variant(u"a").Get()));
  EXPECT_EQ(u"long 0", Entry(Variant(u"").Get()));
  EXPECT_EQ(5, Count());
}

TEST_F(CollectionTest, AnAbsentKeyIsAnInvalidCall) {
  AddKeyed({u"a"});
  const Variant absent(u"b");
  ExpectError(5, Ask(absent.Get()));
  ExpectError(5, Collection().Remove(absent.Get()));
  ExpectError(5, Add(OfLong(1).Get(), Missing(), absent.Get()));
  ExpectError(5, Add(OfLong(1).Get(), Missing(), Missing(), absent.Get()));
  EXPECT_EQ(u"[text a]", Entries());
}

TEST_F(CollectionTest, AKeyIsFreeAgainOnceItsEntryIsRemoved) {
  AddKeyed({u"a", u"b"});
  EXPECT_EQ(S_OK, Collection().Remove(Variant(u"A").Get()));
  ExpectError(5, Ask(Variant(u"a").Get()));
  EXPECT_EQ(u"[text b]", Entries());
  EXPECT_EQ(S_OK, Add(OfLong(1).Get(), Variant(u"a").Get()));
  EXPECT_EQ(u"[text b, long 1]", Entries());
}

TEST_F(CollectionTest, KeysStayWithTheirEntriesWhenPositionsMove) {
  AddKeyed({u"a", u"b", u"c"});
  EXPECT_EQ(S_OK, Collection().Remove(OfLong(1).Get()));
  EXPECT_EQ(S_OK, Add(OfLong(7).Get(), Variant(u"new").Get(), OfLong(1).Get()));
  EXPECT_EQ(u"[long 7, text b, text c]", Entries());
  EXPECT_EQ(u"text c", Entry(Variant(u"c").Get()));
  EXPECT_EQ(u"long 7", Entry(Variant(u"new").Get()));
}

TEST_F(CollectionTest, NeedsPlacesForItsResults) {
  EXPECT_EQ(E_POINTER, Collection().get_Item(OfLong(1).Get(), nullptr));
  EXPECT_EQ(E_POINTER, Collection().get_Count(nullptr));
  EXPECT_EQ(E_POINTER, Collection().get__NewEnum(nullptr));
}

TEST_F(CollectionTest, ItemIsTheDefaultMember) {
  AddKeyed({u"a"});
  const Variant key(u"A");
  for (const int flags : {DISPATCH_METHOD, DISPATCH_PROPERTYGET}) {
    LateCall call(Collection(), DISPID{DISPID_VALUE});
    EXPECT_EQ(S_OK, call.By(static_cast<WORD>(flags)).With(key.Get()).Run());
    EXPECT_EQ(u"text a", Shown(call.Result()));
  }
}

TEST_F(CollectionTest, FailuresReachLateBoundHostsToo) {
  AddKeyed({u"a"});
  const std::tuple<DISPID, Variant, unsigned> rows[] = {
      {DISPID_VALUE, Variant(u"absent"), 5}, {DISPID_VALUE, OfLong(2), 9}, {3, OfLong(0), 9}};
  for (const auto& [member, index, number] : rows) {
    LateCall call(Collection(), member);
    EXPECT_EQ(DISP_E_EXCEPTION, call.With(index.Get()).Run());
    EXPECT_EQ(ErrorStatus(number), call.Exception().scode);
    EXPECT_EQ(StandardDescription(static_cast<std::int32_t>(number)), call.Description());
  }
  const Variant key(u"A");
  LateCall add(Collection(), L"Add");
  EXPECT_EQ(DISP_E_EXCEPTION, add.With(OfLong(1).Get()).With(key.Get()).Run());
  EXPECT_EQ(ErrorStatus(457), add.Exception().scode);
}

// ---- Before and After --------------------------------------------------------------------------

/// Where a new entry lands in [a, b, c]; an error number and no place otherwise.
struct Placing {
  const char* title;
  Variant (*before)();
  Variant (*after)();
  TextView entries;
  unsigned error;
};

Variant None() { return Variant(Missing()); }
Variant Empty() { return {}; }
template <long kPosition>
Variant At() {
  return OfLong(kPosition);
}
Variant KeyA() { return Variant(u"A"); }
Variant KeyC() { return Variant(u"C"); }
Variant KeyNo() { return Variant(u"no"); }
Variant Null() {
  Variant null;
  null.Get().vt = VT_NULL;
  return null;
}

const Placing kPlacings[] = {
    {"AtTheEnd", None, None, u"[text a, text b, text c, long 7]", 0},
    {"BothUndefined", Empty, Empty, u"[text a, text b, text c, long 7]", 0},
    {"BeforeTheFirst", At<1>, None, u"[long 7, text a, text b, text c]", 0},
    {"BeforeTheLast", At<3>, None, u"[text a, text b, long 7, text c]", 0},
    {"BeforeTheEnd", At<4>, None, u"", 9},
    {"BeforeTheStart", At<0>, None, u"", 9},
    {"BeforeAKey", KeyC, None, u"[text a, text b, long 7, text c]", 0},
    {"BeforeNoKey", KeyNo, None, u"", 5},
    {"BeforeUndefinedAfterAKey", Empty, KeyA, u"[text a, long 7, text b, text c]", 0},
    {"AfterTheFirst", None, At<1>, u"[text a, long 7, text b, text c]", 0},
    {"AfterTheLast", None, At<3>, u"[text a, text b, text c, long 7]", 0},
    {"AfterTheEnd", None, At<4>, u"", 9},
    {"AfterTheStart", None, At<0>, u"", 9},
    {"AfterAKey", None, KeyA, u"[text a, long 7, text b, text c]", 0},
    {"AfterNoKey", None, KeyNo, u"", 5},
    {"Both", At<1>, At<1>, u"", 5},
    {"BothByKey", KeyA, KeyC, u"", 5},
    {"BeforeNull", Null, None, u"", 94},
};

class PlacingTest : public CollectionTest, public ::testing::WithParamInterface<Placing> {};

TEST_P(PlacingTest, PutsTheEntryThereOrNowhere) {
  AddKeyed({u"a", u"b", u"c"});
  const Placing& row = GetParam();
  const HRESULT status =
      Add(OfLong(7).Get(), Variant(u"new").Get(), row.before().Get(), row.after().Get());
  if (row.error == 0) {
    EXPECT_EQ(S_OK, status);
    EXPECT_EQ(row.entries, Entries());
    EXPECT_EQ(u"long 7", Entry(Variant(u"new").Get()));
  } else {
    ExpectError(row.error, status);
    EXPECT_EQ(u"[text a, text b, text c]", Entries());
    ExpectError(5, Ask(Variant(u"new").Get()));
  }
}

INSTANTIATE_TEST_SUITE_P(Places, PlacingTest, ::testing::ValuesIn(kPlacings),
                         [](const auto& info) { return info.param.title; });

// ---- Kinds of keys -----------------------------------------------------------------------------

TEST_F(CollectionTest, OnlyATextIsAKey) {
  VARIANT number = OfLong(1).Get();
  ExpectError(13, Add(OfLong(1).Get(), number));
  ExpectError(13, Add(OfLong(1).Get(), Null().Get()));
  VARIANT error;
  error.vt = VT_ERROR;
  error.scode = E_FAIL;
  ExpectError(13, Add(OfLong(1).Get(), error));
  EXPECT_EQ(0, Count());
}

TEST_F(CollectionTest, AKeyMayBeAVariable) {
  const Variant key(u"a");
  VARIANT holder;
  EXPECT_EQ(S_OK, Add(OfLong(1).Get(), TypedReference(key)));
  EXPECT_EQ(u"long 1", Entry(TypedReference(key)));
  EXPECT_EQ(u"long 1", Entry(VariableReference(key)));
  EXPECT_EQ(u"long 1", Entry(NestedReference(key, holder)));
  ExpectError(457, Add(OfLong(1).Get(), VariableReference(key)));
}

TEST_F(CollectionTest, AnUndefinedVariableIsNoKey) {
  const Variant empty;
  const Variant missing(Missing());
  for (int time = 0; time < 2; ++time) {
    EXPECT_EQ(S_OK, Add(OfLong(1).Get(), empty.Get()));
    EXPECT_EQ(S_OK, Add(OfLong(2).Get(), VariableReference(empty), VariableReference(empty)));
    EXPECT_EQ(S_OK, Add(OfLong(3).Get(), VariableReference(missing), VariableReference(missing)));
  }
  EXPECT_EQ(6, Count());
}

// ---- Memory ------------------------------------------------------------------------------------

TEST_F(CollectionTest, AFailingAllocationIsErrorSeven) {
  auto& memory = MallocSpy::Instance();
  AddKeyed({u"a", u"b"});
  const Variant text(u"c");
  Variant entry;
  memory.FailAfter(0);
  const HRESULT added = Add(text.Get());
  EXPECT_TRUE(memory.StopFailing());
  ExpectError(7, added);
  memory.FailAfter(0);
  const HRESULT read = Collection().get_Item(OfLong(1).Get(), entry.Receive());
  EXPECT_TRUE(memory.StopFailing());
  ExpectError(7, read);
  EXPECT_EQ(VT_EMPTY, entry.Get().vt);
  EXPECT_EQ(u"[text a, text b]", Entries());
}

TEST_F(CollectionTest, WithoutAnyMemoryTheStatusRemains) {
  const Variant text(u"a");
  MallocSpy::Instance().FailAfter(0, true);
  const HRESULT added = Add(text.Get());
  EXPECT_TRUE(MallocSpy::Instance().StopFailing());
  EXPECT_EQ(ErrorStatus(7), added);
  EXPECT_EQ(0, Count());
}

TEST_F(CollectionTest, AWalkThatCannotCopyAnEntryStaysWhereItIs) {
  AddKeyed({u"a", u"b"});
  ComPtr<IUnknown> unknown;
  ASSERT_EQ(S_OK, Collection().get__NewEnum(unknown.Receive()));
  const auto enumerator = unknown.As<IEnumVARIANT>();
  VARIANT entries[2];
  ULONG fetched = 4711;
  MallocSpy::Instance().FailAfter(1);
  EXPECT_EQ(E_OUTOFMEMORY, enumerator->Next(2, entries, &fetched));
  EXPECT_TRUE(MallocSpy::Instance().StopFailing());
  EXPECT_EQ(0U, fetched);
  EXPECT_EQ(VT_EMPTY, entries[0].vt);
  EXPECT_EQ(VT_EMPTY, entries[1].vt);
  ASSERT_EQ(S_OK, enumerator->Next(1, entries, nullptr));
  EXPECT_EQ(u"text a", Shown(entries[0]));
  VariantClear(&entries[0]);
}

// ---- Entries that use the collection -----------------------------------------------------------

TEST_F(CollectionTest, ARemovedEntryMayUseTheCollection) {
  std::u16string seen;
  auto entry = ProbeObject::New([&] {
    seen = Entries();
    EXPECT_EQ(S_OK, Collection().Remove(OfLong(1).Get()));
    EXPECT_EQ(S_OK, Add(OfLong(7).Get(), Variant(u"K").Get()));
  });
  AddKeyed({u"a"});
  EXPECT_EQ(S_OK, Add(Variant::OfObject(entry.Get()).Get(), Variant(u"k").Get()));
  AddKeyed({u"b"});
  entry = nullptr;
  EXPECT_EQ(S_OK, Collection().Remove(Variant(u"k").Get()));
  EXPECT_EQ(u"[text a, text b]", seen);
  EXPECT_EQ(u"[text b, long 7]", Entries());
  EXPECT_EQ(u"long 7", Entry(Variant(u"k").Get()));
}

TEST_F(CollectionTest, ARemovedEntryMayLetGoOfTheCollection) {
  auto* const borrowed = &Collection();
  ASSERT_EQ(S_OK, Add(Variant::OfObject(ProbeObject::New([&] { Let(); }).Get()).Get()));
  EXPECT_EQ(S_OK, borrowed->Remove(OfLong(1).Get()));
}

TEST_F(CollectionTest, AnEntryMayUseTheCollectionThatEndsWithIt) {
  auto* const borrowed = &Collection();
  long count = -1;
  bool ended = false;
  const auto useAtTheEnd = [&] {
    ended = true;
    EXPECT_EQ(S_OK, borrowed->get_Count(&count));
    EXPECT_EQ(S_OK,
              borrowed->Add(Variant(u"late").Get(), Variant(u"k").Get(), Missing(), Missing()));
  };
  ASSERT_EQ(S_OK,
            Add(Variant::OfObject(ProbeObject::New(useAtTheEnd).Get()).Get(), Variant(u"k").Get()));
  AddKeyed({u"a"});
  Let();
  EXPECT_TRUE(ended);
  EXPECT_EQ(0, count);
}

}  // namespace
}  // namespace brindlex::testing
