#pragma once

#include <oaidl.h>

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <vector>

#include "platform/win32/automation/variant.h"

namespace brindlex {

/// One parameter of a member, as IDispatch callers may name or omit it.
struct Parameter {
  const wchar_t* name = nullptr;
  bool optional = false;
};

constexpr Parameter Required(const wchar_t* name) { return {name, false}; }
constexpr Parameter Optional(const wchar_t* name) { return {name, true}; }

class Call;

/// One member of a dispatch interface.
struct Member {
  static constexpr std::size_t kMostParameters = 6;

  const wchar_t* name;
  DISPID id;
  /// DISPATCH_METHOD, DISPATCH_PROPERTYGET or DISPATCH_PROPERTYPUT, the last with
  /// DISPATCH_PROPERTYPUTREF for a property that is an object. Methods and gets answer to each
  /// other's flag as well, since hosts differ in what they ask with.
  WORD kind;
  /// Calls the member through the vtable with the arguments of the call.
  HRESULT (*invoke)(IDispatch& self, Call& call);
  /// In written order; unused elements have no name.
  std::array<Parameter, kMostParameters> parameters = {};
};

/// Thrown while arguments are read: the status that IDispatch::Invoke returns, and the argument's
/// position in the caller's own, reversed order, unless no single argument is at fault.
struct BadArgument {
  HRESULT status;
  std::optional<UINT> position = std::nullopt;
};

/// The arguments and the result of one call through IDispatch::Invoke. Arguments are read by their
/// position in written order and converted to the parameter's type. What is passed by reference is
/// copied, since the host may change its variable while the call runs; copies and converted values
/// live as long as the call. Throws BadArgument.
class Call {
 public:
  /// Assigns the arguments of `params`, named ones included, to the parameters of `member`.
  Call(const Member& member, const DISPPARAMS& params);
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;
  ~Call() = default;

  /// The argument itself; the marker of an omitted argument where it is omitted.
  VARIANT ValueAt(std::size_t index);
  BSTR TextAt(std::size_t index);
  IDispatch* ObjectAt(std::size_t index);
  /// As ObjectAt; null for Null and Empty too, which script hosts pass that know no Nothing.
  IDispatch* ObjectOrNothingAt(std::size_t index);
  VARIANT_BOOL FlagAt(std::size_t index) { return ConvertedAt(index, VT_BOOL).boolVal; }
  long LongAt(std::size_t index) { return ConvertedAt(index, VT_I4).lVal; }

  /// A value of the call's own that the member may replace, which WriteBack writes back. A number
  /// that is omitted, or Empty, which is what script hosts pass for an undefined value, is
  /// `byDefault`.
  BSTR* TextVariableAt(std::size_t index) { return &VariableAt(index, VT_BSTR).bstrVal; }
  IDispatch** ObjectVariableAt(std::size_t index) {
    return &VariableAt(index, VT_DISPATCH).pdispVal;
  }
  long* LongVariableAt(std::size_t index, long byDefault);
  double* DoubleVariableAt(std::size_t index, double byDefault);

  /// Writes every value of the above that was replaced into the caller's variable: one of the same
  /// type, or a variant of any content. A plain value, or a variable of another type, stays as it
  /// is.
  void WriteBack();

  /// Pointers for the vtable method's result.
  VARIANT* ResultValue() { return &result_.Get(); }
  BSTR* ResultText() { return &Result(VT_BSTR).bstrVal; }
  long* ResultLong() { return &Result(VT_I4).lVal; }
  double* ResultDouble() { return &Result(VT_R8).dblVal; }
  VARIANT_BOOL* ResultFlag() { return &Result(VT_BOOL).boolVal; }
  IUnknown** ResultUnknown() { return &Result(VT_UNKNOWN).punkVal; }
  template <class Interface>
  Interface** ResultObject() {
    return reinterpret_cast<Interface**>(&Result(VT_DISPATCH).pdispVal);
  }

  /// Moves the result to the caller; null if the caller wants none.
  void MoveResult(VARIANT* result);

 private:
  void Assign(const Member& member, std::size_t count);
  void RequireAll(const Member& member, std::size_t count) const;
  const VARIANT& ConvertedAt(std::size_t index, VARTYPE type);
  VARIANT& VariableAt(std::size_t index, VARTYPE type);
  bool IsLeftOut(std::size_t index) const;
  std::optional<UINT> CallerPositionOf(std::size_t index) const;
  VARIANT& Result(VARTYPE type);

  const DISPPARAMS& params_;
  /// In written order; null where the argument is omitted.
  std::array<const VARIANT*, Member::kMostParameters> arguments_ = {};
  Variant& NextOwned() { return owned_.at(ownedCount_++); }

  /// What the call had to copy or convert: at most one value for each argument.
  std::array<Variant, Member::kMostParameters> owned_;
  std::size_t ownedCount_ = 0;
  /// An argument that is written back: before and after the member ran.
  struct Variable {
    const VARIANT* argument;
    Variant before;
    Variant now;
  };
  std::vector<Variable> variables_;
  Variant result_;
};

/// IDispatch::GetIDsOfNames over a table of members.
HRESULT GetIdsOfNames(std::span<const Member> members, REFIID reserved, LPOLESTR* names, UINT count,
                      DISPID* ids) noexcept;

/// IDispatch::Invoke over a table of members.
HRESULT InvokeMember(std::span<const Member> members, IDispatch& self, DISPID id, REFIID reserved,
                     WORD flags, DISPPARAMS* params, VARIANT* result, EXCEPINFO* exception,
                     UINT* wrongArgument) noexcept;

}  // namespace brindlex
