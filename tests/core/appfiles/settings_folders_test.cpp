#include "appfiles/settings_folders.h"

#include "tests/core/appfiles/appfiles_test.h"

namespace brindlex {
namespace {

constexpr TextView kCompanyPath = u"C:\\ProgramData\\Maker";
constexpr TextView kAppPath = u"C:\\ProgramData\\Maker\\Product";
constexpr TextView kProgDir = u"D:\\Program";

constexpr VersionRecord kXp{5, 1, 2600, 2};

class SettingsFolderTest : public AppFilesTest {
 protected:
  SettingsFolderTest() { HandOver(u"False"); }

  void TearDown() override {
    state_ = {};
    hostClass_ = nullptr;
    AppFilesTest::TearDown();
  }

  /// Hands a host over whose flag is `usingFar`.
  void HandOver(TextView usingFar) {
    hostClass_ = ListingClass(Adapter(), {{u"UsingFarOrFarBar"}, {u"ProgDir"}});
    StartUp(state_, NewRecord(Adapter(), hostClass_, {Text(usingFar), Text(kProgDir)}), u"Product",
            u"Maker");
  }

  Member& HostProperty(std::size_t index) { return hostClass_->members.at(index); }

  Text Find() {
    company_ = u"as passed";
    return SettingsFolderAllUsers(platform_, state_, cache_, company_);
  }

  HostState state_;
  FolderCache cache_;
  std::shared_ptr<RecordClass> hostClass_;
  Text company_;
};

TEST_F(SettingsFolderTest, IsMadeInTheCommonTree) {
  EXPECT_EQ(kAppPath, Find());
  EXPECT_EQ(kCompanyPath, company_);
  EXPECT_TRUE(HasFolder(kCompanyPath));
  EXPECT_TRUE(HasFolder(kAppPath));
  ExpectReports({});
}

TEST_F(SettingsFolderTest, IsTheCommonTreeOnVistaWhateverTheHostUses) {
  for (const std::uint32_t major : {6U, 10U}) {
    HandOver(u"True");
    cache_ = {};
    platform_.version = {major, 0, 0, 2};
    EXPECT_EQ(kAppPath, Find());
    EXPECT_EQ(kCompanyPath, company_);
  }
}

TEST_F(SettingsFolderTest, IsTheCommonTreeOnOlderSystemsWithoutTheFlag) {
  platform_.version = kXp;
  EXPECT_EQ(kAppPath, Find());
}

TEST_F(SettingsFolderTest, IsProgDirOnOlderSystemsWithTheFlag) {
  HandOver(u"True");
  platform_.version = kXp;
  EXPECT_EQ(kProgDir, Find());
  EXPECT_EQ(u"as passed", company_);
  EXPECT_FALSE(HasFolder(kCompanyPath));
  EXPECT_EQ(kProgDir, cache_.appSettingsFolder);
  EXPECT_EQ(kProgDir, Find());
  EXPECT_EQ(u"", company_);
}

TEST_F(SettingsFolderTest, IsProgDirWithoutARoot) {
  platform_.shellFolders.clear();
  EXPECT_EQ(kProgDir, Find());
  EXPECT_EQ(u"as passed", company_);
}

TEST_F(SettingsFolderTest, IsProgDirWhenTheRootCannotBeMade) {
  platform_.shellFolders[35].path = u"Q:\\no\\such\\place";
  EXPECT_EQ(kProgDir, Find());
  EXPECT_EQ(u"as passed", company_);
}

TEST_F(SettingsFolderTest, MakesARootWhoseParentExists) {
  platform_.shellFolders[35].path = u"C:\\Later";
  EXPECT_EQ(u"C:\\Later\\Maker\\Product", Find());
}

TEST_F(SettingsFolderTest, IsProgDirWhenAFileHasTheCompanysName) {
  Put(kCompanyPath, "");
  EXPECT_EQ(kProgDir, Find());
  EXPECT_EQ(u"as passed", company_);
  EXPECT_EQ(u"", cache_.companySettingsFolder);
}

TEST_F(SettingsFolderTest, KeepsTheCompanyLevelWhenOnlyTheApplicationsFails) {
  Put(kAppPath, "");
  EXPECT_EQ(kProgDir, Find());
  EXPECT_EQ(kCompanyPath, company_);
  EXPECT_EQ(kProgDir, Find());
  EXPECT_EQ(kCompanyPath, company_);
}

TEST_F(SettingsFolderTest, IsTheSameForTwoWhoMakeItAtTheSameMoment) {
  platform_.disk.madeMeanwhile = {Text(kCompanyPath), Text(kAppPath)};
  EXPECT_EQ(kAppPath, Find());
  EXPECT_EQ(kCompanyPath, company_);
}

TEST_F(SettingsFolderTest, IsAnsweredFromTheCacheEvenWhenTheFolderIsGone) {
  EXPECT_EQ(kAppPath, Find());
  platform_.disk.folders.clear();
  platform_.fault = Fault(1, RuntimeError(51));
  EXPECT_EQ(kAppPath, Find());
  EXPECT_EQ(kCompanyPath, company_);
  EXPECT_FALSE(HasFolder(kAppPath));
}

TEST_F(SettingsFolderTest, StaysFoundWhenTheHostHandsOverAnew) {
  EXPECT_EQ(kAppPath, Find());
  StartUp(state_, {}, u"Other", u"Others");
  EXPECT_EQ(kAppPath, Find());
}

TEST_F(SettingsFolderTest, JoinsTheNamesAsGiven) {
  state_.companyFolderName = u"";
  state_.appFolderName = u"..\\x";
  platform_.disk.folders.insert(u"C:\\ProgramData\\");
  platform_.disk.folders.insert(u"C:\\ProgramData\\\\..");
  EXPECT_EQ(u"C:\\ProgramData\\\\..\\x", Find());
  EXPECT_EQ(u"C:\\ProgramData\\", company_);
}

TEST_F(SettingsFolderTest, IsNothingWithoutAHost) {
  state_ = {};
  EXPECT_EQ(u"", Find());
  StartUp(state_, {}, u"Product", u"Maker");
  EXPECT_EQ(u"", Find());
  EXPECT_EQ(u"as passed", company_);
  EXPECT_FALSE(HasFolder(kCompanyPath));
  ExpectReports({});
}

TEST_F(SettingsFolderTest, IsNothingWhenTheHostLacksTheFlag) {
  HostProperty(0).name = u"Other";
  EXPECT_EQ(u"", Find());
  EXPECT_EQ(u"as passed", company_);
  EXPECT_FALSE(HasFolder(kCompanyPath));
  HostProperty(0).name = u"UsingFarOrFarBar";
  EXPECT_EQ(kAppPath, Find());
}

TEST_F(SettingsFolderTest, IsNothingWhenTheFlagFailsOrIsNoFlag) {
  HostProperty(0).getError = RuntimeError(1000);
  EXPECT_EQ(u"", Find());
  HandOver(u"neither");
  EXPECT_EQ(u"", Find());
  EXPECT_EQ(u"", cache_.appSettingsFolder);
  ExpectReports({});
}

TEST_F(SettingsFolderTest, IsNothingWhenTheHostLacksProgDirOnTheFallback) {
  platform_.shellFolders.clear();
  HostProperty(1).name = u"Other";
  EXPECT_EQ(u"", Find());
  EXPECT_EQ(u"", cache_.appSettingsFolder);
  HostProperty(1).name = u"ProgDir";
  EXPECT_EQ(kProgDir, Find());
}

TEST_F(SettingsFolderTest, NeedsNoProgDirInTheCommonTree) {
  HostProperty(1).name = u"Other";
  EXPECT_EQ(kAppPath, Find());
}

TEST_F(SettingsFolderTest, IsFoundButNotCachedWhenTheSecondReadingOfProgDirFails) {
  platform_.shellFolders.clear();
  int readings = 0;
  hostClass_->onUse = [&](RecordClass::Use, TextView member) {
    if (member == u"ProgDir" && ++readings == 2) throw RuntimeError(1000);
  };
  EXPECT_EQ(kProgDir, Find());
  EXPECT_EQ(u"", cache_.appSettingsFolder);
}

TEST_F(SettingsFolderTest, TheHostMayHandOverAnewFromInsideItsProperty) {
  hostClass_->onUse = [&](RecordClass::Use, TextView) {
    hostClass_->onUse = {};
    StartUp(state_, {}, u"Inner", u"Maker");
  };
  EXPECT_EQ(u"C:\\ProgramData\\Maker\\Inner", Find());
}

TEST_F(SettingsFolderTest, AFailingSearchForTheRootIsReportedOnceAndFallsBack) {
  platform_.fault = Fault(2, RuntimeError(51));
  EXPECT_EQ(kProgDir, Find());
  ExpectReports({{u"Application Error",
                  u"Internal error No. 51\r\nin Brindlex.modSystemFolders.FindSystemFolder at line"
                  u" 0"}});
}

TEST_F(SettingsFolderTest, EveryFailingCallLeavesAFolderOrNothing) {
  int failures = 0;
  bool failed = true;
  for (int call = 1; failed; ++call) {
    cache_ = {};
    platform_.disk.folders.erase(Text(kAppPath));
    platform_.disk.folders.erase(Text(kCompanyPath));
    platform_.fault = Fault(call, RuntimeError(51));
    const Text found = Find();
    failed = found != kAppPath;
    // The release cannot be known without the first call; every other failure falls back.
    EXPECT_EQ(call == 1 ? u"" : failed ? kProgDir : kAppPath, found) << call;
    EXPECT_EQ(found, cache_.appSettingsFolder);
    if (failed) ++failures;
  }
  platform_.fault = {};
  // The release, two of the shell, and three or four for each of three folders.
  EXPECT_EQ(1 + 2 + 2 + 1 + 4 + 4, failures);
  platform_.reports.clear();
}

class EnsureFolderTest : public AppFilesTest {};

TEST_F(EnsureFolderTest, MakesTheLastLevelOnly) {
  EXPECT_TRUE(EnsureFolder(platform_, u"C:\\Data\\New"));
  EXPECT_TRUE(HasFolder(u"C:\\Data\\New"));
  EXPECT_TRUE(EnsureFolder(platform_, u"C:\\Data\\New"));
  EXPECT_FALSE(EnsureFolder(platform_, u"C:\\Data\\One\\Two"));
  EXPECT_FALSE(HasFolder(u"C:\\Data\\One"));
  EXPECT_FALSE(EnsureFolder(platform_, u""));
  ExpectReports({});
}

TEST_F(EnsureFolderTest, AFileInItsPlaceIsNoFolder) {
  Put(u"C:\\Data\\f", "content");
  EXPECT_FALSE(EnsureFolder(platform_, u"C:\\Data\\f"));
  EXPECT_EQ("content", At(u"C:\\Data\\f").bytes);
}

TEST_F(EnsureFolderTest, AFolderThatAnotherMakesAtTheSameMomentIsThere) {
  platform_.disk.madeMeanwhile.insert(u"C:\\Data\\New");
  EXPECT_TRUE(EnsureFolder(platform_, u"C:\\Data\\New"));
  ExpectReports({});
}

TEST_F(EnsureFolderTest, IsFalseWhenAnyCallFails) {
  for (const int call : {1, 2, 3, 4}) {
    platform_.disk.folders.erase(u"C:\\Data\\New");
    platform_.fault = Fault(call, RuntimeError(70));
    EXPECT_FALSE(EnsureFolder(platform_, u"C:\\Data\\New")) << call;
  }
  platform_.fault = Fault(5, RuntimeError(70));
  EXPECT_TRUE(EnsureFolder(platform_, u"C:\\Data\\New"));
  ExpectReports({});
}

class SystemFolderTest : public AppFilesTest {};

TEST_F(SystemFolderTest, IsTheSystemsOwn) {
  EXPECT_EQ(u"C:\\Windows\\System32", GetWinSysDirFolder(platform_).GetText(u"Path"));
  ExpectReports({});
}

TEST_F(SystemFolderTest, AFailureIsReportedInALayoutOfItsOwn) {
  for (const int call : {1, 2}) {
    platform_.fault = Fault(call, RuntimeError(429));
    EXPECT_TRUE(GetWinSysDirFolder(platform_).IsNothing());
    ExpectReports(
        {{u"Error",
          u"Error locating WinSysDirFolder. Please install a complete copy of the program,"
          u" or contact its supplier for a complete installation disk.\r\n\r\nActiveX"
          u" component can't create object Error Number: 429 Line 0"}});
  }
}

}  // namespace
}  // namespace brindlex
