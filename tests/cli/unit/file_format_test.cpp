#include "cli/format/layout.h"

#include <string>

#include "tests/cli/unit/tool_test.h"

namespace brindlex::tool {
namespace {

const std::string kOuterText =
    "Title\xA5"
    "Price\xA5\x8C"
    "a\xA5"
    "1\xA5\x8C";
const std::string kInnerText =
    "Title\xBB"
    "Price\xBB\x8A"
    "a\xBB"
    "1\xBB\x8A";
const std::string kBlocks = "DataString\xA5Name\xA5\x8C" + kInnerText + "\xA5Items\xA5\x8C";

Layout Of(const std::string& head, const FormatOptions& options = {}) {
  return FindLayout(head, options);
}

std::string InUtf8(const std::string& bytes) {
  std::string text;
  Encoding().ToUtf8(bytes, text);
  return text;
}

TEST(Layout, FindsTheLayer) {
  EXPECT_EQ(Layer::kOuter, Of(kOuterText).layer);
  EXPECT_EQ("\x8C", Of(kOuterText).markers.recordEnd);
  EXPECT_EQ(Layer::kInner, Of(kInnerText).layer);
  EXPECT_EQ("\xBB", Of(kInnerText).markers.fieldEnd);
  EXPECT_EQ(Layer::kOuter, Of("").layer);
  EXPECT_EQ(Layer::kOuter, Of("a\xBB\xA5\x8C"
                              "x\x8A\xA5\x8C")
                               .layer)
      << "inner markers as data";
  EXPECT_EQ(Layer::kOuter, Of("\x8A"
                              "a\xA5\x8C")
                               .layer)
      << "no field end before it";
}

TEST(Layout, KnowsSeveralCollectionsByTheirHeader) {
  const auto blocks = Of(kBlocks).blocks;
  ASSERT_TRUE(blocks);
  EXPECT_EQ(0U, blocks->data);
  EXPECT_EQ(1U, blocks->name);
  EXPECT_TRUE(blocks->areSpelledExactly);
  EXPECT_EQ("\x8A", Of(kBlocks).inner->recordEnd);
  const auto turned = Of("Name\xA5"
                         "DataString\xA5\x8CItems\xA5" +
                         kInnerText + "\xA5\x8C")
                          .blocks;
  ASSERT_TRUE(turned);
  EXPECT_EQ(1U, turned->data);
  EXPECT_FALSE(Of("datastring\xA5NAME\xA5\x8C\xA5x\xA5\x8C").blocks->areSpelledExactly);
  EXPECT_FALSE(Of(kOuterText).blocks);
  EXPECT_FALSE(Of("DataString\xA5Title\xA5\x8C").blocks);
  EXPECT_FALSE(Of("DataString\xA5Name\xA5\x8Cplain\xA5Items\xA5\x8C").blocks) << "by its content";
}

TEST(Layout, TakesABlockForDataWhenItDoesNotEndInTheHead) {
  EXPECT_TRUE(Of(kBlocks.substr(0, 40)).blocks);
  EXPECT_TRUE(Of("DataString\xA5Name\xA5\x8C").blocks);
}

TEST(Layout, TakesTheEncodingFromTheByteOrderMark) {
  const Layout layout = Of("\xEF\xBB\xBF" + InUtf8(kInnerText));
  EXPECT_EQ("utf-8", layout.encoding.Name());
  EXPECT_EQ(3U, layout.markBytes);
  EXPECT_EQ(Layer::kInner, layout.layer);
  EXPECT_EQ("windows-1252", Of(kOuterText).encoding.Name());
}

TEST(Layout, DoubtsATextWithoutAHeader) {
  EXPECT_EQ("", Of(kOuterText).doubt);
  EXPECT_NE(std::string::npos, Of(InUtf8(kOuterText)).doubt.find("--encoding utf-8"));
  EXPECT_EQ("", Of("nothing of the kind").doubt);
}

TEST(Layout, TakesGivenMarkers) {
  FormatOptions options;
  options.fieldEnd = "|";
  options.recordEnd = "U+001EU+001F";
  const Layout layout = Of(kInnerText, options);
  EXPECT_EQ("|", layout.markers.fieldEnd);
  EXPECT_EQ("\x1E\x1F", layout.markers.recordEnd);
  EXPECT_EQ(Layer::kGiven, layout.layer);
}

TEST(Layout, RefusesMarkersThatCannotBeToldApart) {
  const auto refusal = [](const char* field, const char* record) {
    return FailureOf([&] { CheckedMarkers({field, record}, Encoding()); });
  };
  EXPECT_EQ(ExitCode::kUsage, refusal("|", "|"));
  EXPECT_EQ(ExitCode::kUsage, refusal("|", "a|"));
  EXPECT_EQ(ExitCode::kUsage, refusal("ab", "bc"));
  EXPECT_EQ(ExitCode::kUsage, refusal("aba", "x"));
  EXPECT_EQ(ExitCode::kUsage, refusal("|", "\u0416")) << "not in windows-1252";
  EXPECT_EQ(std::nullopt, refusal("<f>", "<r>"));
}

TEST(Layout, RefusesWhatIsNoMarkerAndNoEncoding) {
  EXPECT_EQ(ExitCode::kUsage, FailureOf([] { MarkerText(""); }));
  EXPECT_EQ(ExitCode::kUsage, FailureOf([] { MarkerText("U+D800"); }));
  EXPECT_EQ("U+1", MarkerText("U+1")) << "too short for a number";
  FormatOptions options;
  options.encoding = "ebcdic";
  EXPECT_EQ(ExitCode::kUsage, FailureOf([&] { Of("", options); }));
}

TEST(Layout, NeedsMarkersThatTheEncodingHas) {
  FormatOptions options;
  options.encoding = "1251";
  EXPECT_EQ(ExitCode::kUsage, FailureOf([&] { Of(kOuterText, options); }));
  options.encoding = "1250";
  EXPECT_EQ(Layer::kInner, Of(kInnerText, options).layer) << "1250 has the inner pair only";
}

}  // namespace
}  // namespace brindlex::tool
