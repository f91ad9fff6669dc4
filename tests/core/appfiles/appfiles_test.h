#pragma once

#include <gmock/gmock.h>

#include <string>

#include "tests/core/core_test.h"

namespace brindlex {

/// A machine with a system folder, the folder C:\Data and the common application-data folder.
class AppFilesTest : public HostTest {
 protected:
  static constexpr TextView kRoot = u"C:\\ProgramData";

  AppFilesTest() {
    platform_.disk.folders = {u"C:", u"C:\\Data", u"C:\\Windows", u"C:\\Windows\\System32",
                              Text(kRoot)};
    platform_.shellFolders[35].path = kRoot;
    platform_.systemFolder =
        NewRecord(Adapter(), ListingClass(Adapter(), {{u"Path"}}), {u"C:\\Windows\\System32"});
  }

  void TearDown() override {
    EXPECT_EQ(0, platform_.disk.openObjects) << "files or streams that were never closed";
    platform_.systemFolder = {};
    HostTest::TearDown();
  }

  void Put(TextView path, std::string bytes, std::int32_t attributes = 32) {
    platform_.disk.files[Text(path)] = {std::move(bytes), attributes, false};
  }
  MemoryDisk::StoredFile& At(TextView path) { return platform_.disk.files.at(Text(path)); }
  bool Exists(TextView path) const { return platform_.disk.files.contains(Text(path)); }
  bool HasFolder(TextView path) const { return platform_.disk.folders.contains(Text(path)); }

  /// Exactly `reports` were shown since the last call.
  void ExpectReports(std::initializer_list<Report> reports) {
    EXPECT_THAT(platform_.reports, testing::ElementsAreArray(reports));
    platform_.reports.clear();
  }
};

}  // namespace brindlex
