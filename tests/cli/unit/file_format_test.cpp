#include "cli/format/file_format.h"

#include <string>

#include "tests/cli/unit/cli_test.h"

namespace brindlex::cli {
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
const std::string kSeveral = "DataString\xA5Name\xA5\x8C" + kInnerText + "\xA5Items\xA5\x8C";

FileFormat Of(const std::string& text, const FormatOptions& options = {}) {
  Input input("file", text, kInputBlock);
  return DetectFormat(input, options);
}

std::string InUtf8(const std::string& bytes) {
  std::string text;
  Encoding().ToUtf8(bytes, text);
  return text;
}

TEST(FileFormat, FindsTheLayer) {
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

TEST(FileFormat, KnowsSeveralCollectionsByTheirHeader) {
  const auto named = Of(kSeveral).named;
  ASSERT_TRUE(named);
  EXPECT_EQ(0U, named->data);
  EXPECT_EQ(1U, named->name);
  EXPECT_TRUE(named->isNameExact);
  EXPECT_EQ("\x8A", Of(kSeveral).inner->recordEnd);
  const auto turned = Of("Name\xA5"
                         "DataString\xA5\x8CItems\xA5" +
                         kInnerText + "\xA5\x8C")
                          .named;
  ASSERT_TRUE(turned);
  EXPECT_EQ(1U, turned->data);
  EXPECT_FALSE(Of("datastring\xA5NAME\xA5\x8C\xA5x\xA5\x8C").named->isNameExact);
  EXPECT_FALSE(Of(kOuterText).named);
  EXPECT_FALSE(Of("DataString\xA5Title\xA5\x8C").named);
  EXPECT_FALSE(Of("DataString\xA5Name\xA5\x8Cplain\xA5Items\xA5\x8C").named) << "by its content";
}

TEST(FileFormat, TakesATextWithoutAnEndForACollection) {
  EXPECT_TRUE(Of(kSeveral.substr(0, 40)).named);
  EXPECT_TRUE(Of("DataString\xA5Name\xA5\x8C").named);
}

TEST(FileFormat, TakesTheEncodingFromTheByteOrderMark) {
  const FileFormat format = Of("\xEF\xBB\xBF" + InUtf8(kInnerText));
  EXPECT_EQ("utf-8", format.encoding.Name());
  EXPECT_EQ(3U, format.markBytes);
  EXPECT_EQ(Layer::kInner, format.layer);
  EXPECT_EQ("windows-1252", Of(kOuterText).encoding.Name());
}

TEST(FileFormat, TakesAFileForSeveralCollectionsOnlyIfAllTextsAreCollections) {
  const std::string head = "DataString\xA5Name\xA5\x8C";
  EXPECT_FALSE(Of(head + kInnerText + "\xA5Items\xA5\x8Ctwo litres\xA5Milk\xA5\x8C").named);
  EXPECT_FALSE(Of(head + "\x8A\xBB\xA5Milk\xA5\x8C").named) << "a record end before a field end";
  EXPECT_TRUE(Of(head + kInnerText + "\xA5Items\xA5\x8C\xA5None\xA5\x8C\n").named) << "a tail";
  FormatOptions options;
  options.reading = Reading::kPlain;
  EXPECT_FALSE(Of(kSeveral, options).named);
  options.reading = Reading::kCollections;
  EXPECT_TRUE(Of(head + "two litres\xA5Milk\xA5\x8C", options).named);
  EXPECT_EQ(ExitStatus::kUsage, FailureOf([&] { Of(kOuterText, options); }));
}

TEST(FileFormat, RecognizesUtf8WithoutAByteOrderMark) {
  const FileFormat format = Of(InUtf8(kOuterText));
  EXPECT_EQ("utf-8", format.encoding.Name());
  EXPECT_TRUE(format.isEncodingGuessed);
  EXPECT_EQ("windows-1252", Of("Tag\xA5\x8C\xC2\xA5\x8C").encoding.Name()) << "\xC2 as data";
  EXPECT_EQ("windows-1252", Of("plain").encoding.Name());
}

TEST(FileFormat, HintsAtAnotherEncodingThatHasAHeader) {
  EXPECT_EQ("", Of(kOuterText).hint);
  FormatOptions options;
  options.encoding = "windows-1252";
  EXPECT_NE(std::string::npos, Of(InUtf8(kOuterText), options).hint.find("--encoding utf-8"));
  EXPECT_EQ("", Of("nothing of the kind").hint);
}

TEST(FileFormat, TakesGivenMarkers) {
  FormatOptions options;
  options.fieldEnd = "|";
  options.recordEnd = "U+001EU+001F";
  const FileFormat format = Of(kInnerText, options);
  EXPECT_EQ("|", format.markers.fieldEnd);
  EXPECT_EQ("\x1E\x1F", format.markers.recordEnd);
  EXPECT_EQ(Layer::kGiven, format.layer);
}

TEST(FileFormat, RefusesMarkersThatCannotBeUsed) {
  const auto refusal = [](const char* field, const char* record) {
    return FailureOf([&] { RequireByteMarkers({field, record}, Encoding()); });
  };
  EXPECT_EQ(ExitStatus::kUsage, refusal("|", "|"));
  EXPECT_EQ(ExitStatus::kUsage, refusal("|", "\u0416")) << "not in windows-1252";
  EXPECT_EQ(std::nullopt, refusal("<f>", "<r>"));
  EXPECT_EQ(std::nullopt, refusal("||", "|"));
}

TEST(FileFormat, RefusesWhatIsNoMarkerOrNoEncoding) {
  EXPECT_EQ(ExitStatus::kUsage, FailureOf([] { ParseMarker(""); }));
  EXPECT_EQ(ExitStatus::kUsage, FailureOf([] { ParseMarker("U+D800"); }));
  EXPECT_EQ("U+1", ParseMarker("U+1")) << "too short for a number";
  FormatOptions options;
  options.encoding = "ebcdic";
  EXPECT_EQ(ExitStatus::kUsage, FailureOf([&] { Of("", options); }));
}

TEST(FileFormat, NeedsMarkersThatTheEncodingHas) {
  FormatOptions options;
  options.encoding = "1251";
  EXPECT_EQ(ExitStatus::kUsage, FailureOf([&] { Of(kOuterText, options); }));
  options.encoding = "1250";
  EXPECT_EQ(Layer::kInner, Of(kInnerText, options).layer) << "1250 has the inner pair only";
}

}  // namespace
}  // namespace brindlex::cli
