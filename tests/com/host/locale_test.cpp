// Numbers and dates in another form of the user's, as the user may set it at any time.

#include "tests/com/persistence/save_restore_test.h"
#include "tests/com/support/locale_settings.h"

namespace brindlex::testing {
namespace {

class LocaleTest : public SaveRestoreTest {
 protected:
  static ComPtr<TypedRecord> NewTyped() {
    auto record = TypedRecord::New();
    record->memberNames =
        ForeignCollection::OfNames({u"Double", u"Money", u"Day", u"Flag"}).As<IDispatch>();
    return record;
  }
};

TEST_F(LocaleTest, ValuesAreWrittenAndReadAsTheUserWritesThem) {
  const GermanSettings german;
  const auto record = NewTyped();
  record->doubleNumber = 1234.5;
  record->money.int64 = 17500;
  record->day = 37986;
  record->flag = VARIANT_TRUE;
  const View text =
      u"Double\u00A5Money\u00A5Day\u00A5Flag\u00A5\u0152"
      u"1234,5\u00A51,75\u00A531.12.2003\u00A5True\u00A5\u0152";
  EXPECT_EQ(text, SaveObject(record.Get()));

  ComPtr<TypedRecord> back;
  const auto creator = NewCreator([&back] {
    back = NewTyped();
    return back.As<IDispatch>();
  });
  ASSERT_EQ(1, CountOf(Restore(text, creator.Get())));
  EXPECT_EQ(1234.5, back->doubleNumber);
  EXPECT_EQ(17500, back->money.int64);
  EXPECT_EQ(37986, back->day);
  EXPECT_EQ(VARIANT_TRUE, back->flag);
}

TEST_F(LocaleTest, ATextMayReadOtherwiseForAnotherUser) {
  const auto record = NewTyped();
  record->doubleNumber = 1.5;
  Units text;
  {
    const GermanSettings german;
    text = SaveObject(record.Get());
  }
  EXPECT_NE(text, SaveObject(record.Get()));
}

}  // namespace
}  // namespace brindlex::testing
