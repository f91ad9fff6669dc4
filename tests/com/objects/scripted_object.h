#pragma once

#include <dispex.h>
#include <oaidl.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/win32/automation/com_ptr.h"
#include "platform/win32/automation/variant.h"

namespace brindlex::testing {

/// How a scripted member ends: well, with whatever status says so, or with a failure and what the
/// object says about it.
struct Outcome {
  HRESULT status = S_OK;
  HRESULT scode = 0;
  WORD code = 0;
  std::u16string description = {};
  std::u16string source = {};
  /// Says all that only when it is asked for it.
  bool deferred = false;
  /// What the asking then returns; a failure says nothing.
  HRESULT fillIn = S_OK;

  /// An exception as script and VB objects raise it.
  static Outcome Raise(HRESULT scode, std::u16string description = {}, std::u16string source = {}) {
    return {DISP_E_EXCEPTION, scode, 0, std::move(description), std::move(source)};
  }
};

/// The arguments of one call, in written order.
using Arguments = std::vector<const VARIANT*>;

/// One member of a scripted object: a value that is read and set, or a body that is called.
struct ScriptedMember {
  std::u16string name;
  DISPID id;
  /// Which kinds of call it answers.
  WORD kinds;
  Variant value = {};
  Outcome get = {};
  Outcome let = {};
  /// Runs instead of reading the value.
  std::function<Variant(const Arguments&)> body = {};
  /// Runs instead of all that, and leaves in the result what no Variant could hold.
  std::function<void(VARIANT&)> leave = {};
  /// Run before the outcome.
  std::function<void()> whenRead = {};
  std::function<void()> whenSet = {};
};

/// An object of a host, reached by IDispatch alone, that does what its script says. Lives on one
/// thread.
class ScriptedObject : public IDispatchEx {
 public:
  static ComPtr<ScriptedObject> New() { return ComPtr<ScriptedObject>::Adopt(new ScriptedObject); }

  /// The scripted objects and enumerators that are alive.
  static long Alive() { return alive; }

  /// The calls that came without what strict objects write to unasked: places for the result, the
  /// exception and the wrong argument.
  static inline long callsWithoutPlaces = 0;

  /// The calls that failed because the object itself found no memory.
  static inline long callsWithoutMemory = 0;

  ScriptedObject(const ScriptedObject&) = delete;
  ScriptedObject& operator=(const ScriptedObject&) = delete;

  /// Adds a property that can be read and set. The reference stays good.
  ScriptedMember& Property(std::u16string_view name, Variant value = {});
  ScriptedMember& Property(std::u16string_view name, std::u16string_view text) {
    return Property(name, Variant::OfText(text));
  }
  /// Adds a method. The reference stays good.
  ScriptedMember& Method(std::u16string_view name, std::function<Variant(const Arguments&)> body);
  /// The member called exactly `name`, which there must be.
  ScriptedMember& operator[](std::u16string_view name);

  /// Numbers given to members added from now on count from `id`.
  void NextId(DISPID id) { nextId_ = id; }

  /// What GetIDsOfNames and IDispatchEx::GetDispID return instead of looking.
  HRESULT namesStatus = S_OK;
  HRESULT extendedNamesStatus = S_OK;
  /// How often GetIDsOfNames was called.
  std::size_t namesAsked = 0;
  /// Whether the object has IDispatchEx at all.
  bool isExtended = false;
  /// What GetTypeInfo returns.
  ComPtr<ITypeInfo> typeInfo;
  /// When set, each time anew in the place of `typeInfo`.
  std::function<ComPtr<ITypeInfo>()> newTypeInfo;
  HRESULT typeInfoStatus = S_OK;
  HRESULT typeInfoCountStatus = S_OK;
  std::size_t typeInfosAsked = 0;
  /// One more interface that it answers to, as itself.
  IID marker = IID_NULL;

  STDMETHODIMP QueryInterface(REFIID id, void** result) override;
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override;

  STDMETHODIMP GetTypeInfoCount(UINT* count) override;
  STDMETHODIMP GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override;
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override;
  STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                      EXCEPINFO* exception, UINT* wrongArgument) override;

  STDMETHODIMP GetDispID(BSTR name, DWORD flags, DISPID* id) override;
  STDMETHODIMP InvokeEx(DISPID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                        IServiceProvider*) override {
    return E_NOTIMPL;
  }
  STDMETHODIMP DeleteMemberByName(BSTR, DWORD) override { return E_NOTIMPL; }
  STDMETHODIMP DeleteMemberByDispID(DISPID) override { return E_NOTIMPL; }
  STDMETHODIMP GetMemberProperties(DISPID, DWORD, DWORD*) override { return E_NOTIMPL; }
  STDMETHODIMP GetMemberName(DISPID, BSTR*) override { return E_NOTIMPL; }
  STDMETHODIMP GetNextDispID(DWORD, DISPID, DISPID*) override { return E_NOTIMPL; }
  STDMETHODIMP GetNameSpaceParent(IUnknown**) override { return E_NOTIMPL; }

 protected:
  ScriptedObject() { ++alive; }
  virtual ~ScriptedObject() { --alive; }

  ScriptedMember& Add(ScriptedMember member);

 private:
  friend class ScriptedEnumerator;
  static inline long alive = 0;

  ScriptedMember* Find(std::u16string_view name, bool exactly);
  static HRESULT Run(ScriptedMember& member, WORD flags, const DISPPARAMS& params, VARIANT* result,
                     EXCEPINFO* exception);

  std::vector<std::unique_ptr<ScriptedMember>> members_;
  DISPID nextId_ = 1;
  ULONG references_ = 1;
};

/// A collection class of a host: Count, Item by position or key, and an enumerator where it has
/// one.
class ForeignCollection : public ScriptedObject {
 public:
  static ComPtr<ForeignCollection> New(bool hasEnumerator = true) {
    return ComPtr<ForeignCollection>::Adopt(new ForeignCollection(hasEnumerator));
  }
  /// A collection of `names`, each under itself as key, as GetMemberNames yields.
  static ComPtr<ForeignCollection> OfNames(const std::vector<std::u16string_view>& names);

  void AddEntry(Variant entry, std::u16string_view key = {});
  void AddEntry(IDispatch* object) { AddEntry(Variant::OfObject(object)); }

  /// How the entry with this position (from 1) comes out instead of well.
  void FailAt(std::size_t position, Outcome outcome);

  /// What Count says, if not the truth.
  std::function<Variant()> claimedCount;
  /// Run before the enumerator fetches an entry; with a status other than S_OK it ends there.
  std::function<HRESULT()> whenFetched;
  /// What the enumerator says it fetched with each entry, for one that keeps poor books.
  bool reportsFetched = true;
  /// An enumerator that says S_OK after the end, with nothing fetched.
  bool endsWithoutFalse = false;

  std::size_t EnumeratorsMade() const { return enumeratorsMade_; }

 private:
  friend class ScriptedEnumerator;
  struct Entry {
    Variant value;
    std::u16string key;
  };

  explicit ForeignCollection(bool hasEnumerator);
  Variant ItemAt(const Arguments& arguments);

  std::vector<Entry> entries_;
  std::size_t failing_ = 0;
  Outcome failure_;
  std::size_t enumeratorsMade_ = 0;
};

/// A creator of a host: each GetNewObject yields what `make` does.
ComPtr<ScriptedObject> NewCreator(std::function<ComPtr<IDispatch>()> make);

/// Thrown by a member's body: the call ends with this outcome.
struct Fails {
  Outcome outcome;
};

/// A variant of a plain type, or a by-reference one that looks at `value`.
Variant Plain(VARTYPE type, const void* value, std::size_t size);
template <class T>
Variant Of(VARTYPE type, T value) {
  // A pointer is such a value too.
  return Plain(type, &value, sizeof(T));  // NOLINT(bugprone-sizeof-expression)
}
inline Variant Number(std::int32_t number) { return Of(VT_I4, number); }

}  // namespace brindlex::testing
