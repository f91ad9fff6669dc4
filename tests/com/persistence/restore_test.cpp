// Text as collections of the host's own records.

#include "tests/com/persistence/save_restore_test.h"

namespace brindlex::testing {
namespace {

class RestoreTest : public SaveRestoreTest {
 protected:
  using List = std::vector<Units>;

  /// Restores with "|" as field end and "/" as record end, for texts that can be read.
  ComPtr<_clsCollection> RestorePlain(View text, View key = {}) {
    return Restore(text, creator_.Get(),
                   {Variant::OfText(u"/"), Variant::OfText(u"|"), Variant::OfText(key)});
  }

  /// The records of the text; empty, and no collection either, when it has none.
  List Restored(View text) {
    const auto restored = RestorePlain(text);
    return restored ? Titles(restored) : List();
  }

  void ExpectNone(View text) {
    EXPECT_EQ(-1, CountOf(RestorePlain(text))) << ::testing::PrintToString(Units(text));
    ExpectShown({});
  }

  void ExpectFailure(View text, const std::vector<Report>& reports, View key = {}) {
    EXPECT_FALSE(RestorePlain(text, key)) << ::testing::PrintToString(Units(text));
    ExpectShown(reports);
  }

  static ShownError Mismatch(int record) {
    const std::string number = std::to_string(record);
    return {0, u"Fields in record don't match field list, record number " +
                   Units(number.begin(), number.end())};
  }

  void SetUp() override {
    SaveRestoreTest::SetUp();
    creator_ = NewTitleCreator();
  }
  void TearDown() override {
    creator_ = nullptr;
    SaveRestoreTest::TearDown();
  }

  ComPtr<ScriptedObject> creator_;
};

TEST_F(RestoreTest, MakesOneRecordForEachInTheOrderOfTheText) {
  EXPECT_EQ((List{u"Alpha=3", u"Beta=12"}), Restored(u"Title|Count|/Alpha|3|/Beta|12|/"));
}

TEST_F(RestoreTest, TextWithoutRecordsIsNoCollectionAndNoReport) {
  EXPECT_FALSE(Restore(u"", nullptr));
  ExpectNone(u"");
  ExpectNone(u"Title|Count|/");
  ExpectNone(u"Title|Count|/\r\n");
  ExpectNone(u"TitleCount/Alpha/");
  ExpectNone(u"/Alpha|/");
  ExpectNone(u"/");
}

TEST_F(RestoreTest, TextWithoutARecordEndFailsInTheSplit) {
  ExpectFailure(u"Title|Count|", {SplitReport(InvalidCall()), Adtc(OutOfRange(4))});
  ExpectFailure(u"x", {SplitReport(InvalidCall()), Adtc(OutOfRange(4))});
}

TEST_F(RestoreTest, ARecordWithoutAFieldEndFailsInTheSplit) {
  ExpectFailure(u"Title|Count|/Alpha/", {SplitReport(InvalidCall()), Adtc(OutOfRange(6))});
  ExpectFailure(u"Title|Count|/Alpha|3|//", {SplitReport(InvalidCall()), Adtc(OutOfRange(6))});
}

TEST_F(RestoreTest, ARecordWithAnotherFieldCountIsRejected) {
  ExpectFailure(u"Title|Count|/Alpha|/", {Adtc(Mismatch(1))});
  ExpectFailure(u"Title|Count|/Alpha|3|/Beta|1|2|/", {Adtc(Mismatch(2))});
  ExpectFailure(u"Title|Count|/Al|pha|3|/", {Adtc(Mismatch(1))});
}

TEST_F(RestoreTest, EveryTruncationKeepsTheWholeRecordsThatAreLeft) {
  const View whole = u"A|B|/x|1|/y|2|/z|3|/";
  creator_ = NewCreator([] { return NewRecord({{u"A", {}}, {u"B", {}}}).As<IDispatch>(); });
  for (std::size_t length = 0; length <= whole.size(); ++length) {
    const View text = whole.substr(0, length);
    const long records = static_cast<long>(std::count(text.begin(), text.end(), u'/')) - 1;
    EXPECT_EQ(records < 1 ? -1 : records, CountOf(RestorePlain(text))) << "length " << length;
    const bool isSplitFailure = length > 0 && records < 0;
    ExpectShown(isSplitFailure ? std::vector{SplitReport(InvalidCall()), Adtc(OutOfRange(4))}
                               : std::vector<Report>());
  }
}

TEST_F(RestoreTest, LineBreaksBehindRecordEndsAreDropped) {
  const List both = {u"Alpha=3", u"Beta=12"};
  for (const View lineBreaks : {u"\r\n", u"\r\n\r\n", u"\r\n\r\n\r\n"}) {
    const Units end = Units(u"/").append(lineBreaks);
    Units text;
    for (const View record : {u"Title|Count|", u"Alpha|3|", u"Beta|12|"}) {
      text.append(record).append(end);
    }
    EXPECT_EQ(both, Restored(text));
  }
  EXPECT_EQ((List{u"Alpha=3", u"\r\nBeta=12"}),
            Restored(u"Title|Count|/Alpha|3|/\r\n\r\n\r\n\r\nBeta|12|/"));
  EXPECT_EQ(List{u"Al\r\npha=\r\n"}, Restored(u"Title|Count|/Al\r\npha|\r\n|/"));
}

TEST_F(RestoreTest, HeaderNamesFindTheirPropertiesInAnyLetterCase) {
  EXPECT_EQ(List{u"Alpha=3"}, Restored(u"cOUNT|TITLE|/3|Alpha|/"));
}

TEST_F(RestoreTest, ColumnsThatTheClassDoesNotHaveAreIgnored) {
  EXPECT_EQ(List{u"Alpha=3"}, Restored(u"Colour|Title||Count|/red|Alpha|blank|3|/"));
  ExpectFailure(u"Colour|Title|Count|/Alpha|3|/", {Adtc(Mismatch(1))});
}

TEST_F(RestoreTest, PropertiesThatTheHeaderLacksKeepTheirDefaults) {
  creator_ = NewCreator([] { return NewTitle(u"untitled", u"99").As<IDispatch>(); });
  EXPECT_EQ(List{u"Alpha=99"}, Restored(u"Title|/Alpha|/"));
  EXPECT_EQ(List{u"untitled=99"}, Restored(u"Neither|/Alpha|/"));
}

TEST_F(RestoreTest, AColumnThatComesTwiceIsSetTwice) {
  EXPECT_EQ(List{u"second=3"}, Restored(u"Title|title|Count|/first|second|3|/"));
}

TEST_F(RestoreTest, ARecordClassOfOnePropertyKeepsAnEmptyValue) {
  const auto record = NewRecord({{u"Only", u""}});
  const Units text = SaveObject(record.Get());
  EXPECT_EQ(u"Only\u00A5\u0152\u00A5\u0152", text);
  const auto creator = NewCreator([] { return NewRecord({{u"Only", u"set"}}).As<IDispatch>(); });
  const auto restored = Restore(text, creator.Get());
  EXPECT_EQ(u"", Read(At(restored, 1).Get(), u"Only"));
}

// ---- Keys --------------------------------------------------------------------------------------

TEST_F(RestoreTest, KeysAreTheValuesOfTheKeyProperty) {
  const auto restored = RestorePlain(u"Title|Count|/Alpha|3|/Beta|12|/|7|/", u"Title");
  EXPECT_EQ(3, CountOf(restored));
  EXPECT_EQ(u"12", Read(At(restored, u"BETA").Get(), u"Count"));
  EXPECT_EQ(u"7", Read(At(restored, 3).Get(), u"Count"));
}

TEST_F(RestoreTest, TheKeyPropertyIsComparedExactly) {
  for (const View key : {u"title", u"TITLE", u"Colour", u"Missing"}) {
    const auto restored = RestorePlain(u"Title|Colour|/Alpha|red|/", key);
    ASSERT_EQ(1, CountOf(restored));
    Variant entry;
    EXPECT_EQ(static_cast<HRESULT>(0x800A0005),
              restored->get_Item(Variant::OfText(u"Alpha").Get(), entry.Receive()));
    EXPECT_EQ(static_cast<HRESULT>(0x800A0005),
              restored->get_Item(Variant::OfText(u"red").Get(), entry.Receive()));
  }
  const auto lower = RestorePlain(u"title|/Alpha|/", u"title");
  EXPECT_EQ(u"Alpha", Read(At(lower, u"alpha").Get(), u"Title"));
}

TEST_F(RestoreTest, AKeyThatComesTwiceFailsTheWholeRestore) {
  const ShownError twice = {457,
                            u"This key is already associated with an element of this "
                            u"collection",
                            8};
  ExpectFailure(u"Title|/Alpha|/Beta|/alpha|/", {Adtc(twice)}, u"Title");
  EXPECT_EQ(3, CountOf(RestorePlain(u"Title|/Alpha|/Beta|/alpha|/")));
}

// ---- Creators ----------------------------------------------------------------------------------

TEST_F(RestoreTest, WithoutACreatorThereIsOneReport) {
  creator_ = nullptr;
  ExpectFailure(u"Title|/Alpha|/", {Adtc(NotSet(3))});
  creator_ = NewTitle(u"no", u"creator");
  ExpectFailure(u"Title|/Alpha|/", {Adtc(NoMember(3))});
}

TEST_F(RestoreTest, ACreatorThatYieldsNoObjectIsReported) {
  int calls = 0;
  int lastGood = 0;
  creator_ =
      NewCreator([&] { return ++calls > lastGood ? nullptr : NewTitle({}, {}).As<IDispatch>(); });
  ExpectFailure(u"Title|/Alpha|/Beta|/", {Adtc(NotSet(3))});
  calls = 0;
  lastGood = 2;
  ExpectFailure(u"Title|/Alpha|/Beta|/", {Adtc(NotSet(7))});
  EXPECT_EQ(3, calls);
  creator_->operator[](u"GetNewObject").body = [](const Arguments&) { return Number(5); };
  ExpectFailure(u"Title|/Alpha|/", {Adtc(ObjectNeeded(3))});
}

TEST_F(RestoreTest, ACreatorMayBeAPropertyAndItsNameOfAnyCase) {
  creator_ = ScriptedObject::New();
  creator_->Property(u"getNEWobject", Variant::OfObject(NewTitle({}, {}).Get()));
  EXPECT_EQ(List{u"Alpha="}, Restored(u"Title|/Alpha|/"));
}

TEST_F(RestoreTest, OneRecordIsMadeForTheNamesAndOneForEachRecord) {
  int calls = 0;
  creator_->operator[](u"GetNewObject").whenRead = [&] { ++calls; };
  EXPECT_EQ(2U, Restored(u"Title|Count|/Alpha|3|/Beta|12|/").size());
  EXPECT_EQ(3, calls);
  EXPECT_FALSE(RestorePlain(u""));
  EXPECT_EQ(3, calls);
}

// ---- The first object of a text ----------------------------------------------------------------

TEST_F(RestoreTest, TheFirstObjectOfAText) {
  const auto object =
      GetObjectFrom(u"Title\u00A5\u0152Alpha\u00A5\u0152Beta\u00A5\u0152", creator_.Get());
  ASSERT_TRUE(object);
  EXPECT_EQ(u"Alpha", Read(object.Get(), u"Title"));
  EXPECT_FALSE(GetObjectFrom(u"", creator_.Get()));
  EXPECT_FALSE(GetObjectFrom(u"", nullptr));
}

TEST_F(RestoreTest, TextWithoutAFirstObjectIsReported) {
  EXPECT_FALSE(GetObjectFrom(u"Title\u00A5\u0152", creator_.Get()));
  ExpectShown({GetObjectReport(NotSet())});
  EXPECT_FALSE(GetObjectFrom(u"Title\u00A5\u0152a\u00A5b\u00A5\u0152", creator_.Get()));
  ExpectShown({Adtc(Mismatch(1)), GetObjectReport(NotSet())});
  EXPECT_FALSE(GetObjectFrom(u"Title\u00A5\u0152a\u00A5\u0152", nullptr));
  ExpectShown({Adtc(NotSet(3)), GetObjectReport(NotSet())});
}

}  // namespace
}  // namespace brindlex::testing
