// What a host sees of the component, checked on the Windows that it runs on, with nothing
// registered:
//
//   interface.exe DLL
//
// DLL is the path of Brindlex.dll. Prints a line for each check: "pass", its name; or "fail", its
// name, what was expected and what came, with tabs between; then "done". Exit status: 0 when every
// check passed, 1 otherwise. Makes and deletes one folder for temporary files.

#include <windows.h>
// After windows.h.
#include <objbase.h>
#include <oleauto.h>
#include <shlobj.h>
#include <xmmintrin.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "server/Brindlex.h"
#include "tests/com/support/patched_import.h"
#include "verify/programs/late_object.h"

namespace {

using brindlex::verify::Call;
using brindlex::verify::Create;
using brindlex::verify::Outcome;
using brindlex::verify::Put;
using brindlex::verify::Value;

// A box that nobody closes must not hold the check up for ever.
constexpr DWORD kLongest = 120000;
constexpr int kOverdue = 3;

int failures = 0;
std::string root;

std::string Utf8(const std::wstring& text) {
  const int length = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                         nullptr, 0, nullptr, nullptr);
  std::string bytes(static_cast<std::size_t>(length), ' ');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes.data(), length,
                      nullptr, nullptr);
  for (char& byte : bytes) {
    if (byte == '\t' || byte == '\r' || byte == '\n') byte = ' ';
  }
  return bytes;
}

void Expect(const char* name, const std::wstring& expected, const std::wstring& actual) {
  if (expected == actual) {
    std::printf("pass\t%s\n", name);
    return;
  }
  ++failures;
  std::printf("fail\t%s\t%s\t%s\n", name, Utf8(expected).c_str(), Utf8(actual).c_str());
}

void Expect(const char* name, const std::wstring& expected, const Outcome& actual) {
  Expect(name, expected, actual.Text());
}

Value Text(const wchar_t* text) { return Value(std::wstring(text)); }

/// The classes of the DLL, by its own manifest, as long as it lives.
class ActivationContext {
 public:
  explicit ActivationContext(const std::wstring& dll) {
    const std::wstring folder = dll.substr(0, dll.rfind(L'\\'));
    ACTCTXW context{};
    context.cbSize = sizeof context;
    context.dwFlags = ACTCTX_FLAG_RESOURCE_NAME_VALID | ACTCTX_FLAG_ASSEMBLY_DIRECTORY_VALID;
    context.lpSource = dll.c_str();
    context.lpAssemblyDirectory = folder.c_str();
    context.lpResourceName = MAKEINTRESOURCEW(1);
    handle_ = CreateActCtxW(&context);
    isActive_ = handle_ != INVALID_HANDLE_VALUE && ActivateActCtx(handle_, &cookie_) != FALSE;
  }
  ActivationContext(const ActivationContext&) = delete;
  ActivationContext& operator=(const ActivationContext&) = delete;
  ~ActivationContext() {
    if (isActive_) DeactivateActCtx(0, cookie_);
    if (handle_ != INVALID_HANDLE_VALUE) ReleaseActCtx(handle_);
  }

  bool IsActive() const { return isActive_; }

 private:
  HANDLE handle_ = INVALID_HANDLE_VALUE;
  ULONG_PTR cookie_ = 0;
  bool isActive_ = false;
};

// ---- The checks ---------------------------------------------------------------------------------

void CheckClasses() {
  for (const wchar_t* name :
       {L"Brindlex.clsCollection", L"Brindlex.clsTextData", L"Brindlex.clsCreateTextData",
        L"Brindlex.clsCollectionSaveRestore", L"Brindlex.clsEnvironment", L"Brindlex.clsAppFiles",
        L"Brindlex.clsBases"}) {
    Expect(("creates " + Utf8(name)).c_str(), L"object", Create(name).Text());
  }
}

void CheckCollection() {
  const Value collection = Create(L"Brindlex.clsCollection");
  auto* const object = collection.Object();
  Call(object, L"Add", {Text(L"one"), Text(L"First")});
  Call(object, L"aDD", {Text(L"two"), Text(L"Second")});
  Expect("collection: counts", L"2", Call(object, L"Count"));
  Expect("collection: finds by position", L"two", Call(object, L"Item", {Value(2L)}));
  Expect("collection: finds by key in any letter case", L"one",
         Call(object, L"Item", {Text(L"FIRST")}));
  Expect("collection: raises 457 for a key in use",
         L"error 0x800A01C9 This key is already associated with an "
         L"element of this collection",
         Call(object, L"Add", {Text(L"x"), Text(L"first")}));
  _clsCollection* early = nullptr;
  long count = 0;
  if (object != nullptr)
    object->QueryInterface(__uuidof(_clsCollection), reinterpret_cast<void**>(&early));
  if (early != nullptr) {
    early->get_Count(&count);
    early->Release();
  }
  Expect("collection: counts through the vtable", L"2", std::to_wstring(count));
}

void CheckSaveAndRestore() {
  const Value saver = Create(L"Brindlex.clsCollectionSaveRestore");
  const Value books = Create(L"Brindlex.clsCollection");
  const Value creator = Create(L"Brindlex.clsCreateTextData");
  const Value book = Call(creator.Object(), L"GetNewObject").value;
  Put(book.Object(), L"Name", Text(L"Moby Dick"));
  Put(book.Object(), L"DataString", Text(L"12.5"));
  Call(books.Object(), L"Add", {book});
  const Outcome text =
      Call(saver.Object(), L"AsDelimitedFromCollection", {books, Text(L"|"), Text(L";")});
  Expect("saves a collection", L"DataString;Name;|12.5;Moby Dick;|", text);
  const Outcome restored = Call(saver.Object(), L"AsDelimitedToCollection",
                                {text.value, creator, Text(L"|"), Text(L";"), Text(L"Name")});
  const Outcome found = Call(restored.value.Object(), L"Item", {Text(L"moby dick")});
  Expect("restores a collection with keys", L"12.5", Call(found.value.Object(), L"DataString"));
  const Outcome all = Call(saver.Object(), L"MultiDataColString", {books, Text(L"Novels")});
  Put(saver.Object(), L"MultiDataString", all.value);
  const Outcome novels = Call(saver.Object(), L"WorkingCol", {Text(L"NOVELS"), creator});
  Expect("keeps a named collection", L"1", Call(novels.value.Object(), L"Count"));
}

void CheckNumbers() {
  const Value bases = Create(L"Brindlex.clsBases");
  // As Delphi's programs have it: overflow, division by zero and invalid operations are not masked.
  constexpr unsigned int kStrict = 0x1900;
  constexpr unsigned int kFlags = 0x3F;
  const unsigned int before = _mm_getcsr();
  _mm_setcsr(kStrict);
  const Outcome number = Call(bases.Object(), L"ConvertBase", {Value(0.1), Value(10L), Value(16L)});
  const unsigned int after = _mm_getcsr() & ~kFlags;
  _mm_setcsr(before);
  Expect("numbers: converts in a strict host", L"0.1999999999999A", number);
  Expect("numbers: keeps the host's floating-point settings", std::to_wstring(kStrict),
         std::to_wstring(after));
  Expect("numbers: reads base 60", L"3725",
         Call(bases.Object(), L"ConvertBase2Dec", {Text(L"01:02:05:"), Value(60L)}));
  Expect("numbers: raises 13 for a wrong digit", L"error 0x800A000D Invalid Alpha Character",
         Call(bases.Object(), L"ConvertBase2Dec", {Text(L"l0"), Value(31L)}));
}

void CheckTypeLibrary() {
  const Value collection = Create(L"Brindlex.clsCollection");
  ITypeInfo* type = nullptr;
  BSTR name = nullptr;
  DWORD context = 0;
  UINT index = 0;
  ITypeLib* library = nullptr;
  BSTR help = nullptr;
  if (collection.Object() != nullptr) collection.Object()->GetTypeInfo(0, LOCALE_NEUTRAL, &type);
  if (type != nullptr) {
    type->GetDocumentation(1, &name, nullptr, &context, nullptr);
    type->GetContainingTypeLib(&library, &index);
    type->Release();
  }
  if (library != nullptr) {
    library->GetDocumentation(-1, nullptr, nullptr, nullptr, &help);
    library->Release();
  }
  const std::wstring file = help == nullptr ? L"" : help;
  Expect("type library: names members", L"Add", name == nullptr ? L"" : name);
  Expect("type library: has help contexts", L"1002", std::to_wstring(context));
  Expect("type library: names the help file", L"Brindlex.chm", file.substr(file.rfind(L'\\') + 1));
  SysFreeString(name);
  SysFreeString(help);
}

// ---- Files, in a redirected root ----------------------------------------------------------------

BOOL WINAPI RedirectedPath(PCIDLIST_ABSOLUTE, char* path) {
  return lstrcpynA(path, root.c_str(), MAX_PATH) != nullptr ? TRUE : FALSE;
}

/// Stands in for GetProcAddress in the component, which looks the shell's functions up by name.
FARPROC WINAPI RedirectedAddress(HMODULE module, const char* name) {
  if (reinterpret_cast<ULONG_PTR>(name) > 0xFFFF && std::string(name) == "SHGetPathFromIDList") {
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&RedirectedPath));
  }
  return GetProcAddress(module, name);
}

/// A host object with the two properties that are read: a text block cannot be one, so this is
/// written out.
class Host : public IDispatch {
 public:
  STDMETHOD(QueryInterface)(REFIID id, void** result) override {
    *result = id == IID_IUnknown || id == IID_IDispatch ? this : nullptr;
    return *result == nullptr ? E_NOINTERFACE : S_OK;
  }
  STDMETHOD_(ULONG, AddRef)() override { return 2; }
  STDMETHOD_(ULONG, Release)() override { return 1; }
  STDMETHOD(GetTypeInfoCount)(UINT*) override { return E_NOTIMPL; }
  STDMETHOD(GetTypeInfo)(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHOD(GetIDsOfNames)(REFIID, LPOLESTR* names, UINT, LCID, DISPID* ids) override {
    ids[0] = lstrcmpiW(names[0], L"UsingFarOrFarBar") == 0 ? 1
             : lstrcmpiW(names[0], L"ProgDir") == 0        ? 2
                                                           : -1;
    return ids[0] == -1 ? DISP_E_UNKNOWNNAME : S_OK;
  }
  STDMETHOD(Invoke)
  (DISPID id, REFIID, LCID, WORD, DISPPARAMS*, VARIANT* result, EXCEPINFO*, UINT*) override {
    const Value value = id == 1 ? Value(false) : Text(L"C:\\verify");
    return result == nullptr ? S_OK : VariantCopy(result, const_cast<VARIANT*>(&value.Get()));
  }
};

std::wstring Wide(const std::string& bytes) {
  const int length =
      MultiByteToWideChar(CP_ACP, 0, bytes.data(), static_cast<int>(bytes.size()), nullptr, 0);
  std::wstring text(static_cast<std::size_t>(length), L' ');
  MultiByteToWideChar(CP_ACP, 0, bytes.data(), static_cast<int>(bytes.size()), text.data(), length);
  return text;
}

void MakeRoot() {
  char folder[MAX_PATH];
  GetTempPathA(MAX_PATH, folder);
  root = folder + ("Brindlex verify " + std::to_string(GetCurrentProcessId()));
  CreateDirectoryA(root.c_str(), nullptr);
}

void CheckFiles(HMODULE component) {
  const brindlex::testing::PatchedImport redirected(component, "GetProcAddress",
                                                    reinterpret_cast<void*>(&RedirectedAddress));
  const Value files = Create(L"Brindlex.clsAppFiles");
  static Host host;
  Call(files.Object(), L"StartUp", {Value(&host), Text(L"Product"), Text(L"Maker")});
  const std::wstring company = Wide(root) + L"\\Maker";
  const std::wstring folder = company + L"\\Product";
  Expect("settings folder: is made in the redirected root", folder,
         Call(files.Object(), L"SettingsFolderAllUsers", {Text(L"")}));
  const Value path(folder + L"\\notes.txt");
  Expect("files: saves", L"True",
         Call(files.Object(), L"SaveTextFile", {path, Text(L"Milk"), Value(false)}));
  Expect("files: reads", L"Milk", Call(files.Object(), L"ReadTextFile", {path, Value(false)}));
  SetFileAttributesW(path.Get().bstrVal, FILE_ATTRIBUTE_READONLY);
  Expect("files: replaces safely", L"True",
         Call(files.Object(), L"SaveTextFileSafely", {path, Text(L"Bread"), Value(false)}));
  Expect("files: keeps the attributes", L"1",
         std::to_wstring(GetFileAttributesW(path.Get().bstrVal) & 1U));
  Expect("files: reads again", L"Bread",
         Call(files.Object(), L"ReadTextFile", {path, Value(false)}));
  Expect("files: a missing one is quiet", L"",
         Call(files.Object(), L"ReadTextFile", {Value(folder + L"\\none.txt"), Value(true)}));
  SetFileAttributesW(path.Get().bstrVal, FILE_ATTRIBUTE_NORMAL);
  DeleteFileW(path.Get().bstrVal);
  RemoveDirectoryW(folder.c_str());
  RemoveDirectoryW(company.c_str());
  Expect("files: leaves nothing beside them", L"removed",
         RemoveDirectoryA(root.c_str()) != FALSE ? L"removed" : L"not empty");
}

DWORD WINAPI EndWhenOverdue(void*) {
  Sleep(kLongest);
  std::printf("fail\tends in time\t%lu s\tstill running\n", kLongest / 1000);
  std::fflush(stdout);
  TerminateProcess(GetCurrentProcess(), kOverdue);
  return 0;
}

void CheckAll(const std::wstring& dll) {
  const ActivationContext context(dll);
  Expect("activation context: the DLL's own manifest", L"active",
         context.IsActive() ? L"active" : L"refused");
  CheckClasses();
  CheckCollection();
  CheckSaveAndRestore();
  CheckNumbers();
  CheckTypeLibrary();
  MakeRoot();
  CheckFiles(GetModuleHandleW(L"Brindlex.dll"));
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc != 2) {
    std::printf("usage: interface.exe DLL\n");
    return 2;
  }
  CloseHandle(CreateThread(nullptr, 0, EndWhenOverdue, nullptr, 0, nullptr));
  CoInitialize(nullptr);
  // Loaded by its path: the copy that is checked, whatever is registered.
  const HMODULE component = LoadLibraryW(argv[1]);
  const bool isLoaded =
      component != nullptr && GetProcAddress(component, "DllGetClassObject") != nullptr;
  Expect("loads the DLL", L"loaded", isLoaded ? L"loaded" : L"not loaded");
  if (!isLoaded) {
    std::printf("done\n");
    return 1;
  }
  wchar_t full[MAX_PATH];
  GetFullPathNameW(argv[1], MAX_PATH, full, nullptr);
  CheckAll(full);
  std::printf("done\n");
  return failures == 0 ? 0 : 1;
}
