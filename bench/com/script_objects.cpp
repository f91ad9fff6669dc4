#include "bench/com/script_objects.h"

#include <cstdio>
#include <cstdlib>

namespace brindlex::bench {
namespace {

void Require(HRESULT status, const char* what) {
  if (SUCCEEDED(status)) return;
  std::fprintf(stderr, "%s failed: 0x%08lX\n", what, static_cast<unsigned long>(status));
  std::abort();
}

/// What an engine needs of its host. There is one, which outlives every engine.
class Site final : public IActiveScriptSite {
 public:
  STDMETHODIMP QueryInterface(REFIID id, void** result) override {
    const bool known = id == IID_IUnknown || id == __uuidof(IActiveScriptSite);
    *result = known ? static_cast<IActiveScriptSite*>(this) : nullptr;
    return known ? S_OK : E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return 2; }
  STDMETHODIMP_(ULONG) Release() override { return 1; }
  STDMETHODIMP GetLCID(LCID* locale) override {
    *locale = GetUserDefaultLCID();
    return S_OK;
  }
  STDMETHODIMP GetItemInfo(LPCOLESTR, DWORD, IUnknown**, ITypeInfo**) override {
    return TYPE_E_ELEMENTNOTFOUND;
  }
  STDMETHODIMP GetDocVersionString(BSTR*) override { return E_NOTIMPL; }
  STDMETHODIMP OnScriptTerminate(const VARIANT*, const EXCEPINFO*) override { return S_OK; }
  STDMETHODIMP OnStateChange(SCRIPTSTATE) override { return S_OK; }
  STDMETHODIMP OnScriptError(IActiveScriptError* error) override {
    EXCEPINFO info{};
    DWORD context = 0;
    ULONG line = 0;
    LONG column = 0;
    error->GetSourcePosition(&context, &line, &column);
    error->GetExceptionInfo(&info);
    std::fprintf(stderr, "line %lu of the script: %ls\n", line + 1,
                 info.bstrDescription == nullptr ? L"an error" : info.bstrDescription);
    SysFreeString(info.bstrSource);
    SysFreeString(info.bstrDescription);
    SysFreeString(info.bstrHelpFile);
    return S_OK;
  }
  STDMETHODIMP OnEnterScript() override { return S_OK; }
  STDMETHODIMP OnLeaveScript() override { return S_OK; }
};

IActiveScriptSite* TheSite() {
  static Site site;
  return &site;
}

}  // namespace

ScriptEngine::ScriptEngine(const wchar_t* language, const char16_t* program) {
  CLSID classId{};
  Require(CLSIDFromProgID(language, &classId), "CLSIDFromProgID");
  Require(CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, __uuidof(IActiveScript),
                           engine_.ReceiveVoid()),
          "making the script engine");
  Require(engine_->SetScriptSite(TheSite()), "SetScriptSite");
  ComPtr<IActiveScriptParse> parser;
  Require(engine_->QueryInterface(__uuidof(IActiveScriptParse), parser.ReceiveVoid()),
          "IActiveScriptParse");
  Require(parser->InitNew(), "InitNew");
  Require(engine_->SetScriptState(SCRIPTSTATE_STARTED), "SetScriptState");
  Require(parser->ParseScriptText(reinterpret_cast<const wchar_t*>(program), nullptr, nullptr,
                                  nullptr, 0, 0, SCRIPTTEXT_ISVISIBLE, nullptr, nullptr),
          "the script");
  Require(engine_->GetScriptDispatch(nullptr, globals_.Receive()), "GetScriptDispatch");
}

ScriptEngine::~ScriptEngine() {
  globals_ = nullptr;
  engine_->Close();
}

ComPtr<IDispatch> ScriptEngine::Call(const wchar_t* name, long number) const {
  auto* spelled = const_cast<wchar_t*>(name);
  DISPID function = DISPID_UNKNOWN;
  Require(globals_->GetIDsOfNames(IID_NULL, &spelled, 1, LOCALE_USER_DEFAULT, &function), "name");
  VARIANT argument;
  argument.vt = VT_I4;
  argument.lVal = number;
  DISPPARAMS arguments{&argument, nullptr, 1, 0};
  Variant made;
  Require(globals_->Invoke(function, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &arguments,
                           made.Receive(), nullptr, nullptr),
          "calling the script");
  if (made.Get().vt != VT_DISPATCH) Require(E_FAIL, "the script's object");
  return ComPtr<IDispatch>(made.Get().pdispVal);
}

}  // namespace brindlex::bench
