// Keeps a list of books in a file, in C++: late bound, by names alone, as a program does that is
// compiled without the type library. Only the record in book.h uses it.
// With g++ of mingw-w64, and Brindlex.h and Brindlex_i.c beside the component:
//
//   g++ -std=c++17 -I include examples/cpp/books_late.cpp include/Brindlex_i.c -o books_late.exe
//       -lole32 -loleaut32 -luuid
//
// Without -static the program needs the compiler's run-time DLLs, such as libstdc++-6.dll, beside
// it.

#include "book.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

namespace {

using books::Book;
using books::CreateBook;

void Require(bool holds, const char* what) {
  if (holds) return;
  std::printf("FAILED: %s\n", what);
  std::exit(1);
}

/// A VARIANT that owns what is in it.
class Value {
 public:
  Value() = default;
  explicit Value(const std::wstring& text) {
    variant_.vt = VT_BSTR;
    variant_.bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  }
  explicit Value(const wchar_t* text) : Value(std::wstring(text)) {}
  explicit Value(int number) {
    variant_.vt = VT_I4;
    variant_.lVal = number;
  }
  explicit Value(double number) {
    variant_.vt = VT_R8;
    variant_.dblVal = number;
  }
  explicit Value(bool flag) {
    variant_.vt = VT_BOOL;
    variant_.boolVal = flag ? VARIANT_TRUE : VARIANT_FALSE;
  }
  /// Takes over the reference.
  explicit Value(IDispatch* object) {
    variant_.vt = VT_DISPATCH;
    variant_.pdispVal = object;
  }
  Value(const Value& other) { VariantCopy(&variant_, other.Lent()); }
  Value& operator=(Value other) {
    std::swap(variant_, other.variant_);
    return *this;
  }
  ~Value() { VariantClear(&variant_); }

  static Value Omitted() {
    Value omitted;
    omitted.variant_.vt = VT_ERROR;
    omitted.variant_.scode = DISP_E_PARAMNOTFOUND;
    return omitted;
  }

  /// An argument by reference: the call may change `variable`.
  static Value ByReference(double* variable) {
    Value reference;
    reference.variant_.vt = VT_R8 | VT_BYREF;
    reference.variant_.pdblVal = variable;
    return reference;
  }

  std::wstring Text() const {
    Value text;
    VariantChangeType(&text.variant_, Lent(), 0, VT_BSTR);
    return text.variant_.vt == VT_BSTR && text.variant_.bstrVal != nullptr ? text.variant_.bstrVal
                                                                           : L"";
  }
  IDispatch* Object() const { return variant_.vt == VT_DISPATCH ? variant_.pdispVal : nullptr; }
  const VARIANT& Get() const { return variant_; }
  VARIANT* Receive() { return &variant_; }

 private:
  // The system's functions take a VARIANT that they do not change, without saying const.
  VARIANT* Lent() const { return const_cast<VARIANT*>(&variant_); }

  VARIANT variant_{};
};

/// The error that a call raised; number 0 if it raised none.
struct Raised {
  long number = 0;
  std::wstring source;
  std::wstring description;
};

/// Calls a method, or reads a property, by its name.
Value Call(const Value& object, const wchar_t* member, std::vector<Value> arguments = {},
           Raised* raised = nullptr) {
  DISPID id = DISPID_UNKNOWN;
  auto* name = const_cast<LPOLESTR>(member);
  Require(object.Object() != nullptr, "there is an object to call");
  Require(SUCCEEDED(object.Object()->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id)),
          "the member is known");
  // The last argument comes first.
  std::vector<VARIANT> raw;
  raw.reserve(arguments.size());
  std::reverse(arguments.begin(), arguments.end());
  for (const Value& argument : arguments) raw.push_back(argument.Get());
  DISPPARAMS parameters{raw.data(), nullptr, static_cast<UINT>(raw.size()), 0};
  Value result;
  EXCEPINFO exception{};
  const HRESULT status = object.Object()->Invoke(
      id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD | DISPATCH_PROPERTYGET, &parameters,
      result.Receive(), &exception, nullptr);
  Require(raised != nullptr || SUCCEEDED(status), "the call succeeds");
  if (raised != nullptr && status == DISP_E_EXCEPTION) {
    *raised = {exception.scode & 0xFFFF, exception.bstrSource, exception.bstrDescription};
  }
  SysFreeString(exception.bstrSource);
  SysFreeString(exception.bstrDescription);
  SysFreeString(exception.bstrHelpFile);
  return result;
}

Value Create(const wchar_t* name) {
  CLSID classId{};
  IDispatch* object = nullptr;
  Require(SUCCEEDED(CLSIDFromProgID(name, &classId)), "the name is registered");
  Require(SUCCEEDED(CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                                     reinterpret_cast<void**>(&object))),
          "the class is registered");
  return Value(object);
}

std::wstring Listed(const Value& list) {
  DISPPARAMS none{};
  VARIANT enumerator{};
  IEnumVARIANT* entries = nullptr;
  list.Object()->Invoke(DISPID_NEWENUM, IID_NULL, LOCALE_USER_DEFAULT,
                        DISPATCH_METHOD | DISPATCH_PROPERTYGET, &none, &enumerator, nullptr,
                        nullptr);
  Require(enumerator.vt == VT_UNKNOWN, "the list can be walked");
  enumerator.punkVal->QueryInterface(IID_IEnumVARIANT, reinterpret_cast<void**>(&entries));
  std::wstring lines;
  for (Value book; entries->Next(1, book.Receive(), nullptr) == S_OK; book = Value()) {
    lines += Call(book, L"Title").Text() + L" costs " + Call(book, L"Price").Text() + L"\n";
  }
  entries->Release();
  VariantClear(&enumerator);
  return lines;
}

std::wstring TemporaryFile() {
  wchar_t folder[MAX_PATH];
  GetTempPathW(MAX_PATH, folder);
  return std::wstring(folder) + L"late books.txt";
}

/// Saves the text in a temporary file by `member` and returns the content of the file.
Value KeepInFile(const wchar_t* member, const Value& text) {
  const Value files = Create(L"Brindlex.clsAppFiles");
  const std::wstring path = TemporaryFile();
  const Value saved = Call(files, member, {Value(path), text, Value(false)});
  Require(saved.Get().boolVal == VARIANT_TRUE, "the text is saved");
  Value content = Call(files, L"ReadTextFile", {Value(path), Value(false)});
  DeleteFileW(path.c_str());
  return content;
}

void Convert() {
  const Value bases = Create(L"Brindlex.clsBases");
  const Value converted = Call(bases, L"ConvertDec2Base", {Value(2026), Value(16)});
  std::printf("2026 in base 16: %ls\n", converted.Text().c_str());
  Require(converted.Text() == L"7EA", "2026 is 7EA in base 16");
  Require(Call(bases, L"ConvertBase2Dec", {converted, Value(16)}).Text() == L"2026", "and back");

  double tolerance = -0.5;
  const Value fraction =
      Call(bases, L"ConvertDec2Base",
           {Value(2.75), Value(16), Value::Omitted(), Value::ByReference(&tolerance)});
  std::printf("2.75 in base 16: %ls, tolerance %g\n", fraction.Text().c_str(), tolerance);
  Require(fraction.Text() == L"2.C", "2.75 is 2.C in base 16");
  Require(tolerance == 0.5, "the variable receives the absolute value of the tolerance");

  Raised raised;
  Call(bases, L"ConvertBase2Dec", {Value(L"1"), Value(1)}, &raised);
  std::printf("Error %ld in %ls: %ls\n", raised.number, raised.source.c_str(),
              raised.description.c_str());
  Require(raised.number == 13, "base 1 is error 13");
  Require(raised.source == L"ConvertBase2Dec", "its source is the operation");
  Require(raised.description == L"Invalid Base", "its description is Invalid Base");
}

void Run() {
  const Value list = Create(L"Brindlex.clsCollection");
  const Value saver = Create(L"Brindlex.clsCollectionSaveRestore");
  Call(list, L"Add", {Value(new Book(L"Moby Dick", 12.5))});
  Call(list, L"Add", {Value(new Book(L"Emma", 9))});

  const Value text = Call(saver, L"AsDelimitedFromCollection", {list});
  const Value readBack = KeepInFile(L"SaveTextFile", text);
  Require(readBack.Text() == text.Text(), "the file holds the text");
  Require(KeepInFile(L"SaveTextFileSafely", text).Text() == text.Text(), "saved safely, too");

  const Value restored =
      Call(saver, L"AsDelimitedToCollection",
           {readBack, Value(new CreateBook), Value::Omitted(), Value::Omitted(), Value(L"Title")});
  std::printf("%ls", Listed(restored).c_str());
  Require(Listed(restored) == Listed(list), "every book is as it was");
  Require(Call(Call(restored, L"Item", {Value(L"EMMA")}), L"Title").Text() == L"Emma",
          "Emma is found by her key, in any letter case");

  Raised raised;
  Call(restored, L"Item", {Value(L"no such book")}, &raised);
  std::printf("Error %ld: %ls\n", raised.number, raised.description.c_str());
  Require(raised.number == 5, "an absent key is error 5");
}

}  // namespace

int main() {
  CoInitialize(nullptr);
  Run();
  Convert();
  CoUninitialize();
  std::printf("books: done\n");
  return 0;
}
