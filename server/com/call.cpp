#include "server/com/call.h"

#include <algorithm>
#include <utility>

#include "server/com/error_info.h"

namespace brindlex {
namespace {

/// The marker of an omitted argument. It is copied whole: a value that is read right after a part
/// of it was written makes the processor wait.
constexpr VARIANT kMissing{{{VT_ERROR, 0, 0, 0, {DISP_E_PARAMNOTFOUND}}}};

constexpr WORD kCallOrGetFlags = DISPATCH_METHOD | DISPATCH_PROPERTYGET;

bool SameName(const wchar_t* left, const wchar_t* right) {
  return EqualIgnoringCase(reinterpret_cast<const char16_t*>(left),
                           reinterpret_cast<const char16_t*>(right));
}

std::size_t ParameterCount(const Member& member) {
  const auto& parameters = member.parameters;
  return static_cast<std::size_t>(
      std::find_if(parameters.begin(), parameters.end(),
                   [](const Parameter& parameter) { return parameter.name == nullptr; }) -
      parameters.begin());
}

bool Answers(const Member& member, WORD flags) {
  const bool reads = (member.kind & kCallOrGetFlags) != 0;
  return (flags & (reads ? kCallOrGetFlags : member.kind)) != 0;
}

std::size_t RequiredCount(const Member& member) {
  return static_cast<std::size_t>(std::count_if(
      member.parameters.begin(), member.parameters.end(),
      [](const Parameter& parameter) { return parameter.name != nullptr && !parameter.optional; }));
}

/// Whether two texts, two objects, or two numbers of one type, are the same to the bit.
bool IsSame(const VARIANT& left, const VARIANT& right) {
  switch (left.vt) {
    case VT_BSTR:
      return ViewOf(left.bstrVal) == ViewOf(right.bstrVal);
    case VT_DISPATCH:
      return left.pdispVal == right.pdispVal;
    case VT_I4:
      return left.lVal == right.lVal;
    default:
      return left.llVal == right.llVal;
  }
}

/// Puts `value` into the variable of its type that `reference` refers to; a text or an object
/// is exchanged with the one there.
void AssignTo(const VARIANT& reference, VARIANT& value) {
  switch (value.vt) {
    case VT_BSTR:
      std::swap(*reference.pbstrVal, value.bstrVal);
      break;
    case VT_DISPATCH:
      std::swap(*reference.ppdispVal, value.pdispVal);
      break;
    case VT_I4:
      *reference.plVal = value.lVal;
      break;
    default:
      *reference.pdblVal = value.dblVal;
  }
}

}  // namespace

// ---- Arguments ---------------------------------------------------------------------------------

Call::Call(const Member& member, const DISPPARAMS& params) : params_(params) {
  const std::size_t count = ParameterCount(member);
  if (params.cArgs > count || params.cNamedArgs > params.cArgs) {
    throw BadArgument{DISP_E_BADPARAMCOUNT};
  }
  Assign(member, count);
  RequireAll(member, count);
}

void Call::Assign(const Member& member, std::size_t count) {
  const bool isPut = (member.kind & DISPATCH_PROPERTYPUT) != 0;
  for (UINT position = 0; position < params_.cArgs; ++position) {
    std::size_t index = params_.cArgs - 1 - position;
    if (position < params_.cNamedArgs) {
      const DISPID name = params_.rgdispidNamedArgs[position];
      index = isPut && name == DISPID_PROPERTYPUT ? count - 1 : static_cast<std::size_t>(name);
      if (index >= count) throw BadArgument{DISP_E_PARAMNOTFOUND, position};
    }
    if (arguments_.at(index) != nullptr) throw BadArgument{DISP_E_BADPARAMCOUNT, position};
    arguments_.at(index) = &params_.rgvarg[position];
  }
}

void Call::RequireAll(const Member& member, std::size_t count) const {
  if (params_.cArgs < RequiredCount(member)) throw BadArgument{DISP_E_BADPARAMCOUNT};
  for (std::size_t index = 0; index < count; ++index) {
    if (member.parameters.at(index).optional) continue;
    if (arguments_.at(index) == nullptr || IsMissing(*arguments_.at(index))) {
      throw BadArgument{DISP_E_PARAMNOTOPTIONAL, CallerPositionOf(index)};
    }
  }
}

std::optional<UINT> Call::CallerPositionOf(std::size_t index) const {
  const VARIANT* const argument = arguments_.at(index);
  if (argument == nullptr) return std::nullopt;
  return static_cast<UINT>(argument - params_.rgvarg);
}

VARIANT Call::ValueAt(std::size_t index) {
  const VARIANT* const argument = arguments_.at(index);
  if (argument == nullptr) return kMissing;
  if ((argument->vt & VT_BYREF) == 0) return *argument;
  Variant copy;
  const HRESULT status = CopyValue(copy.Get(), Dereferenced(*argument));
  if (FAILED(status)) throw BadArgument{status, CallerPositionOf(index)};
  return (NextOwned() = std::move(copy)).Get();
}

const VARIANT& Call::ConvertedAt(std::size_t index, VARTYPE type) {
  const VARIANT& argument = *arguments_.at(index);
  if (argument.vt == type) return argument;
  Variant converted;
  const HRESULT status =
      ChangeType(converted.Get(), Dereferenced(argument), VARIANT_ALPHABOOL, type);
  // An object that does no automation is a value of the wrong type like any other.
  if (status == E_NOINTERFACE) throw BadArgument{DISP_E_TYPEMISMATCH, CallerPositionOf(index)};
  if (FAILED(status)) throw BadArgument{status, CallerPositionOf(index)};
  return (NextOwned() = std::move(converted)).Get();
}

BSTR Call::TextAt(std::size_t index) { return ConvertedAt(index, VT_BSTR).bstrVal; }

IDispatch* Call::ObjectAt(std::size_t index) { return ConvertedAt(index, VT_DISPATCH).pdispVal; }

IDispatch* Call::ObjectOrNothingAt(std::size_t index) {
  const VARTYPE type = Dereferenced(*arguments_.at(index)).vt;
  return type == VT_NULL || type == VT_EMPTY ? nullptr : ObjectAt(index);
}

bool Call::IsLeftOut(std::size_t index) const {
  const VARIANT* const argument = arguments_.at(index);
  return argument == nullptr || IsMissing(*argument) || Dereferenced(*argument).vt == VT_EMPTY;
}

VARIANT& Call::VariableAt(std::size_t index, VARTYPE type) {
  Variant before(ConvertedAt(index, type));
  Variant now(before.Get());
  // The member holds pointers into it.
  variables_.reserve(Member::kMostParameters);
  return variables_.emplace_back(Variable{arguments_.at(index), std::move(before), std::move(now)})
      .now.Get();
}

long* Call::LongVariableAt(std::size_t index, long byDefault) {
  if (!IsLeftOut(index)) return &VariableAt(index, VT_I4).lVal;
  VARIANT& number = NextOwned().Get();
  number.vt = VT_I4;
  number.lVal = byDefault;
  return &number.lVal;
}

double* Call::DoubleVariableAt(std::size_t index, double byDefault) {
  if (!IsLeftOut(index)) return &VariableAt(index, VT_R8).dblVal;
  VARIANT& number = NextOwned().Get();
  number.vt = VT_R8;
  number.dblVal = byDefault;
  return &number.dblVal;
}

void Call::WriteBack() {
  for (Variable& variable : variables_) {
    VARIANT& now = variable.now.Get();
    if (IsSame(variable.before.Get(), now)) continue;
    const VARIANT& target = Dereferenced(*variable.argument);
    if (target.vt == (VT_BYREF | now.vt)) {
      AssignTo(target, now);
    } else if (variable.argument->vt == (VT_BYREF | VT_VARIANT)) {
      std::swap(*variable.argument->pvarVal, now);
    }
  }
}

VARIANT& Call::Result(VARTYPE type) {
  VARIANT& result = result_.Get();
  result.vt = type;
  result.llVal = 0;
  return result;
}

void Call::MoveResult(VARIANT* result) {
  if (result == nullptr) return;
  *result = result_.Get();
  VariantInit(&result_.Get());
}

// ---- Names and calls ---------------------------------------------------------------------------

HRESULT GetIdsOfNames(std::span<const Member> members, REFIID reserved, LPOLESTR* names, UINT count,
                      DISPID* ids) noexcept {
  if (reserved != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
  if (names == nullptr || ids == nullptr || count == 0) return E_INVALIDARG;
  std::fill_n(ids, count, DISPID_UNKNOWN);
  const auto member = std::find_if(members.begin(), members.end(),
                                   [names](const Member& m) { return SameName(m.name, names[0]); });
  if (member == members.end()) return DISP_E_UNKNOWNNAME;
  ids[0] = member->id;
  HRESULT status = S_OK;
  for (UINT position = 1; position < count; ++position) {
    const std::size_t parameters = ParameterCount(*member);
    for (std::size_t index = 0; index < parameters; ++index) {
      if (SameName(member->parameters.at(index).name, names[position])) {
        ids[position] = static_cast<DISPID>(index);
      }
    }
    if (ids[position] == DISPID_UNKNOWN) status = DISP_E_UNKNOWNNAME;
  }
  return status;
}

namespace {

HRESULT Perform(const Member& member, IDispatch& self, const DISPPARAMS& params, VARIANT* result,
                EXCEPINFO* exception) {
  Call call(member, params);
  const HRESULT status = member.invoke(self, call);
  // What a member has replaced stays replaced when it fails.
  call.WriteBack();
  if (FAILED(status)) return MoveErrorInfo(status, exception);
  call.MoveResult(result);
  return status;
}

}  // namespace

HRESULT InvokeMember(std::span<const Member> members, IDispatch& self, DISPID id, REFIID reserved,
                     WORD flags, DISPPARAMS* params, VARIANT* result, EXCEPINFO* exception,
                     UINT* wrongArgument) noexcept {
  if (reserved != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
  if (params == nullptr) return E_INVALIDARG;
  const auto member = std::find_if(members.begin(), members.end(), [=](const Member& m) {
    return m.id == id && Answers(m, flags);
  });
  if (member == members.end()) return DISP_E_MEMBERNOTFOUND;
  if (result != nullptr) VariantInit(result);
  try {
    return Perform(*member, self, *params, result, exception);
  } catch (const BadArgument& bad) {
    if (wrongArgument != nullptr && bad.position) *wrongArgument = *bad.position;
    return bad.status;
  } catch (...) {
    return MoveErrorInfo(ReportCaughtError(IID_IDispatch), exception);
  }
}

}  // namespace brindlex
