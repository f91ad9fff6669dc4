#include "cli/check/file_check.h"

#include <fmt/format.h>

#include <set>
#include <string>

#include "tests/cli/unit/cli_test.h"

namespace brindlex::cli {
namespace {

TEST(FileCheck, FindsDuplicateKeysInManyPasses) {
  std::string text = "Id\xA5Text\xA5\x8C";
  std::set<std::uint64_t> expected;
  for (int record = 1; record <= 500; ++record) {
    const bool isSecond = record > 450;
    if (isSecond) expected.insert(static_cast<std::uint64_t>(record));
    text +=
        fmt::format("{}{}\xA5x\xA5\x8C", isSecond ? "K" : "k", isSecond ? record - 450 : record);
  }
  Input input("a.txt", text, kInputBlock);
  for (const std::size_t slots : {std::size_t{16}, std::size_t{4096}}) {
    std::set<std::uint64_t> found;
    const DefectHandler take = [&](const Defect& defect) {
      EXPECT_EQ(DefectKind::kDuplicateKey, defect.kind);
      EXPECT_TRUE(found.insert(defect.record).second);
    };
    const CheckedFile checked = CheckFile(input, DetectFormat(input, {}), "Id", take, slots);
    EXPECT_EQ(500U, checked.records);
    EXPECT_EQ(expected, found) << slots;
  }
}

TEST(FileCheck, FindsDuplicateKeysOfEachOfManyCollections) {
  std::string text = "DataString\xA5Name\xA5\x8C";
  for (int collection = 0; collection < 40; ++collection) {
    text += "Id\xBB\x8A";
    for (int record = 0; record < 30; ++record) {
      text += fmt::format("{}\xBB\x8A", record == 29 ? 3 : record);
    }
    text += fmt::format("\xA5N{}\xA5\x8C", collection);
  }
  Input input("a.txt", text, kInputBlock);
  std::set<std::uint64_t> collections;
  const DefectHandler take = [&](const Defect& defect) {
    EXPECT_EQ(30U, defect.record);
    EXPECT_TRUE(collections.insert(defect.collection).second);
  };
  const CheckedFile checked = CheckFile(input, DetectFormat(input, {}), "Id", take, 16);
  EXPECT_EQ(40U, checked.collections);
  EXPECT_EQ(1200U, checked.records);
  EXPECT_EQ(40U, collections.size());
}

}  // namespace
}  // namespace brindlex::cli
