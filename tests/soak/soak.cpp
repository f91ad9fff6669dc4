// The component over a long life, in a strict host (tests/com/support/strict_host.h). Prints what
// it measured; status 0 when all is within its limits, 1 otherwise, with a line "FAILED" for each
// that is not.
//
//   soak DLL CYCLES ROUNDS
//
// CYCLES times the DLL is loaded, registered, used, unregistered and freed; ROUNDS times each of
// 24 threads uses everything in an apartment of its own, boxes come and go, and a thread and a
// process end inside a report; the race for the last reference is run ten times as often. Called by
// itself with "exit MODE" for the processes.

#include <windows.h>

#include <objbase.h>
#include <psapi.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "platform/win32/automation/com_ptr.h"
#include "platform/win32/automation/variant.h"
#include "server/Brindlex.h"
#include "tests/com/support/strict_host.h"
#include "tests/hosts/start_process.h"

namespace {

using brindlex::Bstr;
using brindlex::ComPtr;
using brindlex::TextView;
using brindlex::Variant;

std::atomic<int> failures{0};

void Fail(const char* what, double measured, double limit) {
  ++failures;
  std::printf("FAILED %s: %.0f, and the limit is %.0f\n", what, measured, limit);
}

void Require(bool holds, const char* what) {
  if (holds) return;
  ++failures;
  std::printf("FAILED %s\n", what);
}

/// How many handles the process has. Where the system does not count them, it is the number of
/// a new one, since the lowest free number is taken.
DWORD HandlesInUse() {
  DWORD count = 0;
  GetProcessHandleCount(GetCurrentProcess(), &count);
  auto* const next = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  CloseHandle(next);
  return count != 0 ? count : static_cast<DWORD>(reinterpret_cast<DWORD_PTR>(next) / 4);
}

/// How many GDI objects the process has. Where the system does not count them, they are counted by
/// making new ones until none is left.
DWORD GdiObjectsInUse() {
  const DWORD count = GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS);
  if (count != 0) return count;
  constexpr DWORD kMore = 100000;
  std::vector<HPEN> pens;
  for (HPEN pen = nullptr; (pen = CreatePen(PS_SOLID, 1, RGB(1, 2, 3))) != nullptr;) {
    pens.push_back(pen);
  }
  for (auto* const pen : pens) DeleteObject(pen);
  return kMore - static_cast<DWORD>(pens.size());
}

/// What must not grow over a long life.
struct Level {
  std::size_t heapBytes = 0;
  std::size_t committedBytes = 0;
  DWORD handles = 0;
  DWORD gdiObjects = 0;
  DWORD nextSlot = 0;

  static Level Now() {
    Level now;
    HANDLE heaps[256];
    const DWORD count = std::min<DWORD>(GetProcessHeaps(256, heaps), 256);
    for (DWORD heap = 0; heap < count; ++heap) {
      PROCESS_HEAP_ENTRY entry{};
      HeapLock(heaps[heap]);
      while (HeapWalk(heaps[heap], &entry) != FALSE) {
        if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) now.heapBytes += entry.cbData;
      }
      HeapUnlock(heaps[heap]);
    }
    PROCESS_MEMORY_COUNTERS memory{};
    if (GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory) != FALSE) {
      now.committedBytes = memory.PagefileUsage;
    }
    now.handles = HandlesInUse();
    now.gdiObjects = GdiObjectsInUse();
    now.nextSlot = TlsAlloc();
    TlsFree(now.nextSlot);
    return now;
  }
};

void Compare(const char* what, const Level& before, const Level& after) {
  constexpr std::size_t kFlat = std::size_t{64} << 10U;
  std::printf(
      "%s: heap %zu -> %zu bytes, committed %zu -> %zu KiB, handles %lu -> %lu, "
      "GDI %lu -> %lu, slots %lu -> %lu\n",
      what, before.heapBytes, after.heapBytes, before.committedBytes / 1024,
      after.committedBytes / 1024, before.handles, after.handles, before.gdiObjects,
      after.gdiObjects, before.nextSlot, after.nextSlot);
  if (after.heapBytes > before.heapBytes + kFlat) {
    Fail("bytes in use", static_cast<double>(after.heapBytes - before.heapBytes), kFlat);
  }
  if (after.handles > before.handles) Fail("handles", after.handles, before.handles);
  if (after.gdiObjects > before.gdiObjects)
    Fail("GDI objects", after.gdiObjects, before.gdiObjects);
  if (after.nextSlot > before.nextSlot) Fail("slots", after.nextSlot, before.nextSlot);
}

/// Does `round` over and over and compares the levels. What the system keeps once for all, as a
/// handle for a lock that two threads have met at, and now and then something of a window, comes in
/// some passes; a leak is in each of them.
template <class Round>
void CompareInPasses(const char* what, int rounds, const Round& round) {
  constexpr int kPasses = 4;
  for (int pass = 1;; ++pass) {
    const Level before = Level::Now();
    for (int time = 0; time < rounds; ++time) round();
    const Level after = Level::Now();
    const bool isLevel = after.handles <= before.handles && after.gdiObjects <= before.gdiObjects;
    // The first makes all that is made once.
    if (pass == kPasses || (pass > 1 && isLevel)) return Compare(what, before, after);
  }
}

/// The DLL, loaded by its path.
class Component {
 public:
  explicit Component(const std::wstring& path) : module_(LoadLibraryW(path.c_str())) {
    Require(module_ != nullptr, "the DLL loads");
  }
  Component(const Component&) = delete;
  Component& operator=(const Component&) = delete;
  ~Component() { FreeLibrary(module_); }

  HRESULT Run(const char* entryPoint) const { return EntryPoint<HRESULT WINAPI()>(entryPoint)(); }
  bool CanUnload() const { return Run("DllCanUnloadNow") == S_OK; }

  template <class Class, class Interface>
  ComPtr<Interface> New() const {
    ComPtr<IClassFactory> factory;
    ComPtr<Interface> object;
    EntryPoint<HRESULT WINAPI(REFCLSID, REFIID, void**)>("DllGetClassObject")(
        __uuidof(Class), IID_IClassFactory, factory.ReceiveVoid());
    factory->CreateInstance(nullptr, __uuidof(Interface), object.ReceiveVoid());
    return object;
  }

 private:
  template <class Function>
  Function* EntryPoint(const char* name) const {
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module_, name)));
  }

  HMODULE module_;
};

/// A host's object that receives reports, and then does what it was made for.
class Listener final : public IDispatch {
 public:
  explicit Listener(std::function<void()> whenTold = {}) : whenTold_(std::move(whenTold)) {}
  virtual ~Listener() = default;

  int Told() const { return told_; }

  STDMETHODIMP QueryInterface(REFIID id, void** result) override {
    const bool known = id == IID_IUnknown || id == IID_IDispatch;
    *result = known ? static_cast<IDispatch*>(this) : nullptr;
    if (known) AddRef();
    return known ? S_OK : E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }
  STDMETHODIMP GetTypeInfoCount(UINT* count) override {
    *count = 0;
    return S_OK;
  }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return DISP_E_BADINDEX; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* ids) override {
    *ids = std::wstring_view(*names) == L"OnReport" ? 1 : DISPID_UNKNOWN;
    return *ids == 1 ? S_OK : DISP_E_UNKNOWNNAME;
  }
  STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                      UINT*) override {
    ++told_;
    if (whenTold_) whenTold_();
    return S_OK;
  }

 private:
  std::function<void()> whenTold_;
  std::atomic<ULONG> references_{1};
  std::atomic<int> told_{0};
};

VARIANT Missing() {
  VARIANT missing;
  missing.vt = VT_ERROR;
  missing.scode = DISP_E_PARAMNOTFOUND;
  return missing;
}

std::u16string Taken(BSTR text) {
  std::u16string units(brindlex::ViewOf(text));
  SysFreeString(text);
  return units;
}

void Fail(const Component& component) {
  BSTR text = nullptr;
  component.New<clsCollectionSaveRestore, _clsCollectionSaveRestore>()->AsDelimitedFromCollection(
      nullptr, Missing(), Missing(), Missing(), &text);
  SysFreeString(text);
}

/// Uses every class, on a thread that has an apartment.
void UseEverything(const Component& component, const std::wstring& file) {
  auto listener = ComPtr<Listener>::Adopt(new Listener);
  const auto environment = component.New<clsEnvironment, _clsEnvironment>();
  environment->putref_ReportListener(listener.Get());

  const auto saver = component.New<clsCollectionSaveRestore, _clsCollectionSaveRestore>();
  const auto creator = component.New<clsCreateTextData, _clsCreateTextData>();
  const auto records = component.New<clsCollection, _clsCollection>();
  for (int number = 0; number < 20; ++number) {
    ComPtr<_clsTextData> record;
    creator->GetNewObject(record.Receive());
    record->put_Name(Bstr(brindlex::DecimalText(number)).Get());
    record->put_DataString(Bstr(u"some data").Get());
    const Variant value = Variant::OfObject(record.Get());
    records->Add(value.Get(), Missing(), Missing(), Missing());
  }
  BSTR text = nullptr;
  saver->AsDelimitedFromCollection(records.Get(), Missing(), Missing(), Missing(), &text);
  const Bstr saved(Taken(text));
  ComPtr<_clsCollection> restored;
  const Variant key = Variant::OfText(u"Name");
  saver->AsDelimitedToCollection(saved.Get(), creator.Get(), Missing(), Missing(), key.Get(),
                                 restored.Receive());
  long count = 0;
  if (restored) restored->get_Count(&count);
  Require(count == 20, "twenty records come back");
  IDispatch* collection = records.Get();
  const Bstr name(u"All");
  BSTR nameVariable = name.Get();
  saver->MultiDataColString(&collection, &nameVariable, &text);
  saver->put_MultiDataString(Bstr(Taken(text)).Get());
  ComPtr<_clsCollection> working;
  saver->WorkingCol(name.Get(), creator.Get(), Missing(), working.Receive());
  Require(static_cast<bool>(working), "the stored collection comes back");

  BSTR shown = nullptr;
  environment->GetOsName(&shown);
  Require(Taken(shown).starts_with(u"Windows"), "the system has a name");
  const auto bases = component.New<clsBases, _clsBases>();
  double number = 0;
  bases->ConvertBase2Dec(Bstr(u"FF").Get(), 16, &number);
  Require(number == 255, "FF is 255");
  const auto files = component.New<clsAppFiles, _clsAppFiles>();
  files->StartUp(listener.Get(), Bstr(u"Product").Get(), Bstr(u"Maker").Get());
  const Bstr path(TextView(reinterpret_cast<const char16_t*>(file.data()), file.size()));
  VARIANT_BOOL done = VARIANT_FALSE;
  files->SaveTextFile(path.Get(), saved.Get(), VARIANT_FALSE, &done);
  Require(done == VARIANT_TRUE, "the file is saved");
  files->SaveTextFileSafely(path.Get(), saved.Get(), VARIANT_FALSE, &done);
  Require(done == VARIANT_TRUE, "the file is saved safely");
  files->ReadTextFile(path.Get(), VARIANT_FALSE, &text);
  Require(Taken(text) == saved.View(), "the file is read");
  Require(listener->Told() == 0, "nothing was reported");
  Fail(component);
  Require(listener->Told() == 1, "the failure was reported");
}

std::wstring FileOf(int number) {
  wchar_t folder[MAX_PATH];
  GetTempPathW(MAX_PATH, folder);
  return std::wstring(folder) + L"Brindlex soak " + std::to_wstring(GetCurrentProcessId()) + L" " +
         std::to_wstring(number) + L".txt";
}

// ---- One life after the other ------------------------------------------------------------------

void Live(const std::wstring& dll) {
  CoInitialize(nullptr);
  {
    const Component component(dll);
    Require(component.Run("DllRegisterServer") == S_OK, "registers");
    UseEverything(component, FileOf(0));
    CoUninitialize();
    Require(component.CanUnload(), "can be unloaded");
    Require(component.Run("DllUnregisterServer") == S_OK, "unregisters");
  }
  Require(GetModuleHandleW(L"Brindlex.dll") != nullptr, "stays loaded");
}

void LiveOverAndOver(const std::wstring& dll, int cycles) {
  // What the system itself builds up at first use comes before.
  for (int cycle = 0; cycle < 20; ++cycle) Live(dll);
  Level::Now();
  const Level before = Level::Now();
  for (int cycle = 0; cycle < cycles; ++cycle) Live(dll);
  Compare("cycles", before, Level::Now());
}

// ---- Threads -----------------------------------------------------------------------------------

void InParallel(int threads, const std::function<void(int)>& body) {
  std::vector<std::thread> running;
  running.reserve(static_cast<std::size_t>(threads));
  for (int number = 0; number < threads; ++number) {
    running.emplace_back([&body, number] {
      brindlex::testing::StrictestEnvironment().Set();
      body(number);
    });
  }
  for (std::thread& thread : running) thread.join();
}

void UseFromManyThreads(const Component& component, int rounds) {
  constexpr int kThreads = 24;
  const auto round = [&] {
    InParallel(kThreads, [&](int number) {
      CoInitialize(nullptr);
      UseEverything(component, FileOf(number));
      CoUninitialize();
    });
  };
  CompareInPasses("24 threads", rounds, round);
  Require(component.CanUnload(), "24 threads leave nothing behind");
}

/// The last reference goes on one thread while another asks and, once it may, frees the DLL.
void RaceTheLastRelease(const std::wstring& dll, int rounds) {
  for (int time = 0; time < rounds; ++time) {
    auto component = std::make_unique<Component>(dll);
    auto object = component->New<clsCollection, _clsCollection>();
    Require(!component->CanUnload(), "an object keeps the DLL");
    std::atomic<bool> released{false};
    std::thread other([&] {
      object = nullptr;
      released = true;
    });
    while (!component->CanUnload()) std::this_thread::yield();
    // COM gives a thread on its way out of Release its time, too.
    while (!released) std::this_thread::yield();
    component = nullptr;
    other.join();
  }
}

void ReleaseBehindTheApartment(const Component& component, int rounds) {
  for (int time = 0; time < rounds; ++time) {
    InParallel(1, [&](int) {
      CoInitialize(nullptr);
      auto listener = ComPtr<Listener>::Adopt(new Listener);
      auto environment = component.New<clsEnvironment, _clsEnvironment>();
      environment->putref_ReportListener(listener.Get());
      auto records = component.New<clsCollection, _clsCollection>();
      CoUninitialize();
      long count = -1;
      records->get_Count(&count);
      Require(count == 0, "an object works on after its apartment");
      records = nullptr;
      environment = nullptr;
    });
  }
  Require(component.CanUnload(), "apartments that went first leave nothing behind");
}

DWORD WINAPI EndInsideAReport(void* data) {
  CoInitialize(nullptr);
  const auto& component = *static_cast<const Component*>(data);
  auto listener = ComPtr<Listener>::Adopt(new Listener([] { ExitThread(7); }));
  component.New<clsEnvironment, _clsEnvironment>()->putref_ReportListener(listener.Get());
  Fail(component);
  return 0;
}

void EndThreadsInsideAReport(Component& component, int rounds) {
  for (int time = 0; time < rounds; ++time) {
    auto* const thread = CreateThread(nullptr, 0, EndInsideAReport, &component, 0, nullptr);
    Require(WaitForSingleObject(thread, 1000) == WAIT_OBJECT_0,
            "a thread ends inside a report within a second");
    DWORD status = 0;
    GetExitCodeThread(thread, &status);
    Require(status == 7, "a thread ends inside a report");
    CloseHandle(thread);
  }
  InParallel(1, [&](int) {
    CoInitialize(nullptr);
    UseEverything(component, FileOf(0));
    CoUninitialize();
  });
}

// ---- Boxes -------------------------------------------------------------------------------------

/// Closes the report with this caption as soon as it is there.
void CloseBox(const wchar_t* caption) {
  HWND box = nullptr;
  while ((box = FindWindowW(nullptr, caption)) == nullptr) Sleep(1);
  PostMessageW(box, WM_COMMAND, IDOK, 0);
  while (IsWindow(box) != FALSE) Sleep(1);
}

/// Short reports in message boxes, and long ones in a window of their own.
void ShowBoxes(const Component& component, int rounds) {
  const Bstr path(u"Q:\\no\\f");
  const Bstr text(std::u16string(5000, u'x'));
  const auto show = [&] {
    std::thread closer([] {
      CloseBox(L"Error DFC");
      CloseBox(L"KX Error");
    });
    Fail(component);
    VARIANT_BOOL saved = VARIANT_TRUE;
    component.New<clsAppFiles, _clsAppFiles>()->SaveTextFile(path.Get(), text.Get(), VARIANT_FALSE,
                                                             &saved);
    closer.join();
  };
  CoInitialize(nullptr);
  CompareInPasses("boxes", rounds, show);
  CoUninitialize();
}

// ---- The end of the process --------------------------------------------------------------------

constexpr wchar_t kGoing[] = L"Brindlex soak, a process on its way out";

[[noreturn]] void Go() {
  auto* const going = OpenEventW(EVENT_MODIFY_STATE, FALSE, kGoing);
  SetEvent(going);
  ExitProcess(7);
}

/// Ends this process inside a report: of a listener, or while a box is open on another thread.
int ExitInsideAReport(const std::wstring& dll, const std::wstring& mode) {
  CoInitialize(nullptr);
  const Component component(dll);
  if (mode == L"listener") {
    auto listener = ComPtr<Listener>::Adopt(new Listener(Go));
    component.New<clsEnvironment, _clsEnvironment>()->putref_ReportListener(listener.Get());
    Fail(component);
    return 1;
  }
  std::thread([&] {
    CoInitialize(nullptr);
    Fail(component);
  }).detach();
  while (FindWindowW(nullptr, L"Error DFC") == nullptr) Sleep(1);
  Go();
}

/// Runs such a process; how long it took to go, in milliseconds.
DWORD TimeToGo(const std::wstring& dll, const wchar_t* mode) {
  wchar_t own[MAX_PATH];
  GetModuleFileNameW(nullptr, own, MAX_PATH);
  const std::wstring command = L"\"" + std::wstring(own) + L"\" \"" + dll + L"\" exit " + mode;
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  auto* const going = CreateEventW(nullptr, FALSE, FALSE, kGoing);
  if (!brindlex::testing::StartProcess(command, /*inheritsHandles=*/false, 0, startup, process)) {
    Fail("starting a process, the system's error", GetLastError(), 0);
    return 0;
  }
  constexpr DWORD kLongestStart = 60000;
  Require(WaitForSingleObject(going, kLongestStart) == WAIT_OBJECT_0, "a process gets so far");
  const DWORD start = GetTickCount();
  Require(WaitForSingleObject(process.hProcess, kLongestStart) == WAIT_OBJECT_0,
          "a process ends inside a report");
  const DWORD time = GetTickCount() - start;
  DWORD status = 0;
  GetExitCodeProcess(process.hProcess, &status);
  Require(status == 7, "a process ends inside a report with its own status");
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  CloseHandle(going);
  return time;
}

void EndProcessesInsideAReport(const std::wstring& dll, int rounds) {
  DWORD longest = 0;
  for (int time = 0; time < rounds; ++time) {
    longest = std::max({longest, TimeToGo(dll, L"listener"), TimeToGo(dll, L"box")});
  }
  std::printf("processes that end inside a report: gone after at most %lu ms\n", longest);
  if (longest > 1000) Fail("milliseconds until a process is gone", longest, 1000);
}

void RemoveFiles() {
  for (int number = 0; number < 24; ++number) DeleteFileW(FileOf(number).c_str());
}

template <class Step>
void Timed(const char* what, Step&& step) {
  const DWORD start = GetTickCount();
  step();
  std::printf("%s: %.1f s\n", what, (GetTickCount() - start) / 1000.0);
  std::fflush(stdout);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc != 4) return 2;
  const std::wstring dll = argv[1];
  if (!brindlex::testing::MakeHostStrict()) return 1;
  if (std::wstring(argv[2]) == L"exit") return ExitInsideAReport(dll, argv[3]);
  const int cycles = _wtoi(argv[2]);
  const int rounds = _wtoi(argv[3]);
  Timed("lives", [&] { LiveOverAndOver(dll, cycles); });
  Timed("races", [&] { RaceTheLastRelease(dll, 10 * rounds); });
  {
    Component component(dll);
    Timed("threads", [&] { UseFromManyThreads(component, rounds); });
    Timed("apartments", [&] { ReleaseBehindTheApartment(component, rounds); });
    Timed("boxes", [&] { ShowBoxes(component, rounds); });
    Timed("threads that end", [&] { EndThreadsInsideAReport(component, rounds); });
  }
  Timed("processes that end", [&] { EndProcessesInsideAReport(dll, rounds); });
  RemoveFiles();
  const long exceptions = brindlex::testing::FirstChanceExceptions();
  if (exceptions != 0) Fail("first-chance exceptions", static_cast<double>(exceptions), 0);
  std::printf(failures == 0 ? "soak: done\n" : "soak: %d failures\n", failures.load());
  return failures == 0 ? 0 : 1;
}
