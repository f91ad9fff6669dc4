#include "automation/optional_text.h"

#include <gtest/gtest.h>

#include "tests/core/core_test.h"

namespace brindlex {
namespace {

TEST(OptionalTextTest, IsOmittedUnlessATextIsGiven) {
  EXPECT_EQ(std::nullopt, OptionalText().Read());
  EXPECT_EQ(TextView(), OptionalText(u"").Read());
  EXPECT_EQ(TextView(u"a"), OptionalText(u"a").Read());
  EXPECT_EQ(TextView(u"a\0b", 3), OptionalText(TextView(u"a\0b", 3)).Read());
}

TEST(OptionalTextTest, BorrowsTheTextItIsGiven) {
  const Text text = u"a text of some length";
  EXPECT_EQ(text.data(), OptionalText(text).Read()->data());
}

TEST(OptionalTextTest, RaisesWhatReadingItGaveEachTimeItIsRead) {
  const auto unreadable = OptionalText::ConversionFailed(RuntimeError(13));
  const OptionalText copy = unreadable;  // NOLINT(performance-unnecessary-copy-initialization)
  EXPECT_EQ(13, ErrorOf([&] { unreadable.Read(); }));
  EXPECT_EQ(13, ErrorOf([&] { copy.Read(); }));
  EXPECT_EQ(13, ErrorOf([&] { copy.Read(); }));
}

}  // namespace
}  // namespace brindlex
