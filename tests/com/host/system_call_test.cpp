// Single functions of the system that fail, or say something rare, and what the user has of it.

#include <winternl.h>

#include <fstream>

#include "tests/com/appfiles/text_files_test.h"
#include "tests/com/objects/late_call.h"
#include "tests/com/objects/scripted_object.h"
#include "tests/com/support/apartment.h"
#include "tests/com/support/patched_import.h"
#include "tests/com/support/report_pane.h"

namespace brindlex::testing {
namespace {

using Units = std::u16string;

template <class Function>
void* AddressOf(Function* function) {
  return reinterpret_cast<void*>(function);
}

/// What the stand-ins fail with, and how often one has been called.
DWORD code = ERROR_SUCCESS;
int calls = 0;

BOOL Failing() {
  ++calls;
  SetLastError(code);
  return FALSE;
}

// ---- Safe saves on odd file systems ------------------------------------------------------------

class OddFileTest : public TextFilesTest {
 protected:
  void SetUp() override {
    TextFilesTest::SetUp();
    calls = 0;
    ASSERT_TRUE(Save(PathOf(u"f"), u"old"));
  }

  bool SaveSafely(const Units& path) {
    VARIANT_BOOL saved = VARIANT_FALSE;
    EXPECT_EQ(S_OK, files_->SaveTextFileSafely(Bstr(path).Get(), Bstr(u"new").Get(), VARIANT_FALSE,
                                               &saved));
    return saved != VARIANT_FALSE;
  }

  /// Expects one box, which reports this.
  void ExpectBoxOf(std::u16string_view description, int number, int line) {
    ASSERT_EQ(1U, Boxes().Boxes().size());
    EXPECT_NE(Units::npos, Boxes().Boxes()[0].text.find(Ending(description, number, line)))
        << ::testing::PrintToString(Boxes().Boxes()[0].text);
    Boxes().Forget();
  }
};

BOOL WINAPI NoPermissions(HANDLE, SECURITY_INFORMATION, PSECURITY_DESCRIPTOR, DWORD, LPDWORD) {
  return Failing();
}

BOOL WINAPI NoPermissionsToSet(HANDLE, SECURITY_INFORMATION, PSECURITY_DESCRIPTOR) {
  return Failing();
}

TEST_F(OddFileTest, AFileSystemWithoutPermissionsIsServed) {
  for (const DWORD says :
       {ERROR_NOT_SUPPORTED, ERROR_INVALID_FUNCTION, ERROR_CALL_NOT_IMPLEMENTED}) {
    code = says;
    calls = 0;
    {
      const PatchedImport get(Dll().Module(), "GetKernelObjectSecurity", AddressOf(NoPermissions));
      EXPECT_TRUE(SaveSafely(PathOf(u"f")));
    }
    {
      const PatchedImport set(Dll().Module(), "SetKernelObjectSecurity",
                              AddressOf(NoPermissionsToSet));
      EXPECT_TRUE(SaveSafely(PathOf(u"f")));
    }
    EXPECT_EQ(2, calls);
    EXPECT_EQ(u"new", Read(PathOf(u"f")));
  }
  ExpectNoBox();
}

TEST_F(OddFileTest, PermissionsThatMayNotBeReadOrGivenAreReported) {
  code = ERROR_ACCESS_DENIED;
  {
    const PatchedImport get(Dll().Module(), "GetKernelObjectSecurity", AddressOf(NoPermissions));
    EXPECT_FALSE(SaveSafely(PathOf(u"f")));
  }
  ExpectBoxOf(kDenied, 70, 3);
  const PatchedImport set(Dll().Module(), "SetKernelObjectSecurity", AddressOf(NoPermissionsToSet));
  EXPECT_FALSE(SaveSafely(PathOf(u"f")));
  ExpectBoxOf(kDenied, 70, 3);
  EXPECT_EQ(u"old", Read(PathOf(u"f")));
}

HANDLE WINAPI OpenNothing(LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE) {
  Failing();
  return INVALID_HANDLE_VALUE;
}

TEST_F(OddFileTest, PermissionsThatNoRoomIsEnoughForAreReported) {
  code = ERROR_INSUFFICIENT_BUFFER;
  {
    const PatchedImport get(Dll().Module(), "GetKernelObjectSecurity", AddressOf(NoPermissions));
    EXPECT_FALSE(SaveSafely(PathOf(u"f")));
  }
  EXPECT_EQ(1, calls);
  EXPECT_EQ(1U, Boxes().Boxes().size());
  Boxes().Forget();
  EXPECT_EQ(u"old", Read(PathOf(u"f")));
}

// ---- Files that are more, or less, than files --------------------------------------------------

DWORD claimed = 0;

/// Of files; the attributes of a folder stay.
BOOL WINAPI ClaimAttributes(HANDLE file, LPBY_HANDLE_FILE_INFORMATION information) {
  const BOOL done = GetFileInformationByHandle(file, information);
  if ((information->dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
    information->dwFileAttributes |= claimed;
  }
  return done;
}

ULONG claimedTag = 0;

NTSTATUS NTAPI ClaimTag(HANDLE, PIO_STATUS_BLOCK, PVOID information, ULONG,
                        FILE_INFORMATION_CLASS) {
  ++calls;
  static_cast<FILE_ATTRIBUTE_TAG_INFORMATION*>(information)->ReparseTag = claimedTag;
  return static_cast<NTSTATUS>(code);
}

TEST_F(OddFileTest, ALinkIsNeitherFollowedNorReplaced) {
  claimed = FILE_ATTRIBUTE_REPARSE_POINT;
  code = ERROR_SUCCESS;
  const PatchedImport attributes(Dll().Module(), "GetFileInformationByHandle",
                                 AddressOf(ClaimAttributes));
  const PatchedImport tag(Dll().Module(), "NtQueryInformationFile", AddressOf(ClaimTag));
  // IO_REPARSE_TAG_APPEXECLINK and IO_REPARSE_TAG_LX_SYMLINK are the last two.
  for (const ULONG link : {ULONG{IO_REPARSE_TAG_SYMLINK}, ULONG{IO_REPARSE_TAG_MOUNT_POINT},
                           ULONG{0xA000001D}, ULONG{0xA0000019}}) {
    claimedTag = link;
    EXPECT_FALSE(SaveSafely(PathOf(u"f")));
    ExpectBoxOf(kDenied, 70, 2);
  }
  EXPECT_EQ(4, calls);
  EXPECT_EQ(u"old", Read(PathOf(u"f")));
}

TEST_F(OddFileTest, AFileThatIsStoredElsewhereIsReplacedAsAnyOther) {
  claimed = FILE_ATTRIBUTE_REPARSE_POINT;
  code = ERROR_SUCCESS;
  const PatchedImport attributes(Dll().Module(), "GetFileInformationByHandle",
                                 AddressOf(ClaimAttributes));
  const PatchedImport tag(Dll().Module(), "NtQueryInformationFile", AddressOf(ClaimTag));
  // IO_REPARSE_TAG_HSM, IO_REPARSE_TAG_DEDUP, IO_REPARSE_TAG_CLOUD, IO_REPARSE_TAG_WOF.
  for (const ULONG storage : {0xC0000004U, 0x80000013U, 0x9000001AU, 0x80000017U}) {
    claimedTag = storage;
    EXPECT_TRUE(SaveSafely(PathOf(u"f")));
    EXPECT_EQ(u"new", Read(PathOf(u"f")));
    ASSERT_TRUE(Save(PathOf(u"f"), u"old"));
  }
  ExpectNoBox();
}

TEST_F(OddFileTest, AReparsePointThatTheSystemCannotDescribeIsRefused) {
  claimed = FILE_ATTRIBUTE_REPARSE_POINT;
  code = static_cast<DWORD>(HRESULT_FROM_WIN32(ERROR_IO_DEVICE));
  const PatchedImport attributes(Dll().Module(), "GetFileInformationByHandle",
                                 AddressOf(ClaimAttributes));
  const PatchedImport tag(Dll().Module(), "NtQueryInformationFile", AddressOf(ClaimTag));
  EXPECT_FALSE(SaveSafely(PathOf(u"f")));
  ExpectBoxOf(u"Device I/O error", 57, 2);
  EXPECT_EQ(u"old", Read(PathOf(u"f")));
}

TEST_F(OddFileTest, ADeviceIsNoFileToReplace) {
  claimed = FILE_ATTRIBUTE_DEVICE;
  const PatchedImport attributes(Dll().Module(), "GetFileInformationByHandle",
                                 AddressOf(ClaimAttributes));
  EXPECT_FALSE(SaveSafely(PathOf(u"f")));
  ExpectBoxOf(u"Device unavailable", 68, 2);
}

DWORD WINAPI ClaimPipe(HANDLE) { return FILE_TYPE_PIPE; }

TEST_F(OddFileTest, APipeIsNoFileToReplace) {
  const PatchedImport type(Dll().Module(), "GetFileType", AddressOf(ClaimPipe));
  EXPECT_FALSE(SaveSafely(PathOf(u"f")));
  ExpectBoxOf(u"Device unavailable", 68, 2);
}

// ---- Names that are taken ----------------------------------------------------------------------

int drawn = 0;

/// The same few numbers in the same order, as if somebody had guessed them.
BOOLEAN NTAPI DrawInOrder(void* bytes, ULONG size) {
  FillMemory(bytes, size, static_cast<BYTE>(++drawn));
  return TRUE;
}

Units TemporaryNumber(int number) {
  Units name = u"f.~saving-";
  for (int digit = 0; digit < 16; ++digit) {
    name.push_back(static_cast<char16_t>(digit % 2 == 0 ? u'0' + number : u'0'));
  }
  return name;
}

TEST_F(OddFileTest, NamesThatStrangersHaveTakenAreLeftToThem) {
  drawn = 0;
  ASSERT_TRUE(Save(PathOf(TemporaryNumber(1)), u"a stranger's"));
  SetAttributes(PathOf(TemporaryNumber(1)), FILE_ATTRIBUTE_READONLY);
  std::filesystem::create_directory(PathOf(TemporaryNumber(2)));
  ASSERT_TRUE(Save(PathOf(TemporaryNumber(3)), u"in use"));
  {
    const InUse other(Wide(PathOf(TemporaryNumber(3))));
    const PatchedImport random(Dll().Module(), "SystemFunction036", AddressOf(DrawInOrder));
    EXPECT_TRUE(SaveSafely(PathOf(u"f")));
  }
  EXPECT_EQ(4, drawn);
  EXPECT_EQ(u"new", Read(PathOf(u"f")));
  EXPECT_EQ(u"a stranger's", Read(PathOf(TemporaryNumber(1))));
  EXPECT_EQ(DWORD{FILE_ATTRIBUTE_READONLY}, AttributesOf(PathOf(TemporaryNumber(1))));
  EXPECT_TRUE(std::filesystem::is_directory(PathOf(TemporaryNumber(2))));
  EXPECT_EQ(u"in use", Read(PathOf(TemporaryNumber(3))));
  EXPECT_FALSE(std::filesystem::exists(PathOf(TemporaryNumber(4))));
  SetAttributes(PathOf(TemporaryNumber(1)), FILE_ATTRIBUTE_NORMAL);
  ExpectNoBox();
}

TEST_F(OddFileTest, WhoTakesEveryNameIsReportedInTheEnd) {
  drawn = 0;
  for (int number = 1; number < 9; ++number) {
    ASSERT_TRUE(Save(PathOf(TemporaryNumber(number)), u"a stranger's"));
  }
  const PatchedImport random(Dll().Module(), "SystemFunction036", AddressOf(DrawInOrder));
  EXPECT_FALSE(SaveSafely(PathOf(u"f")));
  ExpectBoxOf(u"File already exists", 58, 2);
  EXPECT_EQ(8, drawn);
  EXPECT_EQ(u"old", Read(PathOf(u"f")));
}

// ---- Folders that change while a file is saved -------------------------------------------------

Units movedFolder;
Units movedTo;

/// Lets somebody else put another folder in the place of this one before the name is drawn.
BOOLEAN NTAPI DrawLate(void* bytes, ULONG size) {
  std::filesystem::rename(movedFolder, movedTo);
  std::filesystem::create_directory(movedFolder);
  std::ofstream(std::filesystem::path(movedFolder + u"\\f")) << "planted";
  return DrawInOrder(bytes, size);
}

TEST_F(OddFileTest, AFolderThatIsSwappedMeanwhileGetsNothing) {
  movedFolder = PathOf(u"folder");
  movedTo = PathOf(u"moved");
  std::filesystem::create_directory(movedFolder);
  ASSERT_TRUE(Save(movedFolder + u"\\f", u"old"));
  const PatchedImport random(Dll().Module(), "SystemFunction036", AddressOf(DrawLate));
  // Wine renames by path after all, and then finds nothing to rename.
  const bool saved = SaveSafely(movedFolder + u"\\f");
  EXPECT_EQ(saved ? 0U : 1U, Boxes().Boxes().size());
  Boxes().Forget();
  EXPECT_EQ(saved ? u"new" : u"old", Read(movedTo + u"\\f"));
  EXPECT_EQ(u"planted", Read(movedFolder + u"\\f"));
  const auto first = std::filesystem::directory_iterator(movedFolder);
  EXPECT_EQ(1, std::distance(begin(first), end(first)));
}

NTSTATUS NTAPI RenameByPathOnly(HANDLE file, PIO_STATUS_BLOCK block, PVOID information, ULONG size,
                                FILE_INFORMATION_CLASS kind) {
  constexpr int kRename = 10;
  if (kind == kRename &&
      static_cast<FILE_RENAME_INFORMATION*>(information)->RootDirectory != nullptr) {
    ++calls;
    return static_cast<NTSTATUS>(code);
  }
  return NtSetInformationFile(file, block, information, size, kind);
}

TEST_F(OddFileTest, AFileSystemThatRenamesByPathOnlyIsServed) {
  const PatchedImport set(Dll().Module(), "NtSetInformationFile", AddressOf(RenameByPathOnly));
  for (const DWORD says : {ERROR_INVALID_PARAMETER, ERROR_NOT_SUPPORTED, ERROR_INVALID_FUNCTION,
                           ERROR_CALL_NOT_IMPLEMENTED}) {
    code = static_cast<DWORD>(HRESULT_FROM_WIN32(says));
    EXPECT_TRUE(SaveSafely(PathOf(u"f")));
    EXPECT_EQ(u"new", Read(PathOf(u"f")));
    ASSERT_TRUE(Save(PathOf(u"f"), u"old"));
  }
  EXPECT_EQ(4, calls);
  code = static_cast<DWORD>(HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED));
  EXPECT_FALSE(SaveSafely(PathOf(u"f")));
  ExpectBoxOf(kDenied, 70, 6);
  EXPECT_EQ(u"old", Read(PathOf(u"f")));
}

// ---- Writing -----------------------------------------------------------------------------------

BOOL WINAPI WriteNothing(HANDLE, LPCVOID, DWORD, LPDWORD written, LPOVERLAPPED) {
  *written = 0;
  return TRUE;
}

TEST_F(OddFileTest, AWriteThatWritesNothingIsAFullDisk) {
  const PatchedImport write(Dll().Module(), "WriteFile", AddressOf(WriteNothing));
  EXPECT_FALSE(SaveSafely(PathOf(u"f")));
  ExpectBoxOf(u"Disk full", 61, 4);
  EXPECT_EQ(u"old", Read(PathOf(u"f")));
}

int WINAPI ConvertNothing(UINT, DWORD, LPCWCH, int, LPSTR, int, LPCCH, LPBOOL) { return Failing(); }

TEST_F(OddFileTest, ATextThatTheSystemCannotConvertIsReportedNotSavedEmpty) {
  code = ERROR_INVALID_PARAMETER;
  const PatchedImport convert(Dll().Module(), "WideCharToMultiByte", AddressOf(ConvertNothing));
  EXPECT_FALSE(SaveSafely(PathOf(u"f")));
  ExpectBoxOf(u"Invalid procedure call or argument", 5, 1);
  EXPECT_EQ(u"old", Read(PathOf(u"f")));
  EXPECT_FALSE(Save(PathOf(u"f"), u"caf\u00E9"));
  ExpectBoxOf(u"Invalid procedure call or argument", 5, 3);
  EXPECT_EQ(2, calls);
}

TEST_F(OddFileTest, APathWithoutANameIsNotFound) {
  EXPECT_FALSE(SaveSafely(PathOf(u"no such folder\\")));
  ASSERT_EQ(1U, Boxes().Boxes().size());
  Boxes().Forget();
  EXPECT_FALSE(SaveSafely(u"\\\\no-such-server.invalid\\share\\f"));
  ASSERT_EQ(1U, Boxes().Boxes().size());
  EXPECT_NE(Units::npos, Boxes().Boxes()[0].text.find(u"\\\\no-such-server.invalid\\share\\f"));
  Boxes().Forget();
}

TEST_F(OddFileTest, AnErrorThatNoHostKnowsIsTheSystemsOwn) {
  code = ERROR_CANCELLED;
  const PatchedImport open(Dll().Module(), "CreateFileW", AddressOf(OpenNothing));
  EXPECT_FALSE(SaveSafely(PathOf(u"f")));
  ExpectBoxOf(u"Automation error", HRESULT_FROM_WIN32(ERROR_CANCELLED), 2);
}

// ---- A scripting run time that misbehaves ------------------------------------------------------

IDispatch* fileSystem = nullptr;

HRESULT WINAPI MakeScripted(REFCLSID, LPUNKNOWN, DWORD, REFIID, LPVOID* made) {
  fileSystem->AddRef();
  *made = fileSystem;
  return S_OK;
}

HRESULT WINAPI MakeNone(REFCLSID, LPUNKNOWN, DWORD, REFIID, LPVOID* made) {
  *made = nullptr;
  return E_FAIL;
}

class OddRunTimeTest : public TextFilesTest {
 protected:
  void SetUp() override {
    TextFilesTest::SetUp();
    stream_ = ScriptedObject::New();
    stream_->Method(u"AtEndOfStream", [](const Arguments&) { return Of(VT_BOOL, VARIANT_TRUE); });
    stream_->Method(u"Read", [](const Arguments&) { return Variant(u"part"); });
    stream_->Method(u"Write", [](const Arguments&) { return Variant(); });
    stream_->Property(u"Path", u"C:\\windows\\system32");
    stream_->Method(u"Close", [](const Arguments&) { return Variant(); });
    run_time_ = ScriptedObject::New();
    yields_ = stream_.Get();
    for (const auto* const name :
         {u"OpenTextFile", u"CreateTextFile", u"GetSpecialFolder", u"GetFile"}) {
      run_time_->Method(name, [this](const Arguments&) { return Variant::OfObject(yields_); });
    }
    run_time_->Method(u"FileExists", [](const Arguments&) { return Of(VT_BOOL, VARIANT_FALSE); });
    fileSystem = run_time_.Get();
    create_.emplace(Dll().Module(), "CoCreateInstance", AddressOf(MakeScripted));
  }

  void TearDown() override {
    create_.reset();
    stream_ = nullptr;
    run_time_ = nullptr;
    EXPECT_EQ(0, ScriptedObject::Alive());
    TextFilesTest::TearDown();
  }

  ScriptedMember& Member(const char16_t* member) { return (*stream_.Get())[member]; }

  void ExpectOneBox(std::u16string_view part) {
    ASSERT_EQ(1U, Boxes().Boxes().size());
    EXPECT_NE(Units::npos, Boxes().Boxes()[0].text.find(part))
        << ::testing::PrintToString(Boxes().Boxes()[0].text);
    Boxes().Forget();
  }

  ComPtr<ScriptedObject> stream_;
  ComPtr<ScriptedObject> run_time_;
  /// What stands for every file, folder and stream.
  IDispatch* yields_ = nullptr;
  std::optional<PatchedImport> create_;
};

TEST_F(OddRunTimeTest, NothingInThePlaceOfAnObjectIsReported) {
  yields_ = nullptr;
  EXPECT_FALSE(Save(PathOf(u"f"), u"text"));
  ExpectOneBox(u"Object variable or With block variable not set Error Number: 91");
  ComPtr<IDispatch> folder;
  EXPECT_EQ(S_OK, files_->GetWinSysDirFolder(folder.Receive()));
  EXPECT_FALSE(folder);
  ExpectOneBox(u"Error Number: 91");
}

TEST_F(OddRunTimeTest, AReadThatPassesForTheEndIsTheDevicesError) {
  EXPECT_EQ(u"part", Read(PathOf(u"f")));
  struct Left {
    DWORD code;
    std::u16string_view description;
  };
  int reads = 0;
  Member(u"AtEndOfStream").body = [&reads](const Arguments&) {
    return Of(VT_BOOL, ++reads % 2 == 0 ? VARIANT_TRUE : VARIANT_FALSE);
  };
  for (const Left& left : {Left{ERROR_CRC, u"Device I/O error Error Number: 57"},
                           Left{ERROR_NOT_READY, u"Disk not ready Error Number: 71"},
                           Left{ERROR_LOCK_VIOLATION, u"Permission denied Error Number: 70"}}) {
    for (const auto* const member : {u"Read", u"AtEndOfStream"}) {
      Member(member).whenRead = [&left] { SetLastError(left.code); };
      EXPECT_EQ(u"", Read(PathOf(u"f")));
      ExpectOneBox(left.description);
      Member(member).whenRead = nullptr;
    }
  }
}

TEST_F(OddRunTimeTest, AWriteThatFailsWithoutAReasonIsAFullDiskAndOtherwiseItsReason) {
  Member(u"Write").get = {E_FAIL};
  EXPECT_FALSE(Save(PathOf(u"f"), u"text"));
  ExpectOneBox(u"Disk full Error Number: 61");
  Member(u"Write").whenRead = [] { SetLastError(ERROR_NOT_READY); };
  EXPECT_FALSE(Save(PathOf(u"f"), u"text"));
  ExpectOneBox(u"Disk not ready Error Number: 71");
  Member(u"Write").get = {E_ACCESSDENIED};
  EXPECT_FALSE(Save(PathOf(u"f"), u"text"));
  ExpectOneBox(u"Permission denied Error Number: 70");
}

TEST_F(OddRunTimeTest, AFailureWithoutANumberReachesTheHostAsItIs) {
  create_.reset();
  create_.emplace(Dll().Module(), "CoCreateInstance", AddressOf(MakeNone));
  EXPECT_EQ(E_FAIL, Copy(PathOf(u"f"), PathOf(u"g")));
  ExpectNoBox();
}

// ---- Registration and type information ---------------------------------------------------------

LSTATUS WINAPI RefuseTheSecond(HKEY root, LPCWSTR path, DWORD reserved, LPWSTR name, DWORD options,
                               REGSAM rights, LPSECURITY_ATTRIBUTES security, PHKEY key,
                               LPDWORD disposition) {
  if (++calls == 2) return ERROR_ACCESS_DENIED;
  return RegCreateKeyExW(root, path, reserved, name, options, rights, security, key, disposition);
}

class OddSystemTest : public ComTest {
 protected:
  void SetUp() override {
    ComTest::SetUp();
    calls = 0;
  }
};

TEST_F(OddSystemTest, TheOtherWidthsKeysThatMayNotBeOpenedEndTheRegistration) {
  const PatchedImport create(Dll().Module(), "RegCreateKeyExW", AddressOf(RefuseTheSecond));
  EXPECT_EQ(E_ACCESSDENIED, Dll().Register());
  EXPECT_EQ(2, calls);
}

DWORD WINAPI NameInTwoSteps(HMODULE module, LPWSTR path, DWORD size) {
  return ++calls == 1 ? size : GetModuleFileNameW(module, path, size);
}

DWORD WINAPI NameOfNone(HMODULE, LPWSTR, DWORD) {
  SetLastError(ERROR_MOD_NOT_FOUND);
  return 0;
}

TEST_F(OddSystemTest, TypeInformationIsFoundUnderALongPathToo) {
  const auto collection = NewCollection();
  ComPtr<ITypeInfo> info;
  {
    const PatchedImport name(Dll().Module(), "GetModuleFileNameW", AddressOf(NameInTwoSteps));
    EXPECT_EQ(S_OK, collection->GetTypeInfo(0, LOCALE_USER_DEFAULT, info.Receive()));
  }
  EXPECT_TRUE(info);
  EXPECT_EQ(2, calls);
  info = nullptr;
  const PatchedImport name(Dll().Module(), "GetModuleFileNameW", AddressOf(NameOfNone));
  EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND),
            collection->GetTypeInfo(0, LOCALE_USER_DEFAULT, info.Receive()));
  EXPECT_FALSE(info);
}

TEST_F(OddSystemTest, AResultThatNobodyWantsIsLetGoOf) {
  const auto creator = Dll().New<_clsCreateTextData, ::clsCreateTextData>();
  DISPPARAMS none{};
  const DISPID make = IdsOf(*creator.Get(), {L"GetNewObject"}).at(0);
  EXPECT_EQ(S_OK, creator->Invoke(make, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &none,
                                  nullptr, nullptr, nullptr));
}

HMODULE WINAPI LoadNothing(LPCWSTR) {
  ++calls;
  return nullptr;
}

TEST_F(OddSystemTest, AShellThatCouldNotBeLoadedIsLookedForAgain) {
  const auto environment = Dll().New<_clsEnvironment, ::clsEnvironment>();
  constexpr long kCommonFolder = 35;
  const auto find = [&environment] {
    BSTR path = nullptr;
    EXPECT_EQ(S_OK, environment->FindSystemFolder(kCommonFolder, &path));
    return Taken(path);
  };
  {
    const PatchedImport load(Dll().Module(), "LoadLibraryW", AddressOf(LoadNothing));
    EXPECT_EQ(u"", find());
    EXPECT_EQ(1, calls);
  }
  EXPECT_EQ(u"C:\\ProgramData", find());
  ExpectBlocksLeft(1);
}

TEST_F(OddSystemTest, AThreadKeepsItsHandOverWhenItsListenerGoes) {
  const auto files = Dll().New<_clsAppFiles, ::clsAppFiles>();
  const auto environment = Dll().New<_clsEnvironment, ::clsEnvironment>();
  for (const auto& [application, company] :
       {std::pair{u"", u""}, std::pair{u"a", u""}, std::pair{u"", u"b"}}) {
    InApartment([&, application = application, company = company] {
      const auto listener = ScriptedObject::New();
      EXPECT_EQ(S_OK, environment->putref_ReportListener(nullptr));
      ComPtr<IDispatch> none;
      EXPECT_EQ(S_OK, files->StartUp(nullptr, Bstr(application).Get(), Bstr(company).Get()));
      EXPECT_EQ(S_OK, environment->get_ReportListener(none.Receive()));
      EXPECT_FALSE(none);
      EXPECT_EQ(S_OK, environment->putref_ReportListener(listener.Get()));
      EXPECT_EQ(S_OK, environment->putref_ReportListener(nullptr));
    });
    EXPECT_EQ(0, ScriptedObject::Alive());
  }
}

// ---- The error channel and the report's window -------------------------------------------------

Units written;

BOOL WINAPI ClaimConsole(HANDLE, LPDWORD mode) {
  *mode = ENABLE_PROCESSED_OUTPUT;
  return TRUE;
}

BOOL WINAPI WriteUnits(HANDLE, const VOID* units, DWORD count, LPDWORD done, LPVOID) {
  written.append(static_cast<const char16_t*>(units), count);
  // A pair of surrogates is never torn.
  EXPECT_FALSE(!written.empty() && IS_HIGH_SURROGATE(written.back()));
  *done = count;
  return TRUE;
}

HWINSTA WINAPI NoStation() { return nullptr; }

TEST_F(OddSystemTest, AReportThatNobodySeesIsWrittenToAConsoleUnitByUnit) {
  const PatchedImport station(Dll().Module(), "GetProcessWindowStation", AddressOf(NoStation));
  const PatchedImport mode(Dll().Module(), "GetConsoleMode", AddressOf(ClaimConsole));
  const PatchedImport write(Dll().Module(), "WriteConsoleW", AddressOf(WriteUnits));
  const auto files = Dll().New<_clsAppFiles, ::clsAppFiles>();
  Units text;
  for (int pair = 0; pair < 700; ++pair) text += u"\U0001F600";
  for (const std::u16string_view before : {u"", u"x"}) {
    written.clear();
    VARIANT_BOOL saved = VARIANT_TRUE;
    EXPECT_EQ(S_OK, files->SaveTextFile(Bstr(u"C:\\no such folder\\f").Get(),
                                        Bstr(Units(before) + text).Get(), VARIANT_FALSE, &saved));
    EXPECT_EQ(VARIANT_FALSE, saved);
    EXPECT_TRUE(written.starts_with(u"KX Error: There was a system error"));
    EXPECT_TRUE(written.ends_with(Units(before) + text + u"\r\n"));
  }
}

HGLOBAL WINAPI NoMemory(UINT, SIZE_T) { return nullptr; }
WINBOOL WINAPI NoClipboard(HWND) { return FALSE; }
HANDLE WINAPI TakeNothing(UINT, HANDLE) {
  ++calls;
  return nullptr;
}
SHORT WINAPI HoldControl(int key) { return key == VK_CONTROL ? SHORT{-1} : SHORT{0}; }
HWND WINAPI MakeNoPane(DWORD extended, LPCWSTR name, LPCWSTR text, DWORD style, int x, int y,
                       int width, int height, HWND parent, HMENU menu, HINSTANCE instance,
                       LPVOID data) {
  if ((style & WS_VSCROLL) != 0) return nullptr;
  return CreateWindowExW(extended, name, text, style, x, y, width, height, parent, menu, instance,
                         data);
}
WINBOOL WINAPI EndLater(HWND window, INT_PTR result) {
  return ++calls == 1 ? FALSE : EndDialog(window, result);
}

class OddWindowTest : public OddSystemTest {
 protected:
  /// Shows a report that no message box has room for; what is on the screen runs `meanwhile`.
  Units ShowLong(std::function<void(HWND pane)> meanwhile) {
    Boxes().whileNextIsOpen = [&meanwhile] { meanwhile(ReportPane()); };
    VARIANT_BOOL saved = VARIANT_TRUE;
    const auto files = Dll().New<_clsAppFiles, ::clsAppFiles>();
    EXPECT_EQ(S_OK, files->SaveTextFile(Bstr(u"C:\\no such folder\\f").Get(),
                                        Bstr(Units(5000, u'x')).Get(), VARIANT_FALSE, &saved));
    EXPECT_EQ(1U, Boxes().Boxes().size());
    Units text = Boxes().Boxes().empty() ? Units() : Boxes().Boxes()[0].text;
    Boxes().Forget();
    return text;
  }

  static Units OnClipboard() {
    EXPECT_TRUE(OpenClipboard(nullptr));
    auto* const data = GetClipboardData(CF_UNICODETEXT);
    Units text;
    if (data != nullptr) {
      text = static_cast<const char16_t*>(GlobalLock(data));
      GlobalUnlock(data);
    }
    CloseClipboard();
    return text;
  }

  static void ClearClipboard() {
    EXPECT_TRUE(OpenClipboard(nullptr));
    EXPECT_TRUE(EmptyClipboard());
    CloseClipboard();
  }
};

TEST_F(OddWindowTest, TheKeysForCopyingCopy) {
  const ClipboardTurn turn;
  Units copied[3];
  const PatchedImport control(Dll().Module(), "GetKeyState", AddressOf(HoldControl));
  const Units shown = ShowLong([&copied](HWND pane) {
    int place = 0;
    for (const WPARAM key : {WPARAM{'C'}, WPARAM{VK_INSERT}, WPARAM{'X'}}) {
      ClearClipboard();
      SendMessageW(pane, WM_KEYDOWN, key, 0);
      copied[place++] = OnClipboard();
    }
  });
  EXPECT_EQ(shown, copied[0]);
  EXPECT_EQ(shown, copied[1]);
  EXPECT_EQ(u"", copied[2]);
}

TEST_F(OddWindowTest, AClipboardThatCannotBeHadIsLeftAlone) {
  const ClipboardTurn turn;
  ShowLong([module = Dll().Module()](HWND pane) {
    ClearClipboard();
    {
      const PatchedImport memory(module, "GlobalAlloc", AddressOf(NoMemory));
      SendMessageW(pane, WM_COPY, 0, 0);
    }
    {
      const PatchedImport open(module, "OpenClipboard", AddressOf(NoClipboard));
      SendMessageW(pane, WM_COPY, 0, 0);
    }
    {
      const PatchedImport set(module, "SetClipboardData", AddressOf(TakeNothing));
      SendMessageW(pane, WM_COPY, 0, 0);
    }
    EXPECT_EQ(1, calls);
    EXPECT_EQ(u"", OnClipboard());
    // It was closed each time.
    SendMessageW(pane, WM_COPY, 0, 0);
    EXPECT_NE(u"", OnClipboard());
  });
}

TEST_F(OddWindowTest, AReportWhoseTextCannotBeShownInItsWindowIsAMessageBox) {
  const Units whole = ShowLong([](HWND pane) { EXPECT_NE(nullptr, pane); });
  const PatchedImport create(Dll().Module(), "CreateWindowExW", AddressOf(MakeNoPane));
  EXPECT_EQ(whole, ShowLong([](HWND pane) { EXPECT_EQ(nullptr, pane); }));
}

TEST_F(OddWindowTest, AWindowThatWillNotCloseIsClosedNextTime) {
  const PatchedImport end(Dll().Module(), "EndDialog", AddressOf(EndLater));
  ShowLong([](HWND pane) {
    wchar_t none = L'x';
    EXPECT_EQ(0, SendMessageW(pane, WM_GETTEXT, 0, reinterpret_cast<LPARAM>(&none)));
    EXPECT_EQ(L'x', none);
    auto* const window = GetParent(pane);
    SendMessageW(window, WM_COMMAND, IDRETRY, 0);
    EXPECT_EQ(0, calls);
    SendMessageW(window, WM_COMMAND, IDCANCEL, 0);
    EXPECT_EQ(1, calls);
    EXPECT_TRUE(IsWindowVisible(window));
  });
  EXPECT_EQ(2, calls);
}

}  // namespace
}  // namespace brindlex::testing
