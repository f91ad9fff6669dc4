#include "tests/com/support/fixture.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "tests/com/support/malloc_spy.h"

namespace brindlex::testing {
namespace {

BoxWatch* theWatch = nullptr;

std::u16string TextOfWindow(HWND window) {
  std::vector<wchar_t> text(static_cast<std::size_t>(GetWindowTextLengthW(window)) + 1);
  const int length = GetWindowTextW(window, text.data(), static_cast<int>(text.size()));
  return {text.begin(), text.begin() + length};
}

std::wstring ClassOfWindow(HWND window) {
  wchar_t name[64];
  return {name, static_cast<std::size_t>(GetClassNameW(window, name, 64))};
}

BOOL CALLBACK ReadControl(HWND control, LPARAM data) {
  Box& box = *reinterpret_cast<Box*>(data);
  const std::wstring kind = ClassOfWindow(control);
  if (kind == L"Button") ++box.buttons;
  if (kind != L"Static") return TRUE;
  if ((GetWindowLongW(control, GWL_STYLE) & SS_TYPEMASK) == SS_ICON) {
    auto* const icon = reinterpret_cast<HICON>(SendMessageW(control, STM_GETICON, 0, 0));
    box.hasExclamationIcon = icon == LoadIconW(nullptr, IDI_EXCLAMATION);
  } else {
    box.text = TextOfWindow(control);
  }
  return TRUE;
}

template <class Function>
Function* EntryPoint(HMODULE module, const char* name) {
  auto* const address = GetProcAddress(module, name);
  if (address == nullptr) throw std::runtime_error(name);
  return reinterpret_cast<Function*>(reinterpret_cast<void*>(address));
}

}  // namespace

BoxWatch::BoxWatch()
    : hook_(SetWindowsHookExW(WH_CALLWNDPROCRET, Hook, nullptr, GetCurrentThreadId())) {
  theWatch = this;
}

BoxWatch::~BoxWatch() {
  UnhookWindowsHookEx(hook_);
  theWatch = nullptr;
}

LRESULT CALLBACK BoxWatch::Hook(int code, WPARAM sender, LPARAM data) {
  const auto& message = *reinterpret_cast<const CWPRETSTRUCT*>(data);
  if (code == HC_ACTION && message.message == WM_INITDIALOG) {
    // The timer runs in the box's own message loop, when the box is on the screen.
    SetTimer(message.hwnd, kTimer, USER_TIMER_MINIMUM, OnTimer);
  }
  return CallNextHookEx(nullptr, code, sender, data);
}

void CALLBACK BoxWatch::OnTimer(HWND window, UINT, UINT_PTR, DWORD) {
  // Under load the first timer comes before the box is shown.
  if (IsWindowVisible(window) == FALSE) return;
  KillTimer(window, kTimer);
  if (theWatch != nullptr) theWatch->Read(window);
}

void BoxWatch::Read(HWND window) {
  Box box;
  box.caption = TextOfWindow(window);
  EnumChildWindows(window, ReadControl, reinterpret_cast<LPARAM>(&box));
  boxes_.push_back(std::move(box));
  if (const auto action = std::exchange(whileNextIsOpen, nullptr)) action();
  PostMessageW(window, WM_COMMAND, IDOK, 0);
}

Component::Component(const std::wstring& path) : module_(LoadLibraryW(path.c_str())) {
  if (module_ == nullptr) throw std::runtime_error("Brindlex.dll does not load");
}

Component::~Component() { FreeLibrary(module_); }

std::wstring Component::Path() {
  wchar_t path[MAX_PATH];
  const DWORD length = GetModuleFileNameW(nullptr, path, MAX_PATH);
  std::wstring folder(path, length);
  for (int level = 0; level < 2; ++level) folder.erase(folder.find_last_of(L'\\'));
  return folder + L"\\Brindlex.dll";
}

HRESULT Component::GetClassObject(REFCLSID classId, REFIID interfaceId, void** result) const {
  return EntryPoint<HRESULT STDAPICALLTYPE(REFCLSID, REFIID, void**)>(module_, "DllGetClassObject")(
      classId, interfaceId, result);
}

HRESULT Component::CanUnloadNow() const {
  return EntryPoint<HRESULT STDAPICALLTYPE()>(module_, "DllCanUnloadNow")();
}

HRESULT Component::Register() const {
  return EntryPoint<HRESULT STDAPICALLTYPE()>(module_, "DllRegisterServer")();
}

HRESULT Component::Unregister() const {
  return EntryPoint<HRESULT STDAPICALLTYPE()>(module_, "DllUnregisterServer")();
}

HRESULT Component::Install(BOOL install, const wchar_t* forWhom) const {
  return EntryPoint<HRESULT STDAPICALLTYPE(BOOL, PCWSTR)>(module_, "DllInstall")(install, forWhom);
}

void ComTest::SetUp() {
  ASSERT_EQ(S_OK, CoInitialize(nullptr));
  component_ = std::make_unique<Component>();
  boxes_ = std::make_unique<BoxWatch>();
  blocksBefore_ = MallocSpy::Instance().LiveBlocks();
}

void ComTest::TearDown() {
  SetErrorInfo(0, nullptr);
  EXPECT_EQ(S_OK, component_->CanUnloadNow()) << "an object of the DLL is still alive";
  EXPECT_EQ(blocksBefore_, MallocSpy::Instance().LiveBlocks())
      << "BSTRs or task memory are still allocated";
  boxes_.reset();
  component_.reset();
  CoUninitialize();
}

ComPtr<_clsCollection> ComTest::NewCollection() const {
  return component_->New<_clsCollection, ::clsCollection>();
}

ComPtr<_clsCollectionSaveRestore> ComTest::NewSaveRestore() const {
  return component_->New<_clsCollectionSaveRestore, ::clsCollectionSaveRestore>();
}

std::u16string Taken(BSTR text) {
  std::u16string units(ViewOf(text));
  SysFreeString(text);
  return units;
}

VARIANT Missing() {
  VARIANT missing;
  missing.vt = VT_ERROR;
  missing.scode = DISP_E_PARAMNOTFOUND;
  return missing;
}

}  // namespace brindlex::testing
