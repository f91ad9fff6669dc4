// Objects that are used from other threads than the one that made them: through proxies, as COM's
// rules want it, and by raw pointers, against them.

#include <atomic>

#include "tests/com/objects/late_call.h"
#include "tests/com/objects/scripted_object.h"
#include "tests/com/support/apartment.h"
#include "tests/com/support/fixture.h"

namespace brindlex::testing {
namespace {

using Units = std::u16string;

/// A member of a class that needs nothing to stand on, and what it yields in words.
struct Use {
  const wchar_t* className;
  const wchar_t* member;
  std::vector<const char16_t*> texts;
  Units yields;
};

const std::vector<Use>& Uses() {
  static const std::vector<Use> uses = {
      {L"clsCollection", L"Count", {}, u"long 0"},
      {L"clsTextData", L"Name", {}, u"text "},
      {L"clsCreateTextData", L"GetNewObject", {}, u""},
      {L"clsCollectionSaveRestore", L"MultiDataString", {}, u"text "},
      {L"clsEnvironment", L"IsWindowsVista", {}, u"True"},
      {L"clsAppFiles", L"FileNameFromPath", {u"C:\\folder\\file"}, u"text file"},
      {L"clsBases", L"ConvertBase", {u"10", u"10", u"2"}, u"text 1010"},
  };
  return uses;
}

/// What the use comes to; an object that it yields is called by itself.
Units Used(IDispatch& object, const Use& use) {
  LateCall call(object, use.member);
  for (const char16_t* const text : use.texts) call.WithOwned(Variant::OfText(text));
  const HRESULT status = call.Run();
  if (FAILED(status)) return u"failed";
  const VARIANT& result = call.Result();
  if (!use.yields.empty() || result.vt != VT_DISPATCH || result.pdispVal == nullptr) {
    return Shown(result);
  }
  return Used(*result.pdispVal, {use.className, L"Name", {}, u"text "}) == u"text " ? Units()
                                                                                    : u"no record";
}

DWORD WINAPI RunBody(void* body) {
  (*static_cast<std::function<void()>*>(body))();
  return 0;
}

/// Runs `body()` on another thread, in an apartment of the kind, and serves calls meanwhile.
void OnAnotherThread(DWORD kind, const std::function<void()>& body) {
  std::function<void()> inApartment = [&] {
    EXPECT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, kind)));
    body();
    CoUninitialize();
  };
  auto* const thread = CreateThread(nullptr, 0, RunBody, &inApartment, 0, nullptr);
  ASSERT_NE(nullptr, thread);
  ServeUntil(thread);
  CloseHandle(thread);
}

constexpr DWORD kOfOneThread = COINIT_APARTMENTTHREADED;
constexpr DWORD kOfManyThreads = COINIT_MULTITHREADED;
constexpr DWORD kKinds[] = {kOfOneThread, kOfManyThreads};

bool IsProxy(IUnknown& object) {
  ComPtr<IUnknown> security;
  return SUCCEEDED(object.QueryInterface(IID_IClientSecurity, security.ReceiveVoid()));
}

class ApartmentTest : public ComTest {
 protected:
  void SetUp() override {
    ComTest::SetUp();
    ASSERT_EQ(S_OK, Dll().Register());
  }
  void TearDown() override {
    EXPECT_EQ(S_OK, Dll().Unregister());
    EXPECT_EQ(0, ScriptedObject::Alive());
    ComTest::TearDown();
  }

  static ComPtr<IDispatch> Created(const wchar_t* className) {
    CLSID classId;
    ComPtr<IDispatch> object;
    EXPECT_EQ(S_OK, CLSIDFromProgID((std::wstring(L"Brindlex.") + className).c_str(), &classId));
    EXPECT_EQ(S_OK, CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                                     object.ReceiveVoid()));
    return object;
  }

  /// A stream from which one other apartment takes the object.
  static IStream* Marshaled(IDispatch& object) {
    IStream* stream = nullptr;
    EXPECT_EQ(S_OK, CoMarshalInterThreadInterfaceInStream(IID_IDispatch, &object, &stream));
    return stream;
  }
  static ComPtr<IDispatch> Unmarshaled(IStream* stream) {
    ComPtr<IDispatch> object;
    EXPECT_EQ(S_OK, CoGetInterfaceAndReleaseStream(stream, IID_IDispatch, object.ReceiveVoid()));
    return object;
  }

  /// Wine keeps a reference to the class factory of everything that it makes in a thread of its
  /// own; their uses of the DLL are given back here. Nothing else may be left.
  void ExpectFactoriesKept(std::size_t most) const {
    ComPtr<IClassFactory> factory;
    EXPECT_EQ(S_OK, Dll().GetClassObject(__uuidof(::clsTextData), IID_IClassFactory,
                                         factory.ReceiveVoid()));
    std::size_t kept = 0;
    // The factory in use here counts as well, and is the last one to go.
    while (factory->LockServer(FALSE) == S_OK && Dll().CanUnloadNow() != S_OK) ++kept;
    EXPECT_EQ(S_OK, factory->LockServer(TRUE));
    EXPECT_TRUE(kept == 0 || kept == most) << kept;
  }

  ComPtr<_clsAppFiles> Files() const { return Dll().New<_clsAppFiles, ::clsAppFiles>(); }

  static void Report(_clsCollectionSaveRestore& operations) {
    BSTR text = nullptr;
    EXPECT_EQ(S_OK, operations.AsDelimitedFromCollection(nullptr, Missing(), Missing(), Missing(),
                                                         &text));
    EXPECT_EQ(u"", Taken(text));
  }
};

TEST_F(ApartmentTest, EveryClassMadeOnAThreadOfTheFreeKindIsAProxyThatWorks) {
  OnAnotherThread(kOfManyThreads, [] {
    for (const Use& use : Uses()) {
      SCOPED_TRACE(::testing::PrintToString(use.className));
      const auto object = Created(use.className);
      ASSERT_TRUE(object);
      EXPECT_TRUE(IsProxy(*object.Get()));
      EXPECT_EQ(use.yields, Used(*object.Get(), use));
    }
  });
  ExpectFactoriesKept(Uses().size());
}

TEST_F(ApartmentTest, EveryClassWorksThroughAProxyInEitherKindOfApartment) {
  for (const DWORD kind : kKinds) {
    for (const Use& use : Uses()) {
      SCOPED_TRACE(::testing::PrintToString(use.className));
      const auto object = Created(use.className);
      EXPECT_FALSE(IsProxy(*object.Get()));
      IStream* const stream = Marshaled(*object.Get());
      OnAnotherThread(kind, [&] {
        const auto proxy = Unmarshaled(stream);
        ASSERT_TRUE(proxy);
        EXPECT_TRUE(IsProxy(*proxy.Get()));
        EXPECT_EQ(use.yields, Used(*proxy.Get(), use));
      });
    }
  }
}

TEST_F(ApartmentTest, AProxyWhoseApartmentIsGoneFailsAndCanBeLetGoOf) {
  IStream* stream = nullptr;
  HANDLE isTaken = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  HANDLE isMade = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  std::thread owner([&] {
    CoInitialize(nullptr);
    auto object = Created(L"clsTextData");
    stream = Marshaled(*object.Get());
    SetEvent(isMade);
    ServeUntil(isTaken);
    object = nullptr;
    CoUninitialize();
  });
  WaitForSingleObject(isMade, 20000);
  const auto proxy = Unmarshaled(stream);
  EXPECT_EQ(u"text ", Used(*proxy.Get(), Uses()[1]));
  SetEvent(isTaken);
  owner.join();
  CloseHandle(isTaken);
  CloseHandle(isMade);
  EXPECT_TRUE(FAILED(LateCall(*proxy.Get(), DISPID{2}).Run()));
}

TEST_F(ApartmentTest, ARawPointerWorksOnEveryThreadOneAfterTheOther) {
  for (const Use& use : Uses()) {
    SCOPED_TRACE(::testing::PrintToString(use.className));
    const auto object = Created(use.className);
    for (const DWORD kind : kKinds) {
      OnAnotherThread(kind, [&] { EXPECT_EQ(use.yields, Used(*object.Get(), use)); });
    }
    std::thread([&] { EXPECT_EQ(use.yields, Used(*object.Get(), use)); }).join();
    EXPECT_EQ(use.yields, Used(*object.Get(), use));
  }
}

TEST_F(ApartmentTest, ThreadsThatShareARawPointerKeepTheirOwnHandOvers) {
  const auto files = Files();
  const auto find = [&files] {
    BSTR company = NewBstr(u"before");
    BSTR folder = nullptr;
    EXPECT_EQ(S_OK, files->SettingsFolderAllUsers(&company, &folder));
    return Taken(folder) + u"|" + Taken(company);
  };
  const auto startUp = [&files](const char16_t* programFolder) {
    const auto host = ScriptedObject::New();
    host->Property(u"UsingFarOrFarBar", Variant());
    host->Property(u"ProgDir", programFolder);
    // A name that no folder can have, so that the program's own is taken.
    EXPECT_EQ(S_OK, files->StartUp(host.Get(), Bstr(u"a").Get(), Bstr(u"no\\such").Get()));
  };
  InApartment([&] {
    startUp(u"D:\\One");
    for (const DWORD kind : kKinds) {
      OnAnotherThread(kind, [&] {
        EXPECT_EQ(u"|before", find());
        startUp(u"D:\\Other");
        EXPECT_EQ(u"D:\\Other|before", find());
      });
    }
    EXPECT_EQ(u"D:\\One|before", find());
  });
  EXPECT_EQ(u"|before", find());
  ExpectBlocksLeft(3);
}

TEST_F(ApartmentTest, AListenerHearsOfTheReportsOfItsOwnThreadAlone) {
  const auto environment = Dll().New<_clsEnvironment, ::clsEnvironment>();
  const auto operations = NewSaveRestore();
  int heard = 0;
  OnAnotherThread(kOfOneThread, [&] {
    auto listener = ScriptedObject::New();
    listener->Method(u"OnReport", [&heard](const Arguments&) {
      ++heard;
      return Variant();
    });
    EXPECT_EQ(S_OK, environment->putref_ReportListener(listener.Get()));
    Report(*operations.Get());
    EXPECT_EQ(1, heard);
  });
  Report(*operations.Get());
  EXPECT_EQ(1, heard);
  EXPECT_EQ(1U, Boxes().Boxes().size());
}

TEST_F(ApartmentTest, WhatHoldsNothingMayBeUsedOnManyThreadsAtOnce) {
  constexpr int kThreads = 4;
  constexpr int kCalls = 500;
  std::atomic<int> right = 0;
  std::vector<ComPtr<IDispatch>> objects;
  std::vector<Use> uses;
  for (const Use& use : Uses()) {
    if (use.texts.empty() && use.yields != u"True") continue;
    objects.push_back(Created(use.className));
    uses.push_back(use);
  }
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int number = 0; number < kThreads; ++number) {
    threads.emplace_back([&] {
      CoInitializeEx(nullptr, COINIT_MULTITHREADED);
      for (int call = 0; call < kCalls; ++call) {
        const std::size_t which = static_cast<std::size_t>(call) % uses.size();
        if (Used(*objects[which].Get(), uses[which]) == uses[which].yields) ++right;
      }
      CoUninitialize();
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(kThreads * kCalls, right);
}

}  // namespace
}  // namespace brindlex::testing
