// The hand-over of hosts, thread by thread, and the settings folder that comes of it.

#include <atomic>
#include <filesystem>
#include <fstream>

#include "tests/com/objects/late_call.h"
#include "tests/com/objects/scripted_object.h"
#include "tests/com/support/apartment.h"
#include "tests/com/support/fixture.h"
#include "tests/com/support/patched_import.h"

namespace brindlex::testing {
namespace {

constexpr TextView kProgDir = u"D:\\Program";

/// A host with both properties.
ComPtr<ScriptedObject> NewHost() {
  auto host = ScriptedObject::New();
  host->Property(u"UsingFarOrFarBar", Of(VT_BOOL, VARIANT_BOOL{VARIANT_FALSE}));
  host->Property(u"ProgDir", kProgDir);
  return host;
}

class SettingsFolderTest : public ComTest {
 protected:
  SettingsFolderTest()
      : root_(std::filesystem::path(L"C:\\ProgramData") /
              (L"Brindlex test " + std::to_wstring(GetCurrentProcessId()))) {}

  void TearDown() override {
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
    EXPECT_EQ(0, ScriptedObject::Alive());
    ComTest::TearDown();
  }

  std::u16string Company() const { return root_.filename().u16string(); }
  std::u16string CompanyPath() const { return root_.u16string(); }
  ComPtr<_clsAppFiles> New() const { return Dll().New<_clsAppFiles, ::clsAppFiles>(); }

  void StartUp(IDispatch* host, TextView application = u"Product") const {
    EXPECT_EQ(S_OK, New()->StartUp(host, Bstr(application).Get(), Bstr(Company()).Get()));
  }

  /// The folder, with the company's after a bar.
  std::u16string Find(TextView companyBefore = u"before") {
    BSTR company = NewBstr(companyBefore);
    BSTR folder = nullptr;
    EXPECT_EQ(S_OK, New()->SettingsFolderAllUsers(&company, &folder));
    return Taken(folder) + u"|" + Taken(company);
  }

  std::u16string Found(std::u16string_view application) const {
    return CompanyPath() + u"\\" + std::u16string(application) + u"|" + CompanyPath();
  }

  /// The shell's item-id list is left behind by every search.
  void ExpectSearches(long count) { ExpectBlocksLeft(count); }

 private:
  std::filesystem::path root_;
};

TEST_F(SettingsFolderTest, IsMadeInTheCommonTreeAndKept) {
  InApartment([&] {
    StartUp(NewHost().Get());
    EXPECT_EQ(Found(u"Product"), Find());
    EXPECT_TRUE(std::filesystem::is_directory(CompanyPath() + u"\\Product"));
    std::filesystem::remove_all(CompanyPath());
    EXPECT_EQ(Found(u"Product"), Find());
    EXPECT_FALSE(std::filesystem::exists(CompanyPath()));
  });
  ExpectSearches(1);
}

TEST_F(SettingsFolderTest, TwoThreadsNeverSeeEachOthersHosts) {
  std::atomic<int> handedOver = 0;
  const auto use = [&](std::u16string_view application) {
    CoInitialize(nullptr);
    EXPECT_EQ(u"|before", Find());
    StartUp(NewHost().Get(), application);
    ++handedOver;
    while (handedOver < 2) Sleep(1);
    EXPECT_EQ(Found(application), Find());
    CoUninitialize();
  };
  std::thread one(use, u"One");
  std::thread other(use, u"Other");
  one.join();
  other.join();
  EXPECT_EQ(u"|before", Find());
  ExpectSearches(2);
}

TEST_F(SettingsFolderTest, TheHostIsReleasedBeforeItsApartmentGoes) {
  bool hadApartment = false;
  class Host : public ScriptedObject {
   public:
    explicit Host(bool& hadApartment) : hadApartment_(hadApartment) {}
    ~Host() override {
      CLSID classId;
      ComPtr<IDispatch> files;
      CLSIDFromProgID(L"Scripting.FileSystemObject", &classId);
      hadApartment_ = CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                                       files.ReceiveVoid()) == S_OK;
    }

   private:
    bool& hadApartment_;
  };
  InApartment([&] {
    StartUp(ComPtr<ScriptedObject>::Adopt(new Host(hadApartment)).Get());
    EXPECT_EQ(1, ScriptedObject::Alive());
    // Only the last one ends the apartment.
    CoInitialize(nullptr);
    CoUninitialize();
    EXPECT_EQ(1, ScriptedObject::Alive());
  });
  EXPECT_TRUE(hadApartment);
  EXPECT_EQ(0, ScriptedObject::Alive());
}

TEST_F(SettingsFolderTest, AHandOverKeepsTheDllLoadedUntilTheThreadLeavesItsApartment) {
  InApartment([&] {
    EXPECT_EQ(S_OK, Dll().CanUnloadNow());
    StartUp(NewHost().Get());
    StartUp(nullptr);
    EXPECT_EQ(0, ScriptedObject::Alive());
    EXPECT_EQ(S_FALSE, Dll().CanUnloadNow());
  });
  EXPECT_EQ(S_OK, Dll().CanUnloadNow());
}

TEST_F(SettingsFolderTest, AThreadThatEndsWithoutAWordLeavesNothing) {
  for (int round = 0; round < 20; ++round) {
    std::thread([&] {
      CoInitialize(nullptr);
      StartUp(NewHost().Get());
    }).join();
    EXPECT_EQ(0, ScriptedObject::Alive());
    EXPECT_EQ(S_OK, Dll().CanUnloadNow());
  }
}

TEST_F(SettingsFolderTest, AThreadWithoutAnApartmentMayHandOver) {
  std::thread([&] { StartUp(NewHost().Get()); }).join();
  EXPECT_EQ(0, ScriptedObject::Alive());
  EXPECT_EQ(S_OK, Dll().CanUnloadNow());
}

TEST_F(SettingsFolderTest, IsKeptUntilTheThreadEnds) {
  for (const std::u16string_view application : {u"One", u"Other"}) {
    std::thread([&] {
      for (int apartment = 0; apartment < 2; ++apartment) {
        CoInitialize(nullptr);
        if (apartment == 0) {
          EXPECT_EQ(u"|before", Find());
          StartUp(NewHost().Get(), application);
          EXPECT_EQ(Found(application), Find());
        }
        StartUp(nullptr, {});
        const auto environment = Dll().New<_clsEnvironment, ::clsEnvironment>();
        EXPECT_EQ(S_OK, environment->putref_ReportListener(nullptr));
        EXPECT_EQ(Found(application), Find());
        CoUninitialize();
      }
    }).join();
  }
  ExpectSearches(2);
}

TEST_F(SettingsFolderTest, TheHostMayLeaveTheApartmentFromInsideItsProperty) {
  std::thread([&] {
    CoInitialize(nullptr);
    auto host = NewHost();
    (*host.Get())[u"UsingFarOrFarBar"].whenRead = [] { CoUninitialize(); };
    StartUp(host.Get());
    const auto files = New();
    host = nullptr;
    BSTR company = nullptr;
    BSTR folder = nullptr;
    EXPECT_EQ(S_OK, files->SettingsFolderAllUsers(&company, &folder));
    EXPECT_EQ(u"", Taken(company));
    SysFreeString(folder);
  }).join();
  EXPECT_EQ(0, ScriptedObject::Alive());
  ExpectSearches(1);
}

TEST_F(SettingsFolderTest, AHostThatLacksTheFlagGetsNothing) {
  InApartment([&] {
    const auto host = ScriptedObject::New();
    host->Property(u"ProgDir", kProgDir);
    StartUp(host.Get());
    EXPECT_EQ(u"|before", Find());
    StartUp(nullptr);
    EXPECT_EQ(u"|before", Find());
  });
}

TEST_F(SettingsFolderTest, AFlagOfAnyTypeThatHasOneWill) {
  const auto find = [&](Variant flag) {
    std::u16string found;
    InApartment([&] {
      const auto host = ScriptedObject::New();
      host->Property(u"UsingFarOrFarBar", std::move(flag));
      StartUp(host.Get());
      found = Find();
    });
    return found;
  };
  EXPECT_EQ(Found(u"Product"), find(Number(0)));
  EXPECT_EQ(Found(u"Product"), find(Variant(u"False")));
  EXPECT_EQ(Found(u"Product"), find(Variant(u"-1")));
  EXPECT_EQ(Found(u"Product"), find(Variant()));
  ExpectSearches(4);
  EXPECT_EQ(u"|before", find(Variant(u"neither")));
  EXPECT_EQ(u"|before", find(Of(VT_NULL, 0)));
}

TEST_F(SettingsFolderTest, AFailingFlagEndsTheSearchWithoutABox) {
  InApartment([&] {
    const auto host = NewHost();
    (*host.Get())[u"UsingFarOrFarBar"].get = Outcome::Raise(static_cast<HRESULT>(0x800A03E8));
    StartUp(host.Get());
    EXPECT_EQ(u"|before", Find());
  });
}

TEST_F(SettingsFolderTest, ProgDirIsUsedWhereTheTreeCannotBe) {
  const auto find = [&](Variant progDir) {
    std::u16string found;
    InApartment([&] {
      const auto host = ScriptedObject::New();
      host->Property(u"UsingFarOrFarBar", Variant());
      host->Property(u"ProgDir", std::move(progDir));
      // A name that no folder can have.
      EXPECT_EQ(S_OK, New()->StartUp(host.Get(), Bstr(u"a").Get(), Bstr(u"no\\such").Get()));
      found = Find();
    });
    ExpectSearches(1);
    return found;
  };
  EXPECT_EQ(std::u16string(kProgDir) + u"|before", find(Variant(kProgDir)));
  EXPECT_EQ(u"12|before", find(Number(12)));
  EXPECT_EQ(u"|before", find(Variant()));
  EXPECT_EQ(u"|before", find(Of(VT_NULL, 0)));
}

TEST_F(SettingsFolderTest, TheCompanysFolderStaysWhenOnlyTheApplicationsFails) {
  std::filesystem::create_directory(CompanyPath());
  std::ofstream(std::filesystem::path(CompanyPath() + u"\\Product")) << "a file in its place";
  InApartment([&] {
    StartUp(NewHost().Get());
    for (int time = 0; time < 2; ++time) {
      EXPECT_EQ(std::u16string(kProgDir) + u"|" + CompanyPath(), Find());
    }
  });
  ExpectSearches(1);
}

TEST_F(SettingsFolderTest, TheFlagIsIgnoredOnVistaAndLater) {
  InApartment([&] {
    const auto host = NewHost();
    host->Property(u"UsingFarOrFarBar", Of(VT_BOOL, VARIANT_BOOL{VARIANT_TRUE}));
    StartUp(host.Get());
    EXPECT_EQ(Found(u"Product"), Find());
  });
  ExpectSearches(1);
}

BOOL WINAPI ClaimXp(OSVERSIONINFOA* record) {
  *record = {sizeof(*record), 5, 1, 2600, VER_PLATFORM_WIN32_NT, {}};
  return TRUE;
}

TEST_F(SettingsFolderTest, AnOlderSystemsHostChooses) {
  const PatchedImport version(Dll().Module(), "GetVersionExA", reinterpret_cast<void*>(ClaimXp));
  const auto find = [&](VARIANT_BOOL flag) {
    std::u16string found;
    InApartment([&] {
      const auto host = ScriptedObject::New();
      host->Property(u"UsingFarOrFarBar", Of(VT_BOOL, flag));
      host->Property(u"ProgDir", kProgDir);
      StartUp(host.Get());
      found = Find();
    });
    return found;
  };
  EXPECT_EQ(std::u16string(kProgDir) + u"|before", find(VARIANT_TRUE));
  EXPECT_FALSE(std::filesystem::exists(CompanyPath()));
  EXPECT_EQ(Found(u"Product"), find(VARIANT_FALSE));
  ExpectSearches(1);
}

TEST_F(SettingsFolderTest, AFallbackWithoutProgDirIsNotKept) {
  InApartment([&] {
    const auto host = ScriptedObject::New();
    host->Property(u"UsingFarOrFarBar", Variant());
    EXPECT_EQ(S_OK, New()->StartUp(host.Get(), Bstr(u"a").Get(), Bstr(u"no\\such").Get()));
    EXPECT_EQ(u"|before", Find());
    host->Property(u"ProgDir", kProgDir);
    EXPECT_EQ(std::u16string(kProgDir) + u"|before", Find());
  });
  ExpectSearches(2);
}

TEST_F(SettingsFolderTest, NamesAreJoinedAsGiven) {
  InApartment([&] {
    EXPECT_EQ(S_OK, New()->StartUp(NewHost().Get(), Bstr(Company()).Get(), Bstr(u"").Get()));
    EXPECT_EQ(u"C:\\ProgramData\\\\" + Company() + u"|C:\\ProgramData\\", Find());
    EXPECT_TRUE(std::filesystem::is_directory(CompanyPath()));
  });
  ExpectSearches(1);
}

TEST_F(SettingsFolderTest, TheCompanysFolderIsWrittenBackToAnyVariable) {
  InApartment([&] {
    StartUp(NewHost().Get());
    const auto files = New();
    const auto find = [&](const VARIANT& argument) {
      LateCall call(*files.Get(), L"SettingsFolderAllUsers");
      EXPECT_EQ(S_OK, call.With(argument).Run());
      EXPECT_EQ(u"text " + CompanyPath() + u"\\Product", Shown(call.Result()));
    };
    const std::u16string shown = u"text " + CompanyPath();
    Variant typed(u"before");
    find(TypedReference(typed));
    EXPECT_EQ(shown, Shown(typed.Get()));
    for (auto* const make : {+[] { return Variant(u"before"); }, +[] { return Variant(); },
                             +[] { return Number(7); }}) {
      Variant variable = make();
      find(VariableReference(variable));
      EXPECT_EQ(shown, Shown(variable.Get()));
    }
    Variant nested(u"before");
    VARIANT holder;
    find(NestedReference(nested, holder));
    EXPECT_EQ(shown, Shown(nested.Get()));
    const Variant plain(u"before");
    find(plain.Get());
    EXPECT_EQ(u"text before", Shown(plain.Get()));
  });
  ExpectSearches(1);
}

TEST_F(SettingsFolderTest, AVariableThatIsLeftAsItWasKeepsItsType) {
  const auto files = New();
  Variant variable;
  LateCall call(*files.Get(), L"SettingsFolderAllUsers");
  EXPECT_EQ(S_OK, call.With(VariableReference(variable)).Run());
  EXPECT_EQ(VT_EMPTY, variable.Get().vt);
}

TEST_F(SettingsFolderTest, NeedsPlacesForBothResults) {
  BSTR text = nullptr;
  EXPECT_EQ(E_POINTER, New()->SettingsFolderAllUsers(nullptr, &text));
  EXPECT_EQ(E_POINTER, New()->SettingsFolderAllUsers(&text, nullptr));
}

}  // namespace
}  // namespace brindlex::testing
