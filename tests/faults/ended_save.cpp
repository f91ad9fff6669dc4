// A program that saves a text and ends itself, as if it were killed, at a chosen call of the
// system:
//
//   ended_save PATH CALL before|after TEXT
//
// Its status is PlannedCalls::kEnded then; 0 when the save went through before that call, 1 when it
// failed.

#include <objbase.h>

#include <cstdlib>

#include "platform/win32/automation/com_ptr.h"
#include "platform/win32/automation/variant.h"
#include "server/Brindlex.h"
#include "tests/com/support/planned_calls.h"

namespace {

using brindlex::Bstr;
using brindlex::ComPtr;

using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);

/// The component beside the folder of this program.
HMODULE LoadComponent() {
  wchar_t path[MAX_PATH];
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  std::wstring folder(path);
  folder.resize(folder.rfind(L'\\'));
  folder.resize(folder.rfind(L'\\') + 1);
  return LoadLibraryW(folder.append(L"Brindlex.dll").c_str());
}

ComPtr<_clsAppFiles> NewAppFiles(HMODULE component) {
  const auto getClassObject = reinterpret_cast<GetClassObject>(
      reinterpret_cast<void*>(GetProcAddress(component, "DllGetClassObject")));
  ComPtr<IClassFactory> factory;
  ComPtr<_clsAppFiles> files;
  getClassObject(__uuidof(clsAppFiles), IID_IClassFactory, factory.ReceiveVoid());
  factory->CreateInstance(nullptr, __uuidof(_clsAppFiles), files.ReceiveVoid());
  return files;
}

brindlex::TextView Units(const wchar_t* text) { return reinterpret_cast<const char16_t*>(text); }

}  // namespace

int wmain(int argc, wchar_t** argv) {
  using brindlex::testing::Plan;
  if (argc != 5) return 2;
  CoInitialize(nullptr);
  auto* const component = LoadComponent();
  const auto files = NewAppFiles(component);
  const Bstr path(Units(argv[1]));
  const Bstr text(Units(argv[4]));
  const bool isBefore = std::wstring_view(argv[3]) == L"before";
  const Plan plan{_wtoi(argv[2]), isBefore ? Plan::Fate::kEndBefore : Plan::Fate::kEndBehind};
  const brindlex::testing::PlannedCalls calls(component, plan);
  VARIANT_BOOL saved = VARIANT_FALSE;
  files->SaveTextFileSafely(path.Get(), text.Get(), VARIANT_TRUE, &saved);
  return saved == VARIANT_TRUE ? 0 : 1;
}
