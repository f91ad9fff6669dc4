// The reports as real message boxes on the screen.

#include "tests/com/fixture.h"

namespace brindlex::testing {
namespace {

class ReportBoxTest : public ComTest {};

TEST_F(ReportBoxTest, NothingForACollectionIsReportedInOneModalBox) {
  const auto saveRestore = NewSaveRestore();
  BSTR text = nullptr;
  ASSERT_EQ(S_OK, saveRestore->AsDelimitedFromCollection(nullptr, Missing(), Missing(), Missing(),
                                                         &text));
  EXPECT_EQ(u"", Taken(text));
  ASSERT_EQ(1U, Boxes().Boxes().size());
  const Box& box = Boxes().Boxes()[0];
  EXPECT_EQ(u"Error DFC", box.caption);
  EXPECT_EQ(
      u"Error DFC\r\n\r\nObject variable or With block variable not set Number: 91 Line: 1"
      u" Member Name: ",
      box.text);
  EXPECT_EQ(1, box.buttons);
  EXPECT_TRUE(box.hasExclamationIcon);
}

TEST_F(ReportBoxTest, AHostThatCallsAgainWhileABoxIsOpenGetsBothReports) {
  const auto saveRestore = NewSaveRestore();
  BSTR inner = nullptr;
  Boxes().whileNextIsOpen = [&] {
    EXPECT_EQ(S_OK, saveRestore->AsDelimitedFromObject(nullptr, &inner));
  };
  BSTR outer = nullptr;
  ASSERT_EQ(S_OK, saveRestore->AsDelimitedFromCollection(nullptr, Missing(), Missing(), Missing(),
                                                         &outer));
  EXPECT_EQ(u"", Taken(outer));
  EXPECT_EQ(u"", Taken(inner));
  ASSERT_EQ(3U, Boxes().Boxes().size());
  EXPECT_EQ(u"Error DFC", Boxes().Boxes()[0].caption);
  EXPECT_EQ(u"Error GMNL", Boxes().Boxes()[1].caption);
  EXPECT_EQ(u"Error DFC", Boxes().Boxes()[2].caption);
}

TEST_F(ReportBoxTest, TheObjectOutlivesAHostThatReleasesItInsideTheBox) {
  auto saveRestore = NewSaveRestore();
  auto* const borrowed = saveRestore.Get();
  Boxes().whileNextIsOpen = [&] { saveRestore = nullptr; };
  BSTR text = nullptr;
  ASSERT_EQ(S_OK,
            borrowed->AsDelimitedFromCollection(nullptr, Missing(), Missing(), Missing(), &text));
  EXPECT_EQ(u"", Taken(text));
  EXPECT_EQ(1U, Boxes().Boxes().size());
}

}  // namespace
}  // namespace brindlex::testing
