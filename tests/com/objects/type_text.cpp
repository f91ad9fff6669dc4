#include "tests/com/objects/type_text.h"

#include <stdexcept>

#include "platform/win32/automation/variant.h"
#include "tests/com/support/fixture.h"

namespace brindlex::testing {
namespace {

void Require(HRESULT status) {
  if (FAILED(status)) throw std::runtime_error("the type library does not answer");
}

std::wstring Wide(const Bstr& text) { return {text.Get(), SysStringLen(text.Get())}; }

std::wstring KindOf(INVOKEKIND kind) {
  switch (kind) {
    case INVOKE_FUNC:
      return L"call";
    case INVOKE_PROPERTYGET:
      return L"get";
    case INVOKE_PROPERTYPUT:
      return L"put";
    default:
      return L"putref";
  }
}

std::wstring TextOfType(ITypeInfo& type, const TYPEDESC& description) {
  switch (description.vt) {
    case VT_PTR: {
      const TYPEDESC& target = *description.lptdesc;
      return TextOfType(type, target) + L"*";
    }
    case VT_USERDEFINED: {
      ComPtr<ITypeInfo> referred;
      Require(type.GetRefTypeInfo(description.hreftype, referred.Receive()));
      return NameOf(*referred.Get());
    }
    case VT_BSTR:
      return L"BSTR";
    case VT_I4:
      return L"long";
    case VT_R8:
      return L"double";
    case VT_BOOL:
      return L"VARIANT_BOOL";
    case VT_VARIANT:
      return L"VARIANT";
    case VT_DISPATCH:
      return L"IDispatch*";
    case VT_UNKNOWN:
      return L"IUnknown*";
    case VT_HRESULT:
      return L"HRESULT";
    default:
      return L"type " + std::to_wstring(description.vt);
  }
}

std::wstring FlagsOf(USHORT flags) {
  std::wstring text;
  if ((flags & PARAMFLAG_FIN) != 0) text += L"in, ";
  if ((flags & PARAMFLAG_FOUT) != 0) text += L"out, ";
  if ((flags & PARAMFLAG_FOPT) != 0) text += L"optional, ";
  if ((flags & PARAMFLAG_FLCID) != 0) text += L"lcid, ";
  return text.empty() ? L"[] " : L"[" + text.substr(0, text.size() - 2) + L"] ";
}

/// The default as a number in the form "%g", after the name of its type.
std::wstring DefaultOf(const ELEMDESC& parameter) {
  if ((parameter.paramdesc.wParamFlags & PARAMFLAG_FHASDEFAULT) == 0) return {};
  const VARIANT& value = parameter.paramdesc.pparamdescex->varDefaultValue;
  wchar_t text[40] = {};
  if (value.vt == VT_I4) swprintf(text, std::size(text), L" = long %ld", value.lVal);
  if (value.vt == VT_R8) swprintf(text, std::size(text), L" = double %.17g", value.dblVal);
  return text[0] != 0 ? text : L" = type " + std::to_wstring(value.vt);
}

std::wstring Declaration(ITypeInfo& type, const FunctionDescription& function) {
  const auto names = NamesOf(type, function);
  std::wstring parameters;
  std::wstring result;
  for (int index = 0; index < function->cParams; ++index) {
    const ELEMDESC& parameter = function->lprgelemdescParam[index];
    const USHORT flags = parameter.paramdesc.wParamFlags;
    const std::wstring text = TextOfType(type, parameter.tdesc);
    if ((flags & PARAMFLAG_FRETVAL) != 0) {
      result = L" " + text.substr(0, text.size() - 1);
      continue;
    }
    const auto place = static_cast<std::size_t>(index) + 1;
    const std::wstring name = place < names.size() ? L" " + names[place] : L"";
    if (!parameters.empty()) parameters += L", ";
    parameters.append(FlagsOf(flags)).append(text).append(name).append(DefaultOf(parameter));
  }
  const std::wstring restricted =
      (function->wFuncFlags & FUNCFLAG_FRESTRICTED) != 0 ? L" restricted" : L"";
  return std::to_wstring(function->memid) + L" " + KindOf(function->invkind) + L" " + names.at(0) +
         L"(" + parameters + L")" + result + restricted;
}

}  // namespace

ComPtr<ITypeLib> OwnTypeLibrary() {
  ComPtr<ITypeLib> library;
  Require(LoadTypeLibEx(Component::Path().c_str(), REGKIND_NONE, library.Receive()));
  return library;
}

ComPtr<ITypeInfo> VtableTypeOf(REFIID interfaceId) {
  ComPtr<ITypeInfo> dispatchHalf;
  HREFTYPE reference = 0;
  ComPtr<ITypeInfo> type;
  Require(OwnTypeLibrary()->GetTypeInfoOfGuid(interfaceId, dispatchHalf.Receive()));
  Require(dispatchHalf->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference));
  Require(dispatchHalf->GetRefTypeInfo(reference, type.Receive()));
  return type;
}

std::wstring NameOf(ITypeInfo& type) {
  Bstr name;
  Require(type.GetDocumentation(MEMBERID_NIL, name.Receive(), nullptr, nullptr, nullptr));
  return Wide(name);
}

std::vector<std::wstring> DeclarationsOf(ITypeInfo& type) {
  std::vector<std::wstring> declarations;
  const TypeAttributes attributes(type);
  for (UINT index = 0; index < attributes->cFuncs; ++index) {
    declarations.push_back(Declaration(type, FunctionDescription(type, index)));
  }
  return declarations;
}

std::vector<std::wstring> FunctionsWithoutHelp(ITypeInfo& type) {
  std::vector<std::wstring> names;
  const TypeAttributes attributes(type);
  for (UINT index = 0; index < attributes->cFuncs; ++index) {
    const FunctionDescription function(type, index);
    Bstr help;
    Require(type.GetDocumentation(function->memid, nullptr, help.Receive(), nullptr, nullptr));
    if (help.View().empty()) names.push_back(NamesOf(type, function).at(0));
  }
  return names;
}

std::vector<std::wstring> NamesOf(ITypeInfo& type, const FunctionDescription& function) {
  constexpr UINT kMost = 16;
  BSTR raw[kMost] = {};
  UINT count = 0;
  Require(type.GetNames(function->memid, raw, kMost, &count));
  std::vector<std::wstring> names;
  // Names go by the member's id, so a setter would get those of the getter's parameters.
  const bool isGiven = (function->invkind & (INVOKE_PROPERTYPUT | INVOKE_PROPERTYPUTREF)) == 0;
  for (UINT index = 0; index < count; ++index) {
    if (index == 0 || isGiven) names.emplace_back(raw[index], SysStringLen(raw[index]));
    SysFreeString(raw[index]);
  }
  return names;
}

}  // namespace brindlex::testing
