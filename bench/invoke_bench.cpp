// What a conversion costs a late-bound host, beside a call that takes the same arguments, converts
// nothing and returns a text as long. Prints a line for each base; fails when a conversion takes
// more than 2.5 times as long as that call.

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>
#include <optional>
#include <vector>

#include "bases/powers.h"
#include "platform/win32/automation/com_ptr.h"
#include "platform/win32/automation/variant.h"
#include "server/Brindlex.h"
#include "server/com/call.h"

namespace brindlex {
namespace {

/// How many bare calls a conversion may take, and how much longer on a busy machine.
constexpr double kMostOfBare = 2;
constexpr double kTolerated = 1.25;
constexpr int kRounds = 25;
constexpr int kCalls = 4000;

Text& TextToReturn() {
  static Text text;
  return text;
}

/// Takes what ConvertBase takes, and returns TextToReturn.
constexpr Member kMembers[] = {
    {L"ConvertBase",
     1,
     DISPATCH_METHOD,
     [](IDispatch&, Call& call) {
       call.ValueAt(0);
       call.LongAt(1);
       call.LongAt(2);
       call.LongVariableAt(3, -1);
       call.DoubleVariableAt(4, 1e-27);
       call.LongVariableAt(5, 0);
       VARIANT& result = *call.ResultValue();
       result.bstrVal = NewBstr(TextToReturn());
       result.vt = VT_BSTR;
       return S_OK;
     },
     {Required(L"Number"), Required(L"FromBase"), Required(L"ToBase"),
      Optional(L"MaxFractionDigits"), Optional(L"Tolerance"), Optional(L"GroupSize")}},
};

/// An object that is called through the same code and does nothing.
class BareObject final : public IDispatch {
 public:
  STDMETHODIMP QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  STDMETHODIMP_(ULONG) AddRef() override { return 2; }
  STDMETHODIMP_(ULONG) Release() override { return 1; }
  STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  STDMETHODIMP Invoke(DISPID id, REFIID reserved, LCID, WORD flags, DISPPARAMS* params,
                      VARIANT* result, EXCEPINFO* exception, UINT* wrong) override {
    return InvokeMember(kMembers, *this, id, reserved, flags, params, result, exception, wrong);
  }
};

VARIANT Long(long number) {
  VARIANT value;
  value.vt = VT_I4;
  value.lVal = number;
  return value;
}

VARIANT Double(double number) {
  VARIANT value;
  value.vt = VT_R8;
  value.dblVal = number;
  return value;
}

/// One call by place, its arguments in the reversed order of IDispatch.
HRESULT ConvertOnce(IDispatch& object, std::vector<VARIANT>& reversed, VARIANT* result) {
  DISPPARAMS params{reversed.data(), nullptr, static_cast<UINT>(reversed.size()), 0};
  return object.Invoke(1, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, result, nullptr,
                       nullptr);
}

/// Nanoseconds for one call, over a round of them; nothing when one fails.
std::optional<double> TimeRound(IDispatch& object, std::vector<VARIANT>& reversed) {
  LARGE_INTEGER frequency;
  LARGE_INTEGER start;
  LARGE_INTEGER end;
  QueryPerformanceFrequency(&frequency);
  QueryPerformanceCounter(&start);
  for (int i = 0; i < kCalls; ++i) {
    Variant result;
    if (FAILED(ConvertOnce(object, reversed, result.Receive()))) return std::nullopt;
  }
  QueryPerformanceCounter(&end);
  const auto ticks = static_cast<double>(end.QuadPart - start.QuadPart);
  return ticks * 1e9 / static_cast<double>(frequency.QuadPart) / kCalls;
}

struct Times {
  double ours = std::numeric_limits<double>::max();
  double theirs = std::numeric_limits<double>::max();
};

/// The best of several rounds, which take turns, since a machine that is shared changes its pace.
std::optional<Times> BestOf(IDispatch& ours, IDispatch& theirs, std::vector<VARIANT>& reversed) {
  Times best;
  for (int round = 0; round < kRounds; ++round) {
    const std::optional<double> one = TimeRound(ours, reversed);
    const std::optional<double> other = TimeRound(theirs, reversed);
    if (!one || !other) return std::nullopt;
    best = {std::min(best.ours, *one), std::min(best.theirs, *other)};
  }
  return best;
}

struct Case {
  const char* name;
  VARIANT number;
  long maxFractionDigits;
};

bool CompareAll(IDispatch& bases) {
  const std::array<Case, 2> cases = {
      Case{"whole number", Long(123456789), -1},
      Case{"fraction", Double(1234.567), 12},
  };
  BareObject bare;
  bool good = true;
  for (const Case& one : cases) {
    for (const long base : kBases) {
      if (base == 10) continue;
      std::vector<VARIANT> reversed = {Long(one.maxFractionDigits), Long(base), Long(10),
                                       one.number};
      Variant result;
      if (FAILED(ConvertOnce(bases, reversed, result.Receive()))) return false;
      TextToReturn() = ViewOf(result.Get().bstrVal);
      const std::optional<Times> times = BestOf(bases, bare, reversed);
      if (!times) return false;
      const auto [ours, theirs] = *times;
      const bool fits = ours <= kTolerated * kMostOfBare * theirs;
      std::printf("%-12s base %2ld: %6.0f ns, bare call %6.0f ns (%4.2f times)%s\n", one.name, base,
                  ours, theirs, ours / theirs, fits ? "" : " TOO MUCH");
      good = good && fits;
    }
  }
  return good;
}

ComPtr<IDispatch> NewBases(const wchar_t* dll) {
  ComPtr<IClassFactory> factory;
  ComPtr<IDispatch> object;
  HMODULE const module = LoadLibraryW(dll);
  if (module == nullptr) return object;
  using GetClassObject = HRESULT STDAPICALLTYPE(REFCLSID, REFIID, void**);
  auto* const entry = reinterpret_cast<GetClassObject*>(
      reinterpret_cast<void*>(GetProcAddress(module, "DllGetClassObject")));
  if (SUCCEEDED(entry(CLSID_clsBases, IID_IClassFactory, factory.ReceiveVoid()))) {
    factory->CreateInstance(nullptr, IID_IDispatch, object.ReceiveVoid());
  }
  return object;
}

int Run(const wchar_t* dll) {
  const auto bases = NewBases(dll);
  if (!bases) {
    std::fputs("the component does not load\n", stderr);
    return 1;
  }
  return CompareAll(*bases.Get()) ? 0 : 1;
}

}  // namespace
}  // namespace brindlex

int wmain(int argc, wchar_t** argv) {
  if (argc != 2) return 1;
  CoInitialize(nullptr);
  const int status = brindlex::Run(argv[1]);
  CoUninitialize();
  return status;
}
