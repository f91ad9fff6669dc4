// Operations on files and folders during which memory runs out, at every allocation in turn: the
// whole result, or the empty one with a report, or error 7 for the caller.

#include "appfiles/settings_folders.h"
#include "appfiles/text_files.h"
#include "tests/core/appfiles/appfiles_test.h"
#include "tests/core/failing_new.h"

namespace brindlex {
namespace {

constexpr TextView kPath = u"C:\\Data\\a file with a long name.txt";
constexpr TextView kText = u"a text that is too long to be kept in place";

class AppFilesOutOfMemoryTest : public AppFilesTest {
 protected:
  AppFilesOutOfMemoryTest() { platform_.reports.reserve(kMostReports); }

  /// Runs `operation()`, which returns a result or lets error 7 out, then `check(whole)`, which
  /// says whether what came of it may; `whole` is set when nothing has failed. Whatever fails,
  /// nothing is left open. Returns how many allocations were failed.
  template <class Operation, class Check>
  std::size_t Run(Operation&& operation, Check&& check) {
    std::optional<decltype(operation())> result;
    return FailEveryAllocation(
        [&] {
          try {
            result.emplace(operation());
          } catch (const std::bad_alloc&) {
            result.reset();
          } catch (const RuntimeError& error) {
            result.reset();
            if (error.number != error_number::kOutOfMemory) throw;
          }
        },
        [&](bool failed) {
          EXPECT_EQ(0, platform_.disk.openObjects);
          EXPECT_TRUE(failed || result);
          EXPECT_TRUE(!result || check(*result, !failed));
          for (const Report& report : platform_.reports) {
            EXPECT_NE(Text::npos, report.text.find(u"Out of memory")) << failed;
          }
          result.reset();
          platform_.reports.clear();
        });
  }

  bool Reported() const { return !platform_.reports.empty(); }

 private:
  static constexpr std::size_t kMostReports = 10;
};

TEST_F(AppFilesOutOfMemoryTest, ASaveSaysTrueOnlyOfTheWholeText) {
  const auto save = [this] {
    platform_.disk.files.erase(Text(kPath));
    return SaveTextFile(platform_, kPath, kText, true);
  };
  EXPECT_GT(Run(save,
                [this](bool saved, bool whole) {
                  if (!saved) return !whole && Reported();
                  return At(kPath).bytes == std::string(kText.begin(), kText.end());
                }),
            10U);
}

TEST_F(AppFilesOutOfMemoryTest, ASafeSaveKeepsTheOldTextUntilTheNewIsWhole) {
  const auto save = [this] {
    Put(kPath, "old");
    return SaveTextFileSafely(platform_, kPath, kText, true);
  };
  EXPECT_GT(Run(save,
                [this](bool saved, bool whole) {
                  if (platform_.disk.files.size() != 1) return false;
                  if (!saved) return !whole && Reported() && At(kPath).bytes == "old";
                  return At(kPath).bytes == std::string(kText.begin(), kText.end());
                }),
            5U);
}

TEST_F(AppFilesOutOfMemoryTest, AReadYieldsTheWholeTextOrNone) {
  Put(kPath, std::string(kText.begin(), kText.end()));
  EXPECT_GT(Run([this] { return ReadTextFile(platform_, kPath, true); },
                [this](const Text& text, bool whole) {
                  return text == kText || (!whole && text.empty() && Reported());
                }),
            10U);
}

TEST_F(AppFilesOutOfMemoryTest, ANameIsWholeOrNone) {
  EXPECT_GT(Run([this] { return FileNameFromPath(platform_, kPath); },
                [this](const Text& name, bool whole) {
                  return name == kPath.substr(8) || (!whole && name.empty() && Reported());
                }),
            1U);
}

TEST_F(AppFilesOutOfMemoryTest, ANameThatFindsNoMemoryIsReported) {
  {
    const FailingNew failing(1, FailingNew::Extent::kOnce);
    EXPECT_EQ(u"", FileNameFromPath(platform_, kPath));
  }
  ExpectReports({{u"KX Error", u"Error FN1Out of memory Error Number: 7 Line 0"}});
}

TEST_F(AppFilesOutOfMemoryTest, ACopyIsMadeOrError7IsRaised) {
  Put(kPath, "new");
  EXPECT_GT(Run(
                [this] {
                  Put(u"C:\\Data\\another file with a long name.txt", "old", 3);
                  CopyFileKeepAttributes(platform_, kPath,
                                         u"C:\\Data\\another file with a long name.txt");
                  return true;
                },
                [this](bool, bool) {
                  const auto& copy = At(u"C:\\Data\\another file with a long name.txt");
                  return copy.bytes == "new" && copy.attributes == 3;
                }),
            5U);
}

TEST_F(AppFilesOutOfMemoryTest, ASearchForTheSettingsFolderEndsWithAFolderOrNothing) {
  const Object host =
      NewRecord(Adapter(), ListingClass(Adapter(), {{u"UsingFarOrFarBar"}, {u"ProgDir"}}),
                {u"False", u"D:\\Program files of this very host"});
  const auto find = [&] {
    HostState state{host, u"A product with a long name", u"A maker with a long name"};
    FolderCache cache;
    Text company;
    return SettingsFolderAllUsers(platform_, state, cache, company);
  };
  EXPECT_GT(Run(find,
                [](const Text& folder, bool whole) {
                  if (folder ==
                      u"C:\\ProgramData\\A maker with a long name\\A product with a long"
                      u" name") {
                    return true;
                  }
                  return !whole && (folder.empty() || folder.starts_with(u"D:\\Program files"));
                }),
            10U);
}

}  // namespace
}  // namespace brindlex
