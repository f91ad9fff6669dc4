// Saves that never cost the old text: real files, real processes that are killed on the way.

#include <aclapi.h>
#include <sddl.h>

#include <atomic>
#include <fstream>
#include <thread>

#include "tests/com/appfiles/text_files_test.h"
#include "tests/com/objects/late_call.h"
#include "tests/com/support/apartment.h"
#include "tests/com/support/patched_import.h"
#include "tests/com/support/planned_calls.h"
#include "tests/hosts/start_process.h"

namespace brindlex::testing {
namespace {

std::u16string watchedFolder;
int seen = 0;

/// What another program can do to the temporary file while it is written.
BOOL WINAPI TryTheTemporaryFile(HANDLE file, LPCVOID bytes, DWORD count, LPDWORD written,
                                LPOVERLAPPED overlapped) {
  for (const auto& entry : std::filesystem::directory_iterator(watchedFolder)) {
    const std::wstring path = entry.path().wstring();
    if (path.find(L"f.~saving-") == std::wstring::npos) continue;
    ++seen;
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    for (const DWORD access : {DWORD{GENERIC_READ}, DWORD{GENERIC_WRITE}, DWORD{DELETE}}) {
      EXPECT_EQ(INVALID_HANDLE_VALUE,
                CreateFileW(path.c_str(), access, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr));
    }
    EXPECT_FALSE(MoveFileW(path.c_str(), (path + L" moved").c_str()));
    EXPECT_FALSE(DeleteFileW(path.c_str()));
  }
  return WriteFile(file, bytes, count, written, overlapped);
}

class SafeSaveTest : public TextFilesTest {
 protected:
  bool SaveSafely(std::u16string_view path, TextView text, bool quiet = false) {
    VARIANT_BOOL saved = 1;
    EXPECT_EQ(S_OK, files_->SaveTextFileSafely(Bstr(path).Get(), Bstr(text).Get(),
                                               quiet ? VARIANT_TRUE : VARIANT_FALSE, &saved));
    EXPECT_TRUE(saved == VARIANT_TRUE || saved == VARIANT_FALSE);
    return saved != VARIANT_FALSE;
  }

  void ExpectSafeBox(std::u16string_view path, std::u16string_view text,
                     std::u16string_view description, int number, int line) {
    ExpectBox(u"KX Error", u"There was a system error [FFS-SAFE-KX] saving a file: " +
                               std::u16string(path) + u"\r\n" + Ending(description, number, line) +
                               u"Trying to save: " + std::u16string(text));
  }

  /// The folder of the test holds so many files.
  void ExpectFiles(std::ptrdiff_t count) {
    const auto first = std::filesystem::directory_iterator(PathOf(u""));
    EXPECT_EQ(count, std::distance(begin(first), end(first)));
  }

  /// Removes what killed saves have left, and returns how many files that were.
  int RemoveTemporaryFiles() {
    std::vector<std::filesystem::path> found;
    for (const auto& entry : std::filesystem::directory_iterator(PathOf(u""))) {
      if (entry.path().wstring().find(L".~saving-") != std::wstring::npos) {
        found.push_back(entry.path());
      }
    }
    for (const auto& path : found) {
      SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
      EXPECT_TRUE(DeleteFileW(path.c_str()));
    }
    return static_cast<int>(found.size());
  }

  static std::wstring PermissionsOf(const std::u16string& path) {
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    wchar_t* text = nullptr;
    EXPECT_EQ(DWORD{ERROR_SUCCESS},
              GetNamedSecurityInfoW(const_cast<wchar_t*>(Wide(path)), SE_FILE_OBJECT,
                                    DACL_SECURITY_INFORMATION, nullptr, nullptr, nullptr, nullptr,
                                    &descriptor));
    EXPECT_TRUE(ConvertSecurityDescriptorToStringSecurityDescriptorW(
        descriptor, SDDL_REVISION_1, DACL_SECURITY_INFORMATION, &text, nullptr));
    std::wstring result = text;
    LocalFree(text);
    LocalFree(descriptor);
    return result;
  }
};

TEST_F(SafeSaveTest, TheTextIsTheWholeFileAndNothingIsLeftBesideIt) {
  for (const std::u16string& text :
       {std::u16string(u"one\r\ntwo\n"), std::u16string(3000000, u'x'), std::u16string()}) {
    EXPECT_TRUE(SaveSafely(PathOf(u"f"), text));
    EXPECT_EQ(text.size(), std::filesystem::file_size(PathOf(u"f")));
    if (!text.empty()) {
      EXPECT_EQ(text, Read(PathOf(u"f")));
    }
    ExpectFiles(1);
  }
  ExpectNoBox();
}

TEST_F(SafeSaveTest, WhatTheCodePageHoldsComesBackEqual) {
  std::u16string all;
  for (int byte = 1; byte < 256; ++byte) {
    const char bytes[] = {static_cast<char>(byte), '\0'};
    wchar_t wide[2];
    if (MultiByteToWideChar(CP_ACP, MB_ERR_INVALID_CHARS, bytes, 1, wide, 2) == 1) {
      all.push_back(static_cast<char16_t>(wide[0]));
    }
  }
  EXPECT_GE(all.size(), 127U);
  EXPECT_TRUE(SaveSafely(PathOf(u"f"), all));
  EXPECT_EQ(all, Read(PathOf(u"f")));
  ExpectNoBox();
}

TEST_F(SafeSaveTest, WhatTheCodePageLacksIsRefusedEvenWhereItHasALookAlike) {
  ASSERT_EQ(1252U, GetACP()) << "the rows are of this code page";
  ASSERT_TRUE(SaveSafely(PathOf(u"f"), u"old"));
  for (const char16_t unit : {u'\u0100', u'\u0416', u'\u2212', u'\u4E00', u'\uFF21', u'\xD800',
                              u'\xDC00', u'\uFFFD', u'\uFFFF'}) {
    const std::u16string text = {u'a', unit, u'z'};
    EXPECT_FALSE(SaveSafely(PathOf(u"f"), text));
    ExpectSafeBox(PathOf(u"f"), text, u"The character at position 2 is not in code page 1252", 5,
                  1);
    EXPECT_EQ(u"old", Read(PathOf(u"f")));
  }
  EXPECT_FALSE(SaveSafely(PathOf(u"f"), u"\xD83D\xDE00", true));
  ExpectSafeBox(PathOf(u"f"), u"\xD83D\xDE00",
                u"The character at position 1 is not in code page 1252", 5, 1);
}

TEST_F(SafeSaveTest, TheFirstCharacterThatIsLackingIsFoundInALongText) {
  const auto page = DecimalText(static_cast<std::int32_t>(GetACP()));
  for (const std::size_t place : {16383U, 16384U, 16385U, 40000U}) {
    // A pair that stands across the border between two parts, and half a pair.
    std::u16string text(50000, u'x');
    text[place] = u'\xD83D';
    EXPECT_FALSE(SaveSafely(PathOf(u"f"), text));
    ExpectSafeBox(PathOf(u"f"), text,
                  u"The character at position " +
                      DecimalText(static_cast<std::int32_t>(place + 1)) + u" is not in code page " +
                      page,
                  5, 1);
  }
  ExpectFiles(0);
}

TEST_F(SafeSaveTest, AttributesPermissionsAndTheTimeOfCreationStay) {
  for (const DWORD attributes : {FILE_ATTRIBUTE_READONLY, FILE_ATTRIBUTE_HIDDEN,
                                 FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN}) {
    ASSERT_TRUE(Save(PathOf(u"f"), u"old"));
    SetAttributes(PathOf(u"f"), attributes);
    EXPECT_TRUE(SaveSafely(PathOf(u"f"), u"new"));
    EXPECT_EQ(attributes, AttributesOf(PathOf(u"f")));
    EXPECT_EQ(u"new", Read(PathOf(u"f")));
    SetAttributes(PathOf(u"f"), FILE_ATTRIBUTE_NORMAL);
  }
  const auto before = PermissionsOf(PathOf(u"f"));
  EXPECT_TRUE(SaveSafely(PathOf(u"f"), u"newer"));
  EXPECT_EQ(before, PermissionsOf(PathOf(u"f")));
  ExpectFiles(1);
  ExpectNoBox();
}

TEST_F(SafeSaveTest, PermissionsThatDifferFromTheFoldersAreTakenOver) {
  ASSERT_TRUE(Save(PathOf(u"f"), u"old"));
  ASSERT_TRUE(Save(PathOf(u"g"), u"old"));
  PSECURITY_DESCRIPTOR own = nullptr;
  // The owner alone, without what the folder would hand down.
  ASSERT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorW(
      L"D:P(A;;FA;;;BA)(A;;FA;;;OW)(A;;FA;;;WD)", SDDL_REVISION_1, &own, nullptr));
  ASSERT_TRUE(SetFileSecurityW(Wide(PathOf(u"f")), DACL_SECURITY_INFORMATION, own));
  LocalFree(own);
  const auto before = PermissionsOf(PathOf(u"f"));
  ASSERT_NE(before, PermissionsOf(PathOf(u"g")));
  EXPECT_TRUE(SaveSafely(PathOf(u"f"), u"new"));
  EXPECT_EQ(before, PermissionsOf(PathOf(u"f")));
  EXPECT_EQ(u"new", Read(PathOf(u"f")));
}

TEST_F(SafeSaveTest, LongAndUnicodePathsAreServed) {
  const std::u16string longName(200, u'n');
  for (const std::u16string& name :
       {longName, std::u16string(u"\u65E5\u672C \u0416 \u00E9.txt"), std::u16string(u"a b.c.d"),
        std::u16string(69, u'e') + u"\xD83D\xDE00", std::u16string(80, u'\u65E5')}) {
    EXPECT_TRUE(SaveSafely(PathOf(name), u"old"));
    EXPECT_TRUE(SaveSafely(PathOf(name), u"new"));
    EXPECT_EQ(u"new", Read(PathOf(name)));
  }
  ExpectFiles(5);
  std::u16string deep = PathOf(u"");
  while (deep.size() < 300) {
    deep.append(u"folder\\");
    std::filesystem::create_directory(u"\\\\?\\" + deep);
  }
  EXPECT_TRUE(SaveSafely(deep + u"f", u"text"));
  EXPECT_TRUE(SaveSafely(u"\\\\?\\" + deep + u"f", u"texts"));
  EXPECT_EQ(5U, std::filesystem::file_size(u"\\\\?\\" + deep + u"f"));
  EXPECT_TRUE(DeleteFileW(Wide(u"\\\\?\\" + deep + u"f")));
  for (; deep.size() > PathOf(u"").size(); deep.resize(deep.rfind(u'\\', deep.size() - 2) + 1)) {
    EXPECT_TRUE(RemoveDirectoryW(Wide(u"\\\\?\\" + deep)));
  }
  ExpectNoBox();
}

TEST_F(SafeSaveTest, APathIsReadAsTheSystemReadsIt) {
  EXPECT_TRUE(SaveSafely(PathOf(u"a/../f"), u"text"));
  EXPECT_EQ(u"text", Read(PathOf(u"f")));
  ExpectFiles(1);
}

TEST_F(SafeSaveTest, OddPathsAreReportedWithTheirOwnError) {
  struct Row {
    std::u16string path;
    std::u16string_view description;
    int number;
  };
  constexpr std::u16string_view kBadName = u"Bad file name or number";
  constexpr std::u16string_view kDevice = u"Device unavailable";
  std::filesystem::create_directory(PathOf(u"folder"));
  for (const Row& row : {Row{u"", kNoPath, 76}, Row{PathOf(u"*.txt"), kBadName, 52},
                         Row{PathOf(u"a?b"), kBadName, 52}, Row{PathOf(u"no\\f"), kNoPath, 76},
                         Row{PathOf(u"folder"), kDenied, 70}, Row{PathOf(u"folder\\"), kDenied, 70},
                         Row{u"Q:\\f", kNoPath, 76}, Row{u"NUL", kDevice, 68},
                         Row{u"COM1", kDevice, 68}, Row{PathOf(u"f:s"), kBadName, 52}}) {
    EXPECT_FALSE(SaveSafely(row.path, u"x"));
    ExpectSafeBox(row.path, u"x", row.description, row.number, 2);
  }
  EXPECT_FALSE(SaveSafely(PathOf(u"folder"), u"x", true));
  ExpectNoBox();
  ExpectFiles(1);
}

TEST_F(SafeSaveTest, ADeviceIsNoFileInAnyFormOfPath) {
  for (const std::u16string path :
       {u"\\\\?\\NUL", u"\\\\?\\COM1", u"\\\\?\\C:\\NUL", u"\\\\?\\C:\\windows\\COM1",
        u"\\\\?\\pipe\\name", u"\\\\?\\PhysicalDrive0", u"\\\\?\\GLOBALROOT\\Device\\Null",
        u"\\\\?\\C:", u"\\\\?\\", u"\\\\.\\NUL", u"\\\\.\\pipe\\name", u"NUL", u"C:\\windows\\NUL",
        u"\\\\?\\c:\\nul", u"\\\\?\\unc\\server\\share\\NUL",
        u"\\\\?\\Volume{01234567-89ab-cdef-0123-456789abcdef}\\NUL"}) {
    EXPECT_FALSE(SaveSafely(path, u"x"));
    ExpectSafeBox(path, u"x", u"Device unavailable", 68, 2);
  }
}

TEST_F(SafeSaveTest, APathWithANulWritesNothingInEitherKindOfSave) {
  ASSERT_TRUE(Save(PathOf(u"f"), u"old"));
  // A message shows a path up to its NUL.
  std::u16string path = PathOf(u"f");
  path.append(u"\0.bak", 5);
  EXPECT_FALSE(SaveSafely(path, u"new"));
  ASSERT_EQ(1U, Boxes().Boxes().size());
  Boxes().Forget();
  EXPECT_FALSE(Save(path, u"new"));
  ASSERT_EQ(1U, Boxes().Boxes().size());
  Boxes().Forget();
  EXPECT_EQ(u"", Read(path));
  ASSERT_EQ(1U, Boxes().Boxes().size());
  Boxes().Forget();
  EXPECT_NE(S_OK, Copy(path, PathOf(u"g")));
  EXPECT_NE(S_OK, Copy(PathOf(u"f"), std::u16string(PathOf(u"g")).append(u"\0h", 2)));
  EXPECT_EQ(u"old", Read(PathOf(u"f")));
  ExpectFiles(1);
}

TEST_F(SafeSaveTest, AFileInUseKeepsItsTextAndItsAttributes) {
  ASSERT_TRUE(Save(PathOf(u"f"), u"old"));
  SetAttributes(PathOf(u"f"), FILE_ATTRIBUTE_READONLY);
  {
    const InUse other(Wide(PathOf(u"f")));
    EXPECT_FALSE(SaveSafely(PathOf(u"f"), u"new"));
    ExpectSafeBox(PathOf(u"f"), u"new", kDenied, 70, 6);
    EXPECT_FALSE(SaveSafely(PathOf(u"f"), u"new", true));
    ExpectNoBox();
  }
  EXPECT_EQ(u"old", Read(PathOf(u"f")));
  EXPECT_EQ(DWORD{FILE_ATTRIBUTE_READONLY}, AttributesOf(PathOf(u"f")));
  ExpectFiles(1);
  SetAttributes(PathOf(u"f"), FILE_ATTRIBUTE_NORMAL);
}

TEST_F(SafeSaveTest, SavesOfOneFileAtTheSameTimeAreNotMixedUp) {
  constexpr int kThreads = 4;
  constexpr int kSaves = 8;
  constexpr int kMostAttempts = 2000;
  ASSERT_TRUE(Save(PathOf(u"f"), std::u16string(70000, u'0')));
  std::atomic<int> saved = 0;
  std::atomic<int> read = 0;
  std::vector<std::thread> threads;
  for (int number = 1; number <= kThreads; ++number) {
    threads.emplace_back([&, number] {
      InApartment([&] {
        const auto files = Dll().New<_clsAppFiles, ::clsAppFiles>();
        const std::u16string text(70000, static_cast<char16_t>(u'0' + number));
        // A save that meets another at the renaming is denied without a report; how many are
        // depends on how the threads take turns.
        for (int attempt = 0, own = 0; own < kSaves && attempt < kMostAttempts; ++attempt) {
          VARIANT_BOOL done = VARIANT_FALSE;
          EXPECT_EQ(S_OK, files->SaveTextFileSafely(Bstr(PathOf(u"f")).Get(), Bstr(text).Get(),
                                                    VARIANT_TRUE, &done));
          if (done == VARIANT_TRUE) ++own, ++saved;
          std::ifstream file(std::filesystem::path(PathOf(u"f")), std::ios::binary);
          const std::string found(std::istreambuf_iterator<char>(file), {});
          if (found.empty()) continue;
          ++read;
          EXPECT_EQ(std::string(70000, found[0]), found);
        }
      });
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(kThreads * kSaves, saved);
  EXPECT_GT(read, 0);
  ExpectFiles(1);
  ExpectNoBox();
}

TEST_F(SafeSaveTest, TheTemporaryFileCanBeNeitherOpenedNorRenamedNorDeleted) {
  ASSERT_TRUE(Save(PathOf(u"f"), u"old"));
  watchedFolder = PathOf(u"");
  seen = 0;
  const PatchedImport write(Dll().Module(), "WriteFile",
                            reinterpret_cast<void*>(&TryTheTemporaryFile));
  EXPECT_TRUE(SaveSafely(PathOf(u"f"), u"new"));
  EXPECT_EQ(1, seen);
  EXPECT_EQ(u"new", Read(PathOf(u"f")));
  ExpectFiles(1);
  ExpectNoBox();
}

TEST_F(SafeSaveTest, EveryCallOfTheSystemThatFailsLeavesTheOldTextAndNothingElse) {
  for (const bool isReadOnly : {false, true}) {
    int call = 1;
    for (bool saved = false; !saved; ++call) {
      ASSERT_LT(call, 50);
      ASSERT_TRUE(Save(PathOf(u"f"), u"old"));
      if (isReadOnly) SetAttributes(PathOf(u"f"), FILE_ATTRIBUTE_READONLY);
      bool isReached = false;
      {
        const PlannedCalls calls(Dll().Module(), {call, Plan::Fate::kFail, ERROR_IO_DEVICE});
        saved = SaveSafely(PathOf(u"f"), u"new");
        isReached = PlannedCalls::Count() >= call;
      }
      // The time of creation is the only thing that may be missing.
      if (!saved) {
        ASSERT_EQ(1U, Boxes().Boxes().size());
        EXPECT_NE(std::u16string::npos, Boxes().Boxes()[0].text.find(u"Device I/O error"));
        Boxes().Forget();
      }
      EXPECT_EQ(saved ? u"new" : u"old", Read(PathOf(u"f"))) << call;
      EXPECT_EQ(isReadOnly ? DWORD{FILE_ATTRIBUTE_READONLY} : 0, AttributesOf(PathOf(u"f")))
          << call;
      ExpectFiles(1);
      SetAttributes(PathOf(u"f"), FILE_ATTRIBUTE_NORMAL);
      saved = saved && !isReached;
    }
    EXPECT_GT(call, 10);
  }
  ExpectNoBox();
}

TEST_F(SafeSaveTest, AFullDiskIsReportedAndTakesNothingAway) {
  ASSERT_TRUE(Save(PathOf(u"f"), u"old"));
  bool wasFull = false;
  for (int call = 1; call < 20; ++call) {
    const PlannedCalls calls(Dll().Module(), {call, Plan::Fate::kFail, ERROR_DISK_FULL});
    if (!SaveSafely(PathOf(u"f"), u"new")) {
      wasFull = wasFull || Boxes().Boxes().at(0).text.find(u"Disk full Error Number: 61 Line: 4") !=
                               std::u16string::npos;
      Boxes().Forget();
      EXPECT_EQ(u"old", Read(PathOf(u"f")));
    }
    ExpectFiles(1);
    ASSERT_TRUE(Save(PathOf(u"f"), u"old"));
  }
  EXPECT_TRUE(wasFull);
}

// ---- Killed on the way -------------------------------------------------------------------------

/// The status with which the program that saves ends.
DWORD RunEndedSave(const std::u16string& path, int call, bool isBefore, const std::wstring& text) {
  wchar_t own[MAX_PATH];
  GetModuleFileNameW(nullptr, own, MAX_PATH);
  std::wstring command = L"\"";
  command.append(std::filesystem::path(own).replace_filename(L"ended_save.exe").wstring());
  command.append(L"\" \"").append(path.begin(), path.end()).append(L"\" ");
  command.append(std::to_wstring(call)).append(isBefore ? L" before " : L" after ").append(text);
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  DWORD status = 0;
  if (!StartProcess(command, /*inheritsHandles=*/false, 0, startup, process)) {
    ADD_FAILURE() << GetLastError();
    return status;
  }
  constexpr DWORD kLongest = 60000;
  EXPECT_EQ(DWORD{WAIT_OBJECT_0}, WaitForSingleObject(process.hProcess, kLongest));
  GetExitCodeProcess(process.hProcess, &status);
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  return status;
}

TEST_F(SafeSaveTest, AProcessKilledAtAnyStepLeavesTheOldTextOrTheNew) {
  int oldTexts = 0;
  int newTexts = 0;
  int temporaryFiles = 0;
  for (const bool isReadOnly : {false, true}) {
    for (const bool isBefore : {true, false}) {
      DWORD status = PlannedCalls::kEnded;
      int call = 1;
      for (; status == PlannedCalls::kEnded; ++call) {
        ASSERT_TRUE(Save(PathOf(u"f"), u"old"));
        if (isReadOnly) SetAttributes(PathOf(u"f"), FILE_ATTRIBUTE_READONLY);
        status = RunEndedSave(PathOf(u"f"), call, isBefore, L"new");
        const std::u16string left = Read(PathOf(u"f"));
        ASSERT_TRUE(left == u"old" || left == u"new") << call;
        ++(left == u"old" ? oldTexts : newTexts);
        // What the killed one has left is in nobody's way.
        EXPECT_TRUE(SaveSafely(PathOf(u"f"), u"newer"));
        EXPECT_EQ(u"newer", Read(PathOf(u"f")));
        temporaryFiles += RemoveTemporaryFiles();
        ExpectFiles(1);
        SetAttributes(PathOf(u"f"), FILE_ATTRIBUTE_NORMAL);
      }
      EXPECT_EQ(0U, status);
      EXPECT_GT(call, 9);
    }
  }
  EXPECT_GT(oldTexts, 20);
  EXPECT_GE(newTexts, 2);
  // One is left between the call that creates it and the next, and from the call that keeps it to
  // the renaming: three calls. For a read-only file it is left from the call that makes it
  // read-only too: ten calls. Each moment comes twice, after one call and before the next.
  RecordProperty("temporary_files", temporaryFiles);
  EXPECT_LE(temporaryFiles, 2 * (1 + 3) + 2 * (1 + 10));
  ExpectNoBox();
}

TEST_F(SafeSaveTest, AProcessKilledWhileItMakesANewFileLeavesNoneOrAWholeOne) {
  for (const bool isBefore : {true, false}) {
    DWORD status = PlannedCalls::kEnded;
    for (int call = 1; status == PlannedCalls::kEnded; ++call) {
      status = RunEndedSave(PathOf(u"f"), call, isBefore, L"new");
      if (std::filesystem::exists(PathOf(u"f"))) {
        EXPECT_EQ(u"new", Read(PathOf(u"f")));
      }
      std::filesystem::remove(PathOf(u"f"));
      RemoveTemporaryFiles();
      ExpectFiles(0);
    }
    EXPECT_EQ(0U, status);
  }
  ExpectNoBox();
}

}  // namespace
}  // namespace brindlex::testing
