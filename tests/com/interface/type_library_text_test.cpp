// The whole type library as text, compared to tests/com/interface/type_library.txt, which ./dev
// generate makes from the interface description. A change of what hosts see shows in that file;
// what hosts may already use never changes.

#include <gtest/gtest.h>

#include <cstdio>

#include "tests/com/objects/type_text.h"
#include "tests/com/support/fixture.h"

namespace brindlex::testing {
namespace {

std::wstring TextOf(REFGUID id) {
  wchar_t text[39];
  StringFromGUID2(id, text, 39);
  return text;
}

std::wstring HelpOf(ITypeInfo& type, MEMBERID member) {
  Bstr help;
  type.GetDocumentation(member, nullptr, help.Receive(), nullptr, nullptr);
  return {help.Get(), SysStringLen(help.Get())};
}

std::wstring LibraryText(ITypeLib& library) {
  Bstr name;
  Bstr help;
  TLIBATTR* attributes = nullptr;
  library.GetDocumentation(-1, name.Receive(), help.Receive(), nullptr, nullptr);
  if (FAILED(library.GetLibAttr(&attributes))) return L"no library";
  std::wstring text =
      std::wstring(L"library ") + name.Get() + L" " + std::to_wstring(attributes->wMajorVerNum) +
      L"." + std::to_wstring(attributes->wMinorVerNum) + L" " + TextOf(attributes->guid) +
      L" locale " + std::to_wstring(attributes->lcid) + L"\n  \"" + help.Get() + L"\"\n";
  library.ReleaseTLibAttr(attributes);
  return text;
}

std::wstring HeadText(const wchar_t* kind, ITypeInfo& type) {
  const TypeAttributes attributes(type);
  wchar_t flags[16];
  std::swprintf(flags, 16, L"%#x", attributes->wTypeFlags);
  return std::wstring(L"\n") + kind + L" " + NameOf(type) + L" " + TextOf(attributes->guid) +
         L" flags " + flags + L"\n  \"" + HelpOf(type, MEMBERID_NIL) + L"\"\n";
}

/// An interface by its vtable: the slot of each function, its declaration and its help text.
std::wstring InterfaceText(ITypeInfo& type) {
  std::wstring text = HeadText(L"interface", type);
  const std::vector<std::wstring> declarations = DeclarationsOf(type);
  for (std::size_t index = 0; index < declarations.size(); ++index) {
    const FunctionDescription function(type, static_cast<UINT>(index));
    const auto slot = static_cast<std::size_t>(function->oVft) / sizeof(void*);
    text += L"  " + std::to_wstring(slot) + L": " + declarations[index] + L"\n    \"" +
            HelpOf(type, function->memid) + L"\"\n";
  }
  return text;
}

std::wstring ClassText(ITypeInfo& type) {
  std::wstring text = HeadText(L"coclass", type);
  const TypeAttributes attributes(type);
  for (UINT index = 0; index < attributes->cImplTypes; ++index) {
    int flags = 0;
    HREFTYPE reference = 0;
    ComPtr<ITypeInfo> implemented;
    type.GetImplTypeFlags(index, &flags);
    type.GetRefTypeOfImplType(index, &reference);
    if (FAILED(type.GetRefTypeInfo(reference, implemented.Receive()))) return L"no interface";
    text += L"  " + NameOf(*implemented.Get()) + L" flags " + std::to_wstring(flags) + L"\n";
  }
  return text;
}

std::wstring WholeText(ITypeLib& library) {
  std::wstring text = LibraryText(library);
  for (UINT index = 0; index < library.GetTypeInfoCount(); ++index) {
    ComPtr<ITypeInfo> type;
    if (FAILED(library.GetTypeInfo(index, type.Receive()))) return L"no type";
    const TypeAttributes attributes(*type.Get());
    text += attributes->typekind == TKIND_COCLASS
                ? ClassText(*type.Get())
                : InterfaceText(*VtableTypeOf(attributes->guid).Get());
  }
  return text;
}

std::string Narrow(const std::wstring& text) {
  // Help texts and names are plain ASCII.
  std::string narrow;
  for (const wchar_t unit : text) narrow += unit < 0x80 ? static_cast<char>(unit) : '?';
  return narrow;
}

/// tests/com/interface/type_library.txt, as it was when this program was built.
std::string ExpectedText() {
  auto* const found = FindResourceW(nullptr, L"TYPE_LIBRARY", RT_RCDATA);
  if (found == nullptr) return "no resource";
  const auto* const text = static_cast<const char*>(LockResource(LoadResource(nullptr, found)));
  return {text, SizeofResource(nullptr, found)};
}

class TypeLibraryTextTest : public ComTest {};

TEST_F(TypeLibraryTextTest, IsTheOneThatTheInterfaceDescriptionDeclares) {
  const std::string actual = Narrow(WholeText(*OwnTypeLibrary().Get()));
  EXPECT_EQ(ExpectedText(), actual);
}

}  // namespace
}  // namespace brindlex::testing
