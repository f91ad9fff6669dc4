#include "automation/text_builder.h"

#include <gtest/gtest.h>

#include <limits>
#include <new>

#include "tests/core/failing_new.h"

namespace brindlex {
namespace {

Text Numbered(std::size_t length) {
  Text text;
  while (text.size() < length) text += static_cast<char16_t>(text.size() + 1);
  return text;
}

TEST(TextBuilderTest, AppendsRunsOfEveryLength) {
  const Text source = Numbered(300);
  StringTextBuilder builder;
  Text expected;
  for (std::size_t length = 0; length <= source.size(); ++length) {
    const TextView run = TextView(source).substr(source.size() - length);
    builder.Append(run);
    expected.append(run);
    ASSERT_EQ(expected.size(), builder.Size());
  }
  EXPECT_EQ(expected, builder.View());
  EXPECT_EQ(expected, builder.Take());
}

TEST(TextBuilderTest, IsEmptyAtFirstAndAfterTaking) {
  StringTextBuilder builder;
  EXPECT_EQ(u"", builder.View());
  EXPECT_EQ(u"", builder.Take());
  builder.Append(u"one");
  EXPECT_EQ(u"one", builder.Take());
  EXPECT_EQ(0U, builder.Size());
  builder.Append(u"two");
  EXPECT_EQ(u"two", builder.Take());
}

TEST(TextBuilderTest, AWrongExpectationDoesNoHarm) {
  const Text run = Numbered(100);
  for (const std::size_t expected : {std::size_t{0}, std::size_t{1}, std::size_t{700},
                                     std::numeric_limits<std::size_t>::max()}) {
    StringTextBuilder builder;
    Text plain;
    for (int count = 0; count < 100; ++count) {
      builder.Expect(expected);
      builder.Append(run);
      plain.append(run);
    }
    EXPECT_EQ(plain, builder.Take());
  }
}

TEST(TextBuilderTest, GrowsToWhatIsExpectedAtOnce) {
  StringTextBuilder builder;
  const Text run = Numbered(1000);
  builder.Append(run);
  builder.Expect(30000);
  builder.Append(Numbered(2000));
  const char16_t* const place = builder.View().data();
  while (builder.Size() < 29000) builder.Append(run);
  EXPECT_EQ(place, builder.View().data());
}

TEST(TextBuilderTest, GrowsBeyondAMillionUnits) {
  const Text run = Numbered(300'000);
  StringTextBuilder builder;
  Text expected;
  for (int i = 0; i < 8; ++i) {
    builder.Append(run);
    expected.append(run);
  }
  EXPECT_EQ(expected, builder.Take());
}

TEST(TextBuilderTest, WithoutMemoryTheTextStaysAsItWas) {
  const Text first = Numbered(5000);
  const Text second = Numbered(20000);
  StringTextBuilder builder;
  builder.Append(first);
  {
    const FailingNew failing(1, FailingNew::Extent::kFromThere);
    EXPECT_THROW(builder.Append(second), std::bad_alloc);
  }
  EXPECT_EQ(first, builder.View());
  builder.Append(second);
  EXPECT_EQ(Text(first).append(second), builder.Take());
}

}  // namespace
}  // namespace brindlex
