// Registration on the machine: exactly our keys and values, and without a trace afterwards.

#include <gmock/gmock.h>

#include <filesystem>

#include "tests/com/objects/type_text.h"
#include "tests/com/support/apartment.h"
#include "tests/com/support/fixture.h"
#include "tests/com/support/registry.h"

namespace brindlex::testing {
namespace {

/// The system that a type library is registered for.
constexpr const wchar_t* kSystem = sizeof(void*) == 8 ? L"win64" : L"win32";
constexpr wchar_t kLibrary[] = L"{90E89859-3FAC-4C4B-8115-E34F4C404E17}";

struct RegisteredClass {
  std::wstring name;
  std::wstring classId;
  std::wstring interfaceId;
};

const RegisteredClass kRegistered[] = {
    {L"clsCollection", L"{E67379C4-E3BA-4E77-BEA9-980B7E9EE5B9}",
     L"{FC246086-1E11-478A-9AF5-ED731C901ACE}"},
    {L"clsTextData", L"{31AD6F27-6E85-4705-95E3-524CBA098FB3}",
     L"{EE6D00D2-7998-4E3A-8199-4205D8D0DA28}"},
    {L"clsCreateTextData", L"{5D4291B0-074E-43BD-879E-96CC9EA44AF7}",
     L"{78438A06-B03B-494E-8FB1-95E5688996B0}"},
    {L"clsCollectionSaveRestore", L"{1A689BDB-AFD6-4405-B9E2-DF8645612F48}",
     L"{258AE42C-1320-4C24-A69B-C166187DCB0E}"},
    {L"clsEnvironment", L"{C8823580-F9E8-430A-A5C9-149D4CF96319}",
     L"{DE5A481A-2A78-4C85-8349-B8BFD7044332}"},
    {L"clsAppFiles", L"{03068CE9-1E2B-4905-831C-745F9AC7CA1E}",
     L"{13BC7B31-B39D-4573-A2C0-506F64504D43}"},
    {L"clsBases", L"{7600A8BF-8481-42FF-A446-07A7435BBAD9}",
     L"{C81AACF2-555D-4E7D-A5EB-51D0818D32C3}"},
};

void AddLibraryLines(const std::filesystem::path& file, RegistryLines& lines) {
  const std::wstring root = std::wstring(L"TypeLib\\") + kLibrary;
  const std::wstring system = root + L"\\1.0\\0\\" + kSystem;
  lines.merge(RegistryLines{
      root,
      root + L"\\1.0",
      root + L"\\1.0 [] = Brindlex 1.0 Type Library",
      root + L"\\1.0\\0",
      system,
      system + L" [] = " + file.wstring(),
      root + L"\\1.0\\FLAGS",
      root + L"\\1.0\\FLAGS [] = 0",
      root + L"\\1.0\\HELPDIR",
      root + L"\\1.0\\HELPDIR [] = " + file.parent_path().wstring(),
  });
}

void AddClassLines(const RegisteredClass& row, const std::filesystem::path& file,
                   RegistryLines& lines) {
  const std::wstring general = L"Brindlex." + row.name;
  const std::wstring versioned = general + L".1";
  const std::wstring root = L"CLSID\\" + row.classId;
  lines.merge(RegistryLines{
      general,
      general + L" [] = Brindlex." + row.name,
      general + L"\\CLSID",
      general + L"\\CLSID [] = " + row.classId,
      general + L"\\CurVer",
      general + L"\\CurVer [] = " + versioned,
      versioned,
      versioned + L" [] = Brindlex." + row.name,
      versioned + L"\\CLSID",
      versioned + L"\\CLSID [] = " + row.classId,
      root,
      root + L" [] = Brindlex." + row.name,
      root + L"\\InprocServer32",
      root + L"\\InprocServer32 [] = " + file.wstring(),
      root + L"\\InprocServer32 [ThreadingModel] = Apartment",
      root + L"\\ProgID",
      root + L"\\ProgID [] = " + versioned,
      root + L"\\VersionIndependentProgID",
      root + L"\\VersionIndependentProgID [] = " + general,
      root + L"\\TypeLib",
      root + L"\\TypeLib [] = " + kLibrary,
      root + L"\\Version",
      root + L"\\Version [] = 1.0",
  });
}

void AddInterfaceLines(const RegisteredClass& row, RegistryLines& lines) {
  const std::wstring root = L"Interface\\" + row.interfaceId;
  lines.merge(RegistryLines{
      root,
      root + L" [] = _" + row.name,
      root + L"\\ProxyStubClsid32",
      root + L"\\ProxyStubClsid32 [] = {00020424-0000-0000-C000-000000000046}",
      root + L"\\TypeLib",
      root + L"\\TypeLib [] = " + kLibrary,
      root + L"\\TypeLib [Version] = 1.0",
  });
}

/// All that the DLL at `file` registers.
RegistryLines LinesOfRegistered(const std::filesystem::path& file) {
  RegistryLines lines{L"CLSID", L"Interface", L"TypeLib"};
  AddLibraryLines(file, lines);
  for (const RegisteredClass& row : kRegistered) {
    AddClassLines(row, file, lines);
    AddInterfaceLines(row, lines);
  }
  return lines;
}

RegistryLines With(RegistryLines lines, RegistryLines others) {
  lines.merge(others);
  return lines;
}

/// Prints the lines that differ, of many.
void ExpectLines(const RegistryLines& expected, const RegistryLines& actual) {
  EXPECT_EQ(RegistryLines{}, Added(actual, expected)) << "missing";
  EXPECT_EQ(RegistryLines{}, Added(expected, actual)) << "too much";
}

/// Registration where hosts look for it.
class RegistrationTest : public ComTest {
 protected:
  void SetUp() override {
    ComTest::SetUp();
    Dll().Unregister();
  }

  void TearDown() override {
    Dll().Unregister();
    ComTest::TearDown();
  }
};

TEST_F(RegistrationTest, AddsExactlyOurKeysAndValuesAndTakesThemAllBack) {
  const OpenKey machine(HKEY_LOCAL_MACHINE, L"Software\\Classes");
  const OpenKey user(HKEY_CURRENT_USER, L"Software\\Classes");
  const RegistryLines machineBefore = LinesBelow(machine.Get());
  const RegistryLines userBefore = LinesBelow(user.Get());
  ASSERT_EQ(S_OK, Dll().Register());
  ExpectLines(With(machineBefore, LinesOfRegistered(Component::Path())), LinesBelow(machine.Get()));
  ExpectLines(userBefore, LinesBelow(user.Get()));
  ASSERT_EQ(S_OK, Dll().Unregister());
  ExpectLines(machineBefore, LinesBelow(machine.Get()));
  ExpectLines(userBefore, LinesBelow(user.Get()));
}

TEST_F(RegistrationTest, EveryClassIsCreatedByEitherOfItsNames) {
  ASSERT_EQ(S_OK, Dll().Register());
  for (const RegisteredClass& row : kRegistered) {
    for (const std::wstring& name : {L"Brindlex." + row.name, L"Brindlex." + row.name + L".1"}) {
      CLSID classId;
      ComPtr<IDispatch> object;
      EXPECT_EQ(S_OK, CLSIDFromProgID(name.c_str(), &classId));
      EXPECT_EQ(S_OK, CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                                       object.ReceiveVoid()));
      ASSERT_TRUE(object);
      ComPtr<ITypeInfo> type;
      EXPECT_EQ(S_OK, object->GetTypeInfo(0, LOCALE_NEUTRAL, type.Receive()));
      EXPECT_EQ(L"_" + row.name, NameOf(*type.Get()));
    }
  }
}

TEST_F(RegistrationTest, AClassLeadsBackToItsName) {
  ASSERT_EQ(S_OK, Dll().Register());
  LPOLESTR name = nullptr;
  ASSERT_EQ(S_OK, ProgIDFromCLSID(CLSID_clsTextData, &name));
  EXPECT_EQ(std::wstring(L"Brindlex.clsTextData.1"), name);
  CoTaskMemFree(name);
}

TEST_F(RegistrationTest, TheTypeLibraryIsFoundByItsId) {
  ComPtr<ITypeLib> library;
  EXPECT_EQ(TYPE_E_LIBNOTREGISTERED,
            LoadRegTypeLib(LIBID_Brindlex, 1, 0, LOCALE_NEUTRAL, library.Receive()));
  ASSERT_EQ(S_OK, Dll().Register());
  ASSERT_EQ(S_OK, LoadRegTypeLib(LIBID_Brindlex, 1, 0, LOCALE_NEUTRAL, library.Receive()));
  ComPtr<ITypeInfo> type;
  EXPECT_EQ(S_OK, library->GetTypeInfoOfGuid(IID__clsCollection, type.Receive()));
}

struct OtherApartment {
  IStream* marshaled;
  HRESULT unmarshaled = E_UNEXPECTED;
  HRESULT added = E_UNEXPECTED;
  HRESULT missed = E_UNEXPECTED;
  long count = 0;
};

DWORD WINAPI AddFromAnotherApartment(void* data) {
  auto& other = *static_cast<OtherApartment*>(data);
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  {
    ComPtr<_clsCollection> proxy;
    other.unmarshaled =
        CoGetInterfaceAndReleaseStream(other.marshaled, IID__clsCollection, proxy.ReceiveVoid());
    if (proxy) {
      const Variant text(u"entry");
      other.added = proxy->Add(text.Get(), Missing(), Missing(), Missing());
      proxy->get_Count(&other.count);
      Variant entry;
      other.missed = proxy->get_Item(text.Get(), entry.Receive());
    }
  }
  CoUninitialize();
  return 0;
}

TEST_F(RegistrationTest, AnotherApartmentUsesAnObjectThroughItsInterface) {
  ASSERT_EQ(S_OK, Dll().Register());
  const auto collection = NewCollection();
  OtherApartment other{};
  ASSERT_EQ(S_OK, CoMarshalInterThreadInterfaceInStream(IID__clsCollection, collection.Get(),
                                                        &other.marshaled));
  auto* const thread = CreateThread(nullptr, 0, AddFromAnotherApartment, &other, 0, nullptr);
  ASSERT_NE(nullptr, thread);
  ServeUntil(thread);
  CloseHandle(thread);
  // Wine's 64-bit marshaling keeps a block of its own for every VARIANT that comes by value: four
  // of Add, one of Item.
  if (sizeof(void*) == 8) ExpectBlocksLeft(5);
  EXPECT_EQ(S_OK, other.unmarshaled);
  EXPECT_EQ(S_OK, other.added);
  EXPECT_EQ(1, other.count);
  EXPECT_EQ(static_cast<HRESULT>(0x800A0005), other.missed);
}

TEST_F(RegistrationTest, NothingIsCreatedOnceItIsUnregistered) {
  ASSERT_EQ(S_OK, Dll().Register());
  ASSERT_EQ(S_OK, Dll().Unregister());
  CLSID classId;
  ComPtr<IUnknown> object;
  EXPECT_NE(S_OK, CLSIDFromProgID(L"Brindlex.clsTextData", &classId));
  EXPECT_EQ(REGDB_E_CLASSNOTREG, CoCreateInstance(CLSID_clsTextData, nullptr, CLSCTX_INPROC_SERVER,
                                                  IID_IUnknown, object.ReceiveVoid()));
}

/// Registration with a key of the test's own in the place of the machine's, for what must not
/// happen to a real one.
class RedirectedRegistrationTest : public ComTest {
 protected:
  void SetUp() override {
    ComTest::SetUp();
    ASSERT_EQ(ERROR_SUCCESS, RegOverridePredefKey(HKEY_LOCAL_MACHINE, machine_.Get()));
    classes_ = std::make_unique<OpenKey>(HKEY_LOCAL_MACHINE, L"Software\\Classes");
    // As on every machine.
    for (const wchar_t* const path : {L"CLSID", L"Interface", L"TypeLib"}) {
      OpenKey(classes_->Get(), path).SetText(L"Other", L"theirs");
    }
    before_ = Lines();
  }

  void TearDown() override {
    classes_.reset();
    EXPECT_EQ(ERROR_SUCCESS, RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr));
    OpenKey(HKEY_CURRENT_USER, L"Software").Delete(L"Brindlex Test");
    ComTest::TearDown();
  }

  const RegistryLines& Before() const { return before_; }
  RegistryLines Lines() const { return LinesBelow(classes_->Get()); }

  void Put(const std::wstring& path, const std::wstring& name) const {
    OpenKey(classes_->Get(), path).SetText(name, L"theirs");
  }

 private:
  OpenKey machine_{HKEY_CURRENT_USER, L"Software\\Brindlex Test"};
  std::unique_ptr<OpenKey> classes_;
  RegistryLines before_;
};

TEST_F(RedirectedRegistrationTest, TwiceIsAsGoodAsOnce) {
  EXPECT_EQ(S_OK, Dll().Unregister());
  ExpectLines(Before(), Lines());
  for (int time = 0; time < 2; ++time) {
    EXPECT_EQ(S_OK, Dll().Register());
    ExpectLines(With(Before(), LinesOfRegistered(Component::Path())), Lines());
  }
  for (int time = 0; time < 2; ++time) {
    EXPECT_EQ(S_OK, Dll().Unregister());
    ExpectLines(Before(), Lines());
  }
}

TEST_F(RedirectedRegistrationTest, LeavesWhatOthersHaveBesideAndBelowOurKeys) {
  const std::wstring ourClass = L"CLSID\\" + kRegistered[0].classId;
  Put(L"Brindlex.clsCollection.2", L"");
  Put(L"Brindlex.clsCollectionOther", L"");
  Put(L"CLSID\\{00000000-0000-0000-0000-000000000001}\\InprocServer32", L"ThreadingModel");
  Put(L"Interface\\{00000000-0000-0000-0000-000000000001}", L"");
  Put(ourClass + L"\\Implemented Categories\\Other", L"");
  Put(ourClass + L"\\InprocServer32", L"Other");
  Put(std::wstring(L"TypeLib\\") + kLibrary + L"\\7.0", L"");
  const RegistryLines theirs = Lines();

  ASSERT_EQ(S_OK, Dll().Register());
  ExpectLines(With(theirs, LinesOfRegistered(Component::Path())), Lines());
  ASSERT_EQ(S_OK, Dll().Unregister());
  ExpectLines(theirs, Lines());
}

TEST_F(RedirectedRegistrationTest, IsWholeOrNotAtAll) {
  // No key that is kept may lie below one that is not.
  const OpenKey temporary(HKEY_LOCAL_MACHINE,
                          L"Software\\Classes\\CLSID\\" + kRegistered[2].classId, KEY_ALL_ACCESS,
                          REG_OPTION_VOLATILE);
  temporary.SetText(L"Other", L"theirs");
  const RegistryLines theirs = Lines();
  EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_CHILD_MUST_BE_VOLATILE), Dll().Register());
  ExpectLines(theirs, Lines());
}

/// Registration for the user who runs the program, who needs no administrator rights for it.
class UserRegistrationTest : public RegistrationTest {
 protected:
  void TearDown() override {
    Dll().Install(FALSE, L"user");
    RegistrationTest::TearDown();
  }

  RegistryLines MachineLines() const { return LinesBelow(machine_.Get()); }
  RegistryLines UserLines() const { return LinesBelow(user_.Get()); }

 private:
  OpenKey machine_{HKEY_LOCAL_MACHINE, L"Software\\Classes", KEY_READ};
  OpenKey user_{HKEY_CURRENT_USER, L"Software\\Classes"};
};

TEST_F(UserRegistrationTest, AddsExactlyOurKeysToTheUsersOwnAndTakesThemAllBack) {
  const RegistryLines machineBefore = MachineLines();
  const RegistryLines userBefore = UserLines();
  ASSERT_EQ(S_OK, Dll().Install(TRUE, L"user"));
  ExpectLines(With(userBefore, LinesOfRegistered(Component::Path())), UserLines());
  ExpectLines(machineBefore, MachineLines());
  ASSERT_EQ(S_OK, Dll().Install(FALSE, L"user"));
  ExpectLines(userBefore, UserLines());
  ExpectLines(machineBefore, MachineLines());
}

TEST_F(UserRegistrationTest, LeavesTheMachinesRegistrationAlone) {
  ASSERT_EQ(S_OK, Dll().Register());
  const RegistryLines machineBefore = MachineLines();
  ASSERT_EQ(S_OK, Dll().Install(TRUE, L"USER"));
  ASSERT_EQ(S_OK, Dll().Install(FALSE, L"User"));
  ExpectLines(machineBefore, MachineLines());
}

TEST_F(UserRegistrationTest, WithoutAWordIsForTheMachine) {
  for (const wchar_t* const nothing : {static_cast<const wchar_t*>(nullptr), L""}) {
    const RegistryLines machineBefore = MachineLines();
    const RegistryLines userBefore = UserLines();
    ASSERT_EQ(S_OK, Dll().Install(TRUE, nothing));
    ExpectLines(With(machineBefore, LinesOfRegistered(Component::Path())), MachineLines());
    ExpectLines(userBefore, UserLines());
    ASSERT_EQ(S_OK, Dll().Install(FALSE, nothing));
    ExpectLines(machineBefore, MachineLines());
  }
}

TEST_F(UserRegistrationTest, AnotherWordDoesNothing) {
  const RegistryLines machineBefore = MachineLines();
  const RegistryLines userBefore = UserLines();
  for (const wchar_t* const word : {L"users", L"use", L"machine", L" user"}) {
    EXPECT_EQ(E_INVALIDARG, Dll().Install(TRUE, word));
    EXPECT_EQ(E_INVALIDARG, Dll().Install(FALSE, word));
  }
  ExpectLines(machineBefore, MachineLines());
  ExpectLines(userBefore, UserLines());
}

/// Registration of a copy of the DLL in a folder whose name is no easy one.
class CopiedRegistrationTest : public RegistrationTest {
 protected:
  void SetUp() override {
    RegistrationTest::SetUp();
    // The copy stays loaded until the process ends, so its file is replaced in the next one.
    folder_ =
        std::filesystem::path(Component::Path()).parent_path() / L"copied \u00E4\u0416\u65E5 & co";
    CreateDirectoryW(folder_.c_str(), nullptr);
    ASSERT_TRUE(CopyFileW(Component::Path().c_str(), File().c_str(), FALSE));
    copy_ = std::make_unique<Component>(File().wstring());
  }

  void TearDown() override {
    EXPECT_EQ(S_OK, copy_->Unregister());
    EXPECT_EQ(S_OK, copy_->CanUnloadNow());
    copy_.reset();
    RegistrationTest::TearDown();
  }

  const Component& Copy() const { return *copy_; }
  std::filesystem::path File() const { return folder_ / L"Copy of Brindlex.dll"; }

 private:
  std::filesystem::path folder_;
  std::unique_ptr<Component> copy_;
};

TEST_F(CopiedRegistrationTest, RegistersTheCopyAndWorksFromThere) {
  ASSERT_EQ(S_OK, Copy().Register());
  const OpenKey server(HKEY_LOCAL_MACHINE,
                       L"Software\\Classes\\CLSID\\" + kRegistered[0].classId + L"\\InprocServer32",
                       KEY_READ);
  EXPECT_TRUE(LinesBelow(server.Get()).contains(L" [] = " + File().wstring()));

  ComPtr<_clsCollection> collection;
  ASSERT_EQ(S_OK, CoCreateInstance(CLSID_clsCollection, nullptr, CLSCTX_INPROC_SERVER,
                                   IID__clsCollection, collection.ReceiveVoid()));
  EXPECT_EQ(S_FALSE, Copy().CanUnloadNow());
  EXPECT_EQ(S_OK, Dll().CanUnloadNow());
  ComPtr<ITypeInfo> own;
  EXPECT_EQ(S_OK, collection->GetTypeInfo(0, LOCALE_NEUTRAL, own.Receive()));
  ComPtr<ITypeLib> library;
  EXPECT_EQ(S_OK, LoadRegTypeLib(LIBID_Brindlex, 1, 0, LOCALE_NEUTRAL, library.Receive()));
}

}  // namespace
}  // namespace brindlex::testing
