// Keeps a list of books in a file, in C++: early bound, through the interfaces of the type library.
// With g++ of mingw-w64, and Brindlex.h and Brindlex_i.c beside the component:
//
//   g++ -std=c++20 -I include examples/cpp/books.cpp include/Brindlex_i.c -o books.exe
//       -static -lole32 -loleaut32 -luuid

#include "book.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

using books::Book;
using books::CreateBook;

void Require(bool holds, const char* what) {
  if (holds) return;
  std::printf("FAILED: %s\n", what);
  std::exit(1);
}

/// A reference that is released at the end, and a text that is freed.
template <class Interface>
struct Held {
  Interface* pointer = nullptr;
  ~Held() {
    if (pointer != nullptr) pointer->Release();
  }
  Interface* operator->() const { return pointer; }
};

struct Text {
  explicit Text(const wchar_t* units = L"") : bstr(SysAllocString(units)) {}
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;
  ~Text() { SysFreeString(bstr); }
  BSTR* Receive() {
    SysFreeString(bstr);
    bstr = nullptr;
    return &bstr;
  }
  BSTR bstr;
};

template <class Interface>
void Create(REFCLSID classId, Held<Interface>& object) {
  Require(SUCCEEDED(CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, __uuidof(Interface),
                                     reinterpret_cast<void**>(&object.pointer))),
          "the class is registered");
}

VARIANT Omitted() {
  VARIANT omitted{};
  omitted.vt = VT_ERROR;
  omitted.scode = DISP_E_PARAMNOTFOUND;
  return omitted;
}

/// A VARIANT that borrows its text or object.
VARIANT Borrowed(BSTR text) {
  VARIANT value{};
  value.vt = VT_BSTR;
  value.bstrVal = text;
  return value;
}

void AddBook(_clsCollection* list, const wchar_t* title, double price) {
  const Held<Book> book{new Book(title, price)};
  VARIANT entry{};
  entry.vt = VT_DISPATCH;
  entry.pdispVal = book.pointer;
  Require(SUCCEEDED(list->Add(entry, Omitted(), Omitted(), Omitted())), "a book is added");
}

/// A property of a late-bound object as text.
std::wstring TextOf(IDispatch* object, const wchar_t* member) {
  DISPID id = DISPID_UNKNOWN;
  DISPPARAMS none{};
  VARIANT value{};
  auto* name = const_cast<LPOLESTR>(member);
  object->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id);
  object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none, &value, nullptr,
                 nullptr);
  VariantChangeType(&value, &value, 0, VT_BSTR);
  std::wstring text = value.vt == VT_BSTR ? value.bstrVal : L"";
  VariantClear(&value);
  return text;
}

/// "Title costs Price" for every book, as For Each would go.
std::wstring Listed(_clsCollection* list) {
  Held<IUnknown> unknown;
  Held<IEnumVARIANT> entries;
  Require(SUCCEEDED(list->get__NewEnum(&unknown.pointer)), "the list can be walked");
  unknown->QueryInterface(IID_IEnumVARIANT, reinterpret_cast<void**>(&entries.pointer));
  std::wstring lines;
  for (VARIANT entry{}; entries->Next(1, &entry, nullptr) == S_OK; VariantClear(&entry)) {
    lines +=
        TextOf(entry.pdispVal, L"Title") + L" costs " + TextOf(entry.pdispVal, L"Price") + L"\n";
  }
  return lines;
}

/// The text that the file at `path` holds after `text` was saved there.
void KeepInFile(BSTR path, BSTR text, Text& readBack) {
  Held<_clsAppFiles> files;
  VARIANT_BOOL saved = VARIANT_FALSE;
  Create(CLSID_clsAppFiles, files);
  files->SaveTextFile(path, text, VARIANT_FALSE, &saved);
  Require(saved == VARIANT_TRUE, "the text is saved");
  // Over a file that exists, this one leaves either the old text or the new one, whatever happens.
  files->SaveTextFileSafely(path, text, VARIANT_FALSE, &saved);
  Require(saved == VARIANT_TRUE, "the text is saved safely");
  files->ReadTextFile(path, VARIANT_FALSE, readBack.Receive());
  Require(SysStringLen(readBack.bstr) == SysStringLen(text), "the file holds the text");
}

/// Prints the error that a call ended with, and returns its source and description.
std::wstring ShowError(HRESULT status) {
  Held<IErrorInfo> info;
  Text source;
  Text description;
  Require(GetErrorInfo(0, &info.pointer) == S_OK, "the error is explained");
  info->GetSource(source.Receive());
  info->GetDescription(description.Receive());
  std::printf("Error %ld in %ls: %ls\n", status & 0xFFFF, source.bstr, description.bstr);
  return std::wstring(source.bstr) + L": " + description.bstr;
}

void LookUpAbsentKey(_clsCollection* list) {
  const Text key(L"no such book");
  VARIANT entry{};
  const HRESULT status = list->get_Item(Borrowed(key.bstr), &entry);
  Require(status == static_cast<HRESULT>(0x800A0005), "an absent key is error 5");
  ShowError(status);
}

void Convert() {
  Held<_clsBases> bases;
  Create(CLSID_clsBases, bases);
  VARIANT number{};
  number.vt = VT_I4;
  number.lVal = 2026;
  // What an early-bound program without defaults of its own hands over for what it leaves out.
  long allDigits = -1;
  double tolerance = 1E-27;
  long noGroups = 0;
  Text converted;
  bases->ConvertDec2Base(number, 16, &allDigits, &tolerance, &noGroups, converted.Receive());
  std::printf("2026 in base 16: %ls\n", converted.bstr);
  Require(std::wstring(converted.bstr) == L"7EA", "2026 is 7EA in base 16");
  double back = 0;
  bases->ConvertBase2Dec(converted.bstr, 16, &back);
  Require(back == 2026, "and back");

  VARIANT fraction{};
  fraction.vt = VT_R8;
  fraction.dblVal = 2.75;
  tolerance = -0.5;
  bases->ConvertDec2Base(fraction, 16, &allDigits, &tolerance, &noGroups, converted.Receive());
  std::printf("2.75 in base 16: %ls, tolerance %g\n", converted.bstr, tolerance);
  Require(std::wstring(converted.bstr) == L"2.C", "2.75 is 2.C in base 16");
  Require(tolerance == 0.5, "the variable receives the absolute value of the tolerance");

  const Text one(L"1");
  const HRESULT status = bases->ConvertBase2Dec(one.bstr, 1, &back);
  Require(status == static_cast<HRESULT>(0x800A000D), "base 1 is error 13");
  Require(ShowError(status) == L"ConvertBase2Dec: Invalid Base", "with source and description");
}

void Run() {
  Held<_clsCollection> list;
  Held<_clsCollectionSaveRestore> saver;
  Create(CLSID_clsCollection, list);
  Create(CLSID_clsCollectionSaveRestore, saver);
  AddBook(list.pointer, L"Moby Dick", 12.5);
  AddBook(list.pointer, L"Emma", 9);

  Text text;
  saver->AsDelimitedFromCollection(list.pointer, Omitted(), Omitted(), Omitted(), text.Receive());
  Require(SysStringLen(text.bstr) > 0, "the list becomes a text");

  wchar_t folder[MAX_PATH];
  GetTempPathW(MAX_PATH, folder);
  const Text path((std::wstring(folder) + L"books.txt").c_str());
  Text readBack;
  KeepInFile(path.bstr, text.bstr, readBack);
  DeleteFileW(path.bstr);

  const Held<CreateBook> creator{new CreateBook};
  const Text key(L"Title");
  Held<_clsCollection> restored;
  saver->AsDelimitedToCollection(readBack.bstr, creator.pointer, Omitted(), Omitted(),
                                 Borrowed(key.bstr), &restored.pointer);
  Require(restored.pointer != nullptr, "the file becomes a list again");
  std::printf("%ls", Listed(restored.pointer).c_str());
  Require(Listed(restored.pointer) == Listed(list.pointer), "every book is as it was");

  const Text emma(L"EMMA");
  VARIANT found{};
  Require(SUCCEEDED(restored->get_Item(Borrowed(emma.bstr), &found)), "Emma is found by her key");
  Require(TextOf(found.pdispVal, L"Title") == L"Emma", "in any letter case");
  VariantClear(&found);
  Convert();
  LookUpAbsentKey(restored.pointer);
}

}  // namespace

int main() {
  CoInitialize(nullptr);
  Run();
  CoUninitialize();
  std::printf("books: done\n");
  return 0;
}
