// Every function of the system that the DLL imports fails: at its first, its middle and its last
// call in every operation, once and ever after. Nothing crashes or leaks, a result is complete or
// none, a failure is reported, and the next call succeeds.

#include <shlobj.h>
#include <winternl.h>

#include <algorithm>
#include <set>

#include "environment/report.h"
#include "tests/com/appfiles/text_files_test.h"
#include "tests/com/objects/late_call.h"
#include "tests/com/objects/scripted_object.h"
#include "tests/com/support/apartment.h"
#include "tests/com/support/failing_memory.h"
#include "tests/com/support/hidden_station.h"
#include "tests/com/support/malloc_spy.h"
#include "tests/com/support/registry.h"

/// RtlGenRandom, by the name that it is exported under.
extern "C" BOOLEAN NTAPI SystemFunction036(PVOID bytes, ULONG size);

namespace brindlex::testing {
namespace {

using Units = std::u16string;

// ---- Functions that fail -----------------------------------------------------------------------

/// The calls of one function so far.
using Calls = int;

const Calls* chosenFunction = nullptr;
int chosenCall = 0;
bool failsEverAfter = false;

/// How many reports the DLL has shown or written.
int reportCount = 0;

bool ShallFail(Calls& calls) {
  ++calls;
  if (&calls != chosenFunction || calls < chosenCall) return false;
  return failsEverAfter || calls == chosenCall;
}

/// The result by which a function reports its failure.
enum class FailsWith { kZero, kInvalidHandle, kStatus, kCode, kMinusOne };

template <FailsWith kFailure, class Result>
Result Failure() {
  if constexpr (kFailure == FailsWith::kInvalidHandle) {
    return INVALID_HANDLE_VALUE;
  } else if constexpr (kFailure == FailsWith::kStatus) {
    return E_ACCESSDENIED;
  } else if constexpr (kFailure == FailsWith::kCode) {
    return ERROR_ACCESS_DENIED;
  } else if constexpr (kFailure == FailsWith::kMinusOne) {
    return -1;
  } else {
    return Result();
  }
}

template <auto Function, FailsWith kFailure>
struct Swept;

template <class Result, class... Arguments, Result(WINAPI* Function)(Arguments...),
          FailsWith kFailure>
struct Swept<Function, kFailure> {
  static inline Calls calls = 0;

  static Result WINAPI Call(Arguments... arguments) {
    if (!ShallFail(calls)) return Function(arguments...);
    SetLastError(ERROR_ACCESS_DENIED);
    return Failure<kFailure, Result>();
  }
};

int WINAPI ListMessage(HWND, const wchar_t*, const wchar_t*, UINT) {
  ++reportCount;
  return IDOK;
}

void WINAPI CountDebugText(const wchar_t*) { ++reportCount; }

/// The functions of the DLL's own run time are always found.
FARPROC WINAPI FindInOthers(HMODULE module, const char* name) {
  if (module == GetModuleHandleW(L"kernel32.dll")) return GetProcAddress(module, name);
  return Swept<GetProcAddress, FailsWith::kZero>::Call(module, name);
}

/// The system's own modules are always there.
HMODULE WINAPI FindProgram(const wchar_t* name) {
  return name != nullptr ? GetModuleHandleW(name)
                         : Swept<GetModuleHandleW, FailsWith::kZero>::Call(name);
}

/// An imported function and what stands in for it.
struct Import {
  std::string name;
  void* standIn;
  Calls* calls;
};

template <auto Function, FailsWith kFailure = FailsWith::kZero>
Import Row(const char* name) {
  return {name, reinterpret_cast<void*>(&Swept<Function, kFailure>::Call),
          &Swept<Function, kFailure>::calls};
}

constexpr const char* kSetWindowLong = sizeof(void*) == 8 ? "SetWindowLongPtrW" : "SetWindowLongW";
constexpr const char* kGetWindowLong = sizeof(void*) == 8 ? "GetWindowLongPtrW" : "GetWindowLongW";

const std::vector<Import>& Imports() {
  static const std::vector<Import> imports = {
#define SWEPT(function, failure) Row<function, FailsWith::failure>(#function),
#include "tests/com/host/swept_imports.inc"
#undef SWEPT
      {"GetProcAddress", reinterpret_cast<void*>(&FindInOthers),
       &Swept<GetProcAddress, FailsWith::kZero>::calls},
      {"GetModuleHandleW", reinterpret_cast<void*>(&FindProgram),
       &Swept<GetModuleHandleW, FailsWith::kZero>::calls},
      Row<GetWindowLongPtrW>(kGetWindowLong),
      Row<ListMessage>("MessageBoxW"),
      Row<SetWindowLongPtrW>(kSetWindowLong),
  };
  return imports;
}

/// An imported function that is not made to fail, and why.
struct Exempt {
  const char* reason;
  const char* name;
};

constexpr Exempt kExempt[] = {
#define EXEMPT(reason, function) {reason, #function},
#include "tests/com/host/exempt_imports.inc"
#undef EXEMPT
};

// ---- Operations --------------------------------------------------------------------------------

/// The outcome of an operation.
struct Outcome {
  HRESULT status = S_OK;
  Units result = {};

  bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& outcome, std::ostream* out) {
  *out << std::hex << outcome.status << ' ' << ::testing::PrintToString(outcome.result);
}

struct Operation {
  const char* title;
  std::function<Outcome()> run;
  /// Its result when it fails.
  Units none = {};
  /// Whether a failure has to be reported: by a report, or by the status.
  bool reports = true;
  /// Whether other results than the right one and none are as right.
  bool hasOthers = false;
  /// Whether the system keeps task memory of every run.
  bool leavesBlocks = false;
  /// Whether it takes its time, as a window does: only first calls fail then.
  bool isSlow = false;
};

Outcome Text(HRESULT status, BSTR text) { return {status, Taken(text)}; }

Outcome Flag(HRESULT status, VARIANT_BOOL flag) {
  return {status, flag != VARIANT_FALSE ? u"True" : u"False"};
}

/// What the process writes to its standard error goes nowhere while this lives.
class QuietError {
 public:
  QuietError()
      : before_(GetStdHandle(STD_ERROR_HANDLE)),
        nowhere_(CreateFileW(L"NUL", GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr)) {
    SetStdHandle(STD_ERROR_HANDLE, nowhere_);
  }
  QuietError(const QuietError&) = delete;
  QuietError& operator=(const QuietError&) = delete;
  ~QuietError() {
    SetStdHandle(STD_ERROR_HANDLE, before_);
    CloseHandle(nowhere_);
  }

 private:
  HANDLE before_;
  HANDLE nowhere_;
};

/// The machine's registry keys, led to a place of the test's own.
class OwnMachine {
 public:
  OwnMachine() {
    EXPECT_EQ(ERROR_SUCCESS, RegOverridePredefKey(HKEY_LOCAL_MACHINE, machine_.Get()));
  }
  OwnMachine(const OwnMachine&) = delete;
  OwnMachine& operator=(const OwnMachine&) = delete;
  ~OwnMachine() {
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    OpenKey(HKEY_CURRENT_USER, L"Software").Delete(L"Brindlex Swept");
  }

  std::size_t Lines() const { return LinesBelow(machine_.Get()).size(); }

 private:
  OpenKey machine_{HKEY_CURRENT_USER, L"Software\\Brindlex Swept"};
};

class ImportSweepTest : public TextFilesTest {
 protected:
  void SetUp() override {
    TextFilesTest::SetUp();
    memory_.emplace(Dll().Module());
    operations_ = NewSaveRestore();
    record_ = NewRecord();
    objects_ = ForeignCollection::New(false);
    objects_->AddEntry(record_.Get());
    creator_ = NewCreator([] { return NewRecord().As<IDispatch>(); });
    own_ = Dll().New<_clsTextData, ::clsTextData>();
    collection_ = NewCollection();
    EXPECT_EQ(S_OK, collection_->Add(OfLong(7).Get(), Missing(), Missing(), Missing()));
    EXPECT_EQ(S_OK, Dll().Unregister());
    // What the run time sets up for the thread's first exception stays.
    Bstr none;
    EXPECT_EQ(S_OK, operations_->AsDelimitedFromObject(nullptr, none.Receive()));
    std::thread([this] { EXPECT_TRUE(FAILED(collection_->Remove(OfLong(9).Get()))); }).join();
  }

  void TearDown() override {
    operations_ = nullptr;
    record_ = nullptr;
    objects_ = nullptr;
    creator_ = nullptr;
    own_ = nullptr;
    collection_ = nullptr;
    memory_.reset();
    // A temporary file stays where every call that could remove it was made to fail.
    for (const auto& file : std::filesystem::directory_iterator(PathOf(u""))) {
      SetFileAttributesW(file.path().c_str(), FILE_ATTRIBUTE_NORMAL);
    }
    EXPECT_EQ(0, ScriptedObject::Alive());
    TextFilesTest::TearDown();
  }

  static ComPtr<ScriptedObject> NewRecord() {
    auto record = ScriptedObject::New();
    record->Property(u"Real", Of(VT_R8, 1.5));
    record->Property(u"Day", Of(VT_DATE, 36526.0));
    record->Method(u"GetMemberNames", [](const Arguments&) {
      return Variant::OfObject(ForeignCollection::OfNames({u"Real", u"Day"}).Get());
    });
    return record;
  }

  std::vector<Operation> Operations();
  /// Runs the operation with failures of every function that it calls; how many runs failed.
  int Sweep(const Operation& operation);

 private:
  struct Counted {
    const Import* import;
    int calls;
  };

  /// What the operation comes to with the functions counted, and the chosen one failing.
  Outcome Run(const Operation& operation);
  /// The functions that the operation calls, and how often.
  std::vector<Counted> CallsOf(const Operation& operation, const Outcome& right);
  void FailOnce(const Operation& operation, const Outcome& right, const Import& import);
  std::vector<std::unique_ptr<PatchedImport>> Patches() const;

  Outcome SaveUnder(const char16_t* name, TextView text);
  Outcome Register();
  Outcome HandOver();

  const QuietError quiet_;
  std::optional<FailingMemory> memory_;
  ComPtr<_clsCollectionSaveRestore> operations_;
  ComPtr<ScriptedObject> record_;
  ComPtr<ForeignCollection> objects_;
  ComPtr<ScriptedObject> creator_;
  ComPtr<_clsTextData> own_;
  ComPtr<_clsCollection> collection_;
};

Outcome ImportSweepTest::SaveUnder(const char16_t* name, TextView text) {
  VARIANT_BOOL saved = VARIANT_FALSE;
  const HRESULT status =
      files_->SaveTextFile(Bstr(PathOf(name)).Get(), Bstr(text).Get(), VARIANT_FALSE, &saved);
  return Flag(status, saved);
}

/// Registers and unregisters; when the first fails, nothing is left of it unless taking it back
/// fails as well.
Outcome ImportSweepTest::Register() {
  const OwnMachine machine;
  const std::size_t before = machine.Lines();
  const HRESULT registered = Dll().Register();
  if (FAILED(registered) && !failsEverAfter) {
    // The folders of all classes are there at the end, as on every machine.
    EXPECT_LE(machine.Lines(), before + 5);
  }
  const HRESULT unregistered = Dll().Unregister();
  return {FAILED(registered) ? registered : unregistered, u""};
}

Outcome ImportSweepTest::HandOver() {
  Outcome outcome;
  InApartment([&] {
    const auto host = ScriptedObject::New();
    outcome.status = files_->StartUp(host.Get(), Bstr(u"a").Get(), Bstr(u"b").Get());
    // As the host itself must on its thread.
    SetErrorInfo(0, nullptr);
  });
  return outcome;
}

std::vector<Operation> ImportSweepTest::Operations() {
  const auto environment = Dll().New<_clsEnvironment, ::clsEnvironment>();
  const auto bases = Dll().New<_clsBases, ::clsBases>();
  const Units saved = u"Real\u00A5Day\u00A5\u01521\u00A52\u00A5\u0152";
  std::vector<Operation> all;
  const auto add = [&all](Operation operation) { all.push_back(std::move(operation)); };
  add({"saving records", [this] {
         BSTR text = nullptr;
         const HRESULT status = operations_->AsDelimitedFromCollection(objects_.Get(), Missing(),
                                                                       Missing(), Missing(), &text);
         return Text(status, text);
       }});
  add({"restoring records", [this, saved] {
         ComPtr<_clsCollection> restored;
         const HRESULT status =
             operations_->AsDelimitedToCollection(Bstr(saved).Get(), creator_.Get(), Missing(),
                                                  Missing(), Missing(), restored.Receive());
         return Outcome{status, restored ? u"some" : u""};
       }});
  add({"names by type information", [this] {
         ComPtr<_clsCollection> names;
         const HRESULT status = operations_->GetMemberNamesLate(own_.Get(), names.Receive());
         return Outcome{status, names ? u"some" : u""};
       }});
  add({"a report in a box", [this] {
         BSTR text = nullptr;
         const HRESULT status = operations_->AsDelimitedFromCollection(nullptr, Missing(),
                                                                       Missing(), Missing(), &text);
         return Text(status, text);
       }});
  add({"a report that nobody sees", [this] {
         const HiddenStation hidden;
         BSTR text = nullptr;
         const HRESULT status = operations_->AsDelimitedFromCollection(nullptr, Missing(),
                                                                       Missing(), Missing(), &text);
         return Text(status, text);
       }});
  add({"a long report",
       [this] {
         Outcome outcome;
         VARIANT_BOOL done = VARIANT_TRUE;
         outcome.status = files_->SaveTextFile(Bstr(u"C:\\no such folder\\f").Get(),
                                               Bstr(Units(5000, u'x')).Get(), VARIANT_FALSE, &done);
         EXPECT_EQ(VARIANT_FALSE, done);
         reportCount += static_cast<int>(Boxes().Boxes().size());
         Boxes().Forget();
         return outcome;
       },
       u"", true, false, false, true});
  add({"saving a text", [this] { return SaveUnder(u"f", u"na\u00EFve \u4E00 text"); }, u"False"});
  add({"reading a text", [this] {
         BSTR text = nullptr;
         const HRESULT status =
             files_->ReadTextFile(Bstr(PathOf(u"f")).Get(), VARIANT_FALSE, &text);
         return Text(status, text);
       }});
  add({"copying a file", [this] { return Outcome{Copy(PathOf(u"f"), PathOf(u"g")), u""}; }});
  add({"saving a text safely",
       [this] {
         VARIANT_BOOL done = VARIANT_FALSE;
         const HRESULT status = files_->SaveTextFileSafely(
             Bstr(PathOf(u"h")).Get(), Bstr(u"na\u00EFve text").Get(), VARIANT_FALSE, &done);
         return Flag(status, done);
       },
       u"False"});
  add({"saving a text safely over another",
       [this] {
         SetFileAttributesW(Wide(PathOf(u"h")), FILE_ATTRIBUTE_READONLY);
         VARIANT_BOOL done = VARIANT_FALSE;
         const HRESULT status = files_->SaveTextFileSafely(
             Bstr(PathOf(u"h")).Get(), Bstr(u"text").Get(), VARIANT_FALSE, &done);
         return Flag(status, done);
       },
       u"False"});
  add({"making a folder",
       [this] {
         VARIANT_BOOL exists = VARIANT_FALSE;
         const HRESULT status = files_->EnsureFolder(Bstr(PathOf(u"d")).Get(), &exists);
         RemoveDirectoryW(Wide(PathOf(u"d")));
         return Flag(status, exists);
       },
       u"False", false});
  add({"the system's folder", [this] {
         ComPtr<IDispatch> folder;
         const HRESULT status = files_->GetWinSysDirFolder(folder.Receive());
         return Outcome{status, folder ? u"some" : u""};
       }});
  add({"a special folder",
       [environment] {
         BSTR path = nullptr;
         const HRESULT status = environment->FindSystemFolder(CSIDL_COMMON_APPDATA, &path);
         return Text(status, path);
       },
       u"", false, true, true});
  add({"the system's release",
       [environment] {
         BSTR name = nullptr;
         const HRESULT status = environment->GetOsName(&name);
         return Text(status, name);
       },
       u"", false, true});
  add({"a hand-over", [this] { return HandOver(); }});
  add({"a number in another base",
       [bases] {
         LateCall call(*bases.Get(), L"ConvertBase");
         call.WithOwned(Variant(u"10.5")).WithOwned(OfLong(10)).WithOwned(OfLong(2));
         const HRESULT status = call.Run();
         if (FAILED(status)) return Outcome{status, u""};
         return Outcome{status, Shown(call.Result())};
       },
       u"", true, true});
  add({"an entry by a number in a text", [this] {
         LateCall call(*collection_.Get(), L"Item");
         const HRESULT status = call.WithOwned(OfDouble(1)).Run();
         const Units shown = SUCCEEDED(status) ? Shown(call.Result()) : u"";
         return Outcome{status, shown};
       }});
  add({"an error for the host",
       [this] {
         LateCall call(*collection_.Get(), L"Item");
         const HRESULT status = call.WithOwned(Variant(u"absent")).Run();
         return Outcome{status, u""};
       },
       u"", true, true});
  add({"type information", [this] {
         ComPtr<ITypeInfo> info;
         const HRESULT status = own_->GetTypeInfo(0, LOCALE_USER_DEFAULT, info.Receive());
         SetErrorInfo(0, nullptr);
         return Outcome{status, info ? u"some" : u""};
       }});
  add({"registering", [this] { return Register(); }, u"", true, false, false, true});
  return all;
}

std::vector<std::unique_ptr<PatchedImport>> ImportSweepTest::Patches() const {
  std::vector<std::unique_ptr<PatchedImport>> patches;
  const std::vector<std::string> imported = ImportsByName(Dll().Module());
  const auto patch = [&](const std::string& name, void* standIn) {
    if (std::find(imported.begin(), imported.end(), name) == imported.end()) return;
    patches.push_back(std::make_unique<PatchedImport>(Dll().Module(), name.c_str(), standIn));
  };
  for (const Import& import : Imports()) patch(import.name, import.standIn);
  patch("OutputDebugStringW", reinterpret_cast<void*>(&CountDebugText));
  return patches;
}

Outcome ImportSweepTest::Run(const Operation& operation) {
  for (const Import& import : Imports()) *import.calls = 0;
  reportCount = 0;
  const auto patches = Patches();
  Outcome outcome = operation.run();
  SetErrorInfo(0, nullptr);
  return outcome;
}

std::vector<ImportSweepTest::Counted> ImportSweepTest::CallsOf(const Operation& operation,
                                                               const Outcome& right) {
  EXPECT_EQ(right, Run(operation));
  std::vector<Counted> counted;
  for (const Import& import : Imports()) {
    if (*import.calls > 0) counted.push_back({&import, *import.calls});
  }
  return counted;
}

void ImportSweepTest::FailOnce(const Operation& operation, const Outcome& right,
                               const Import& import) {
  const long heap = FailingMemory::LiveBlocks();
  const long blocks = MallocSpy::Instance().LiveBlocks();
  chosenFunction = import.calls;
  const Outcome outcome = Run(operation);
  chosenFunction = nullptr;
  const bool isRight = outcome == right;
  const bool isNone = outcome.result == operation.none;
  EXPECT_TRUE(outcome.status == S_OK || FAILED(outcome.status)) << std::hex << outcome.status;
  EXPECT_TRUE(isRight || isNone || operation.hasOthers) << ::testing::PrintToString(outcome);
  if (!isRight && operation.reports && import.name != "MessageBoxW") {
    EXPECT_TRUE(reportCount > 0 || FAILED(outcome.status)) << "nothing was reported";
  }
  EXPECT_EQ(heap, FailingMemory::LiveBlocks());
  if (!operation.leavesBlocks) {
    EXPECT_EQ(blocks, MallocSpy::Instance().LiveBlocks());
  }
  if (!operation.isSlow) {
    EXPECT_EQ(right, Run(operation)) << "afterwards";
  }
}

int ImportSweepTest::Sweep(const Operation& operation) {
  SCOPED_TRACE(operation.title);
  // Once for what is made at the first use and stays.
  const Outcome right = Run(operation);
  int runs = 0;
  for (const Counted& counted : CallsOf(operation, right)) {
    SCOPED_TRACE(counted.import->name);
    for (const int call : std::set<int>{1, (counted.calls + 1) / 2, counted.calls}) {
      for (const bool everAfter : {false, true}) {
        if (call != 1 && (everAfter || operation.isSlow)) continue;
        SCOPED_TRACE(::testing::Message() << "call " << call << (everAfter ? " and on" : ""));
        chosenCall = call;
        failsEverAfter = everAfter;
        FailOnce(operation, right, *counted.import);
        ++runs;
      }
    }
  }
  chosenCall = 0;
  failsEverAfter = false;
  EXPECT_EQ(right, Run(operation)) << "afterwards";
  return runs;
}

TEST_F(ImportSweepTest, EveryImportOfTheDllIsSweptOrExempt) {
  std::set<std::string> known;
  for (const Import& import : Imports()) known.insert(import.name);
  for (const Exempt& exempt : kExempt) {
    EXPECT_TRUE(known.insert(exempt.name).second)
        << exempt.name << " is swept, although: " << exempt.reason;
  }
  for (const std::string& name : ImportsByName(Dll().Module())) {
    // The C run time's own functions are in lower case.
    const bool isOfTheRunTime = name[0] == '_' || (name[0] >= 'a' && name[0] <= 'z');
    EXPECT_TRUE(isOfTheRunTime || known.contains(name)) << name;
  }
}

TEST_F(ImportSweepTest, EveryOperationSurvivesTheFailureOfEveryFunctionThatItCalls) {
  int runs = 0;
  for (const Operation& operation : Operations()) {
    const long before = MallocSpy::Instance().LiveBlocks();
    const int made = Sweep(operation);
    EXPECT_GT(made, 0) << operation.title;
    runs += made;
    // The shell keeps the lists of its folders.
    if (operation.leavesBlocks) ExpectBlocksLeft(MallocSpy::Instance().LiveBlocks() - before);
  }
  RecordProperty("runs", runs);
  EXPECT_GT(runs, 200);
}

}  // namespace
}  // namespace brindlex::testing
