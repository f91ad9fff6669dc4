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

TEST(TextBuilderTest, AppendsMarkersOfEveryLength) {
  const Text source = Numbered(10);
  StringTextBuilder builder;
  Text expected;
  for (int round = 0; round < 1000; ++round) {
    for (std::size_t length = 0; length <= source.size(); ++length) {
      const TextView marker = TextView(source).substr(0, length < 8 ? 1 : length);
      builder.AppendMarker(marker);
      expected.append(marker);
    }
  }
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
      builder.SetSizeHint(expected);
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
  builder.SetSizeHint(30000);
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

/// Gives just as much as is asked for, with units after it that must stay as they are.
class GuardedBuilder final : public TextBuilder {
 public:
  using TextBuilder::NextCapacity;

  void Clear() noexcept override { Forget(); }

  bool IsGuardWhole() const { return memory_.ends_with(kGuard); }

  int provided = 0;

 private:
  Memory Provide(std::size_t least) override {
    ++provided;
    Text larger(View());
    larger.resize(least);
    memory_ = larger.append(kGuard);
    return {memory_.data(), least};
  }

  static constexpr TextView kGuard = u"0123456789abcdef";

  Text memory_;
};

TEST(TextBuilderTest, WritesNothingBehindARun) {
  const Text source = Numbered(300);
  for (std::size_t length = 0; length <= source.size(); ++length) {
    GuardedBuilder builder;
    builder.Append(TextView(source).substr(0, length));
    EXPECT_EQ(TextView(source).substr(0, length), builder.View());
    EXPECT_EQ(length == 0 ? 0 : 1, builder.provided);
    EXPECT_TRUE(length == 0 || builder.IsGuardWhole()) << length;
  }
}

TEST(TextBuilderTest, AsksForMemoryWhereNoneIsLeft) {
  GuardedBuilder builder;
  for (int count = 1; count <= 3; ++count) {
    builder.Append(u"run");
    builder.Append(u"");
    EXPECT_EQ(count, builder.provided);
  }
  builder.Clear();
  EXPECT_EQ(u"", builder.View());
  builder.Append(u"x");
  EXPECT_EQ(4, builder.provided);
  EXPECT_TRUE(builder.IsGuardWhole());
}

TEST(TextBuilderTest, GrowsByAsMuchAgainAndByASixthWhereItIsLargeOrNearItsEnd) {
  constexpr std::size_t kLarge = std::size_t{1} << 20U;
  GuardedBuilder builder;
  EXPECT_EQ(256U, builder.NextCapacity(1));
  EXPECT_EQ(256U, builder.NextCapacity(128));
  EXPECT_EQ(600U, builder.NextCapacity(300));
  EXPECT_EQ(2 * (kLarge - 1), builder.NextCapacity(kLarge - 1));
  EXPECT_EQ(kLarge + kLarge / 6, builder.NextCapacity(kLarge));
  builder.SetSizeHint(1000);
  EXPECT_EQ(1000U, builder.NextCapacity(999));
  EXPECT_EQ(1000U, builder.NextCapacity(1000));
  EXPECT_EQ(1167U, builder.NextCapacity(1001));
  EXPECT_EQ(1400U, builder.NextCapacity(1200));
  builder.SetSizeHint(1);
  EXPECT_EQ(1400U, builder.NextCapacity(1200));
  builder.Clear();
  EXPECT_EQ(2400U, builder.NextCapacity(1200));
}

TEST(TextBuilderTest, GrowsToWhatIsExpectedByAFactorOf16AtMost) {
  GuardedBuilder builder;
  builder.SetSizeHint(16'000);
  EXPECT_EQ(16'000U, builder.NextCapacity(1000));
  EXPECT_EQ(1000U, builder.NextCapacity(999));
  EXPECT_EQ(3U, builder.NextCapacity(1));
}

}  // namespace
}  // namespace brindlex
