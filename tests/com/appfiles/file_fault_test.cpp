// Disks that fail underneath the scripting run time: its calls of the system made to fail, on real
// files.

#include "tests/com/appfiles/text_files_test.h"
#include "tests/com/support/patched_import.h"

namespace brindlex::testing {
namespace {

/// Bytes that the calls of one function still pass on before the function fails.
struct Budget {
  DWORD bytes;
  DWORD error;
};
Budget budget;

DWORD Allowed(DWORD wanted) { return std::min(wanted, budget.bytes); }

BOOL Failing() {
  SetLastError(budget.error);
  return FALSE;
}

BOOL WINAPI WriteSome(HANDLE file, LPCVOID bytes, DWORD count, LPDWORD written,
                      LPOVERLAPPED overlapped) {
  const BOOL done = WriteFile(file, bytes, Allowed(count), written, overlapped);
  if (done == FALSE || *written == count) {
    budget.bytes -= *written;
    return done;
  }
  budget.bytes = 0;
  // Some systems only say how much of it they have written.
  return budget.error == ERROR_SUCCESS ? TRUE : Failing();
}

BOOL WINAPI ReadSome(HANDLE file, LPVOID bytes, DWORD count, LPDWORD read,
                     LPOVERLAPPED overlapped) {
  if (budget.bytes == 0) return Failing();
  const BOOL done = ReadFile(file, bytes, Allowed(count), read, overlapped);
  budget.bytes -= *read;
  return done;
}

template <class Function>
void* AddressOf(Function* function) {
  return reinterpret_cast<void*>(function);
}

class FileFaultTest : public TextFilesTest {
 protected:
  static HMODULE RunTime() { return GetModuleHandleW(L"scrrun.dll"); }
};

TEST_F(FileFaultTest, ADiskThatFillsUpIsReportedWithTheWholeText) {
  const std::u16string text(100000, u'x');
  for (const DWORD error : {ERROR_DISK_FULL, ERROR_SUCCESS}) {
    for (const DWORD room : {0UL, 1UL, 4096UL, 99999UL}) {
      budget = {room, error};
      {
        const PatchedImport write(RunTime(), "WriteFile", AddressOf(WriteSome));
        EXPECT_FALSE(Save(PathOf(u"f"), text, true));
      }
      ExpectSavingBox(PathOf(u"f"), text, u"Disk full", 61, 3);
      EXPECT_EQ(room, std::filesystem::file_size(PathOf(u"f")));
    }
  }
  budget = {100000, ERROR_DISK_FULL};
  const PatchedImport write(RunTime(), "WriteFile", AddressOf(WriteSome));
  EXPECT_TRUE(Save(PathOf(u"f"), text));
  ExpectNoBox();
}

TEST_F(FileFaultTest, AReadThatFailsHalfWayYieldsNothing) {
  const std::u16string text(100000, u'x');
  ASSERT_TRUE(Save(PathOf(u"f"), text));
  for (const DWORD readable : {16384UL, 40000UL}) {
    budget = {readable, ERROR_IO_DEVICE};
    {
      const PatchedImport read(RunTime(), "ReadFile", AddressOf(ReadSome));
      EXPECT_EQ(u"", Read(PathOf(u"f"), true));
    }
    ExpectReadingBox(PathOf(u"f"), u"Device I/O error", 57, 2);
  }
  EXPECT_EQ(text, Read(PathOf(u"f")));
}

// ---- No scripting run time at all --------------------------------------------------------------

HRESULT WINAPI NotInstalled(REFCLSID, LPUNKNOWN, DWORD, REFIID, LPVOID* made) {
  *made = nullptr;
  return REGDB_E_CLASSNOTREG;
}

class NoRunTimeTest : public TextFilesTest {
 protected:
  static constexpr std::u16string_view kNone = u"ActiveX component can't create object";
  static constexpr std::u16string_view kNoSystemFolder =
      u"Error locating WinSysDirFolder. Please install a complete copy of the program, or contact"
      u" its supplier for a complete installation disk.\r\n\r\nActiveX component can't create "
      u"object"
      u" Error Number: 429 Line 0";

  void SetUp() override {
    TextFilesTest::SetUp();
    create_.emplace(Dll().Module(), "CoCreateInstance", AddressOf(NotInstalled));
  }
  void TearDown() override {
    create_.reset();
    TextFilesTest::TearDown();
  }

 private:
  std::optional<PatchedImport> create_;
};

TEST_F(NoRunTimeTest, TheSystemFolderIsReportedInALayoutOfItsOwn) {
  ComPtr<IDispatch> folder;
  EXPECT_EQ(S_OK, files_->GetWinSysDirFolder(folder.Receive()));
  EXPECT_FALSE(folder);
  ExpectBox(u"Error", kNoSystemFolder);
}

TEST_F(NoRunTimeTest, SavingIsReportedBeforeItsFirstLine) {
  EXPECT_FALSE(Save(PathOf(u"f"), u"the text", true));
  ExpectSavingBox(PathOf(u"f"), u"the text", kNone, 429, 0);
}

TEST_F(NoRunTimeTest, ReadingRaisesWhatItsReportLacks) {
  Bstr text;
  EXPECT_EQ(static_cast<HRESULT>(0x800A005B),
            files_->ReadTextFile(Bstr(PathOf(u"f")).Get(), VARIANT_TRUE, text.Receive()));
  EXPECT_EQ(nullptr, text.Get());
  ExpectBox(u"Error", kNoSystemFolder);
}

TEST_F(NoRunTimeTest, NoFolderIsMadeAndNoCopy) {
  VARIANT_BOOL exists = 1;
  EXPECT_EQ(S_OK, files_->EnsureFolder(Bstr(PathOf(u"a")).Get(), &exists));
  EXPECT_EQ(VARIANT_FALSE, exists);
  EXPECT_EQ(static_cast<HRESULT>(0x800A01AD), Copy(PathOf(u"f"), PathOf(u"g")));
  ExpectNoBox();
}

}  // namespace
}  // namespace brindlex::testing
