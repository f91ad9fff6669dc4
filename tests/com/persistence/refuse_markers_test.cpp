// Saves that refuse values with markers, through the DLL, with the host's own records.

#include "tests/com/objects/late_call.h"
#include "tests/com/persistence/save_restore_test.h"

namespace brindlex::testing {
namespace {

class RefuseMarkersTest : public SaveRestoreTest {
 protected:
  void Refuse(VARIANT_BOOL refuse) {
    EXPECT_EQ(S_OK, Operations().put_RefuseMarkers(refuse));
    VARIANT_BOOL now = 1;
    EXPECT_EQ(S_OK, Operations().get_RefuseMarkers(&now));
    EXPECT_EQ(refuse == VARIANT_FALSE ? VARIANT_FALSE : VARIANT_TRUE, now);
  }
};

TEST_F(RefuseMarkersTest, IsOffAtFirstAndWritesValuesAsTheyAre) {
  VARIANT_BOOL now = 1;
  EXPECT_EQ(S_OK, Operations().get_RefuseMarkers(&now));
  EXPECT_EQ(VARIANT_FALSE, now);
  const auto record = NewTitle(u"a\u00A5b", u"1");
  EXPECT_EQ(u"Title\u00A5Count\u00A5\u0152a\u00A5b\u00A51\u00A5\u0152", SaveObject(record.Get()));
  EXPECT_EQ(E_POINTER, Operations().get_RefuseMarkers(nullptr));
}

TEST_F(RefuseMarkersTest, TheReportNamesTheMember) {
  Refuse(VARIANT_TRUE);
  const auto good = NewTitle(u"a", u"1");
  const auto bad = NewTitle(u"b", u"2\u0152");
  const auto objects = Collected({good.Get(), bad.Get()});
  EXPECT_EQ(u"", Save(objects.Get()));
  ExpectShown({Dfc({0, u"Value contains the record end marker, record number 2"}, u"Count")});
  // By the markers that are in force, another text.
  EXPECT_EQ(u"Title,Count,;a,1,;b,2\u0152,;",
            Save(objects.Get(), {.recordEnd = Variant::OfText(u";"),
                                 .fieldEnd = Variant::OfText(u","),
                                 .key = Omitted()}));
  Refuse(VARIANT_FALSE);
  EXPECT_NE(u"", Save(objects.Get()));
  Refuse(1);
  EXPECT_EQ(u"", Save(objects.Get()));
  ExpectShown({Dfc({0, u"Value contains the record end marker, record number 2"}, u"Count")});
}

TEST_F(RefuseMarkersTest, AnInnerValueMayHoldNoMarkerOfEitherLayer) {
  Refuse(VARIANT_TRUE);
  SetMultiData(MultiDataCol(Collected({NewTitle(u"kept", u"1").Get()}).Get(), u"Items"));
  for (const char16_t marker : {u'\u00A5', u'\u0152', u'\u00BB', u'\u0160'}) {
    const auto record = NewTitle(Units(u"x") + marker, u"1");
    EXPECT_EQ(u"", MultiDataCol(Collected({record.Get()}).Get(), u"Items"));
    const auto shown = Shown();
    ASSERT_EQ(1U, shown.size());
    EXPECT_EQ(u"Error DFC", shown[0].caption);
    EXPECT_TRUE(shown[0].text.ends_with(u" Number: 0 Line: 0 Member Name: Title"));
  }
  EXPECT_EQ((std::vector<Units>{u"kept=1"}), Titles(WorkingCol(u"Items", NewTitleCreator().Get())));
}

TEST_F(RefuseMarkersTest, NumbersAndDatesAreLookedAtAsText) {
  Refuse(VARIANT_TRUE);
  const auto record = NewRecord({{u"Price", u""}});
  record->operator[](u"Price").value = Of(VT_I4, 12);
  EXPECT_EQ(u"", Save(Collected({record.Get()}).Get(), {.recordEnd = Variant::OfText(u";"),
                                                        .fieldEnd = Variant::OfText(u"2"),
                                                        .key = Omitted()}));
  ExpectShown({Dfc({0, u"Value contains the field end marker, record number 1"}, u"Price")});
}

TEST_F(RefuseMarkersTest, IsAPropertyOfEveryLateCaller) {
  const Variant word = Variant::OfText(u"True");
  EXPECT_EQ(S_OK, LateCall(Operations(), L"RefuseMarkers").Put(word.Get()));
  LateCall get(Operations(), L"refusemarkers");
  EXPECT_EQ(S_OK, get.By(DISPATCH_PROPERTYGET).Run());
  EXPECT_EQ(VT_BOOL, get.Result().vt);
  EXPECT_EQ(VARIANT_TRUE, get.Result().boolVal);
}

}  // namespace
}  // namespace brindlex::testing
