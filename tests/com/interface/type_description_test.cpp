// Type descriptions as a host's object may hand them in: that name themselves as their base, that
// inherit through many levels, that list as many members as their counts can hold, and that succeed
// without a description.

#include "server/com/counted_object.h"
#include "tests/com/persistence/save_restore_test.h"

namespace brindlex::testing {
namespace {

/// A description of an interface, all of whose members are properties that can be read.
class ScriptedTypeInfo final : public CountedObject<ScriptedTypeInfo, ITypeInfo> {
 public:
  static ComPtr<ScriptedTypeInfo> New() {
    return ComPtr<ScriptedTypeInfo>::Adopt(new ScriptedTypeInfo);
  }

  /// The name of each member, by its id.
  std::vector<std::u16string> members;
  /// What it inherits from, unless it inherits from itself.
  ComPtr<ITypeInfo> base;
  bool inheritsFromItself = false;
  bool hasNoAttributes = false;
  bool hasNoBase = false;
  bool hasNoFunctions = false;

  STDMETHODIMP GetTypeAttr(TYPEATTR** result) override {
    attributes_ = {};
    attributes_.typekind = TKIND_INTERFACE;
    attributes_.cImplTypes = base || inheritsFromItself || hasNoBase ? 1 : 0;
    attributes_.cFuncs = static_cast<WORD>(members.size());
    *result = hasNoAttributes ? nullptr : &attributes_;
    return S_OK;
  }
  STDMETHODIMP_(void) ReleaseTypeAttr(TYPEATTR*) override {}
  STDMETHODIMP GetFuncDesc(UINT index, FUNCDESC** result) override {
    function_ = {};
    function_.memid = static_cast<MEMBERID>(index);
    function_.invkind = INVOKE_PROPERTYGET;
    *result = hasNoFunctions ? nullptr : &function_;
    return S_OK;
  }
  STDMETHODIMP_(void) ReleaseFuncDesc(FUNCDESC*) override {}
  STDMETHODIMP GetNames(MEMBERID id, BSTR* names, UINT, UINT* count) override {
    *names = NewBstr(members[static_cast<std::size_t>(id)]);
    *count = 1;
    return S_OK;
  }
  STDMETHODIMP GetRefTypeOfImplType(UINT, HREFTYPE* result) override {
    *result = 1;
    return S_OK;
  }
  STDMETHODIMP GetRefTypeInfo(HREFTYPE, ITypeInfo** result) override {
    *result = ComPtr<ITypeInfo>(inheritsFromItself ? this : base.Get()).Detach();
    return S_OK;
  }

  STDMETHODIMP GetTypeComp(ITypeComp**) override { return E_NOTIMPL; }
  STDMETHODIMP GetVarDesc(UINT, VARDESC**) override { return E_NOTIMPL; }
  STDMETHODIMP_(void) ReleaseVarDesc(VARDESC*) override {}
  STDMETHODIMP GetImplTypeFlags(UINT, INT*) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(LPOLESTR*, UINT, MEMBERID*) override { return E_NOTIMPL; }
  STDMETHODIMP Invoke(PVOID, MEMBERID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
    return E_NOTIMPL;
  }
  STDMETHODIMP GetDocumentation(MEMBERID, BSTR*, BSTR*, DWORD*, BSTR*) override {
    return E_NOTIMPL;
  }
  STDMETHODIMP GetDllEntry(MEMBERID, INVOKEKIND, BSTR*, BSTR*, WORD*) override { return E_NOTIMPL; }
  STDMETHODIMP AddressOfMember(MEMBERID, INVOKEKIND, PVOID*) override { return E_NOTIMPL; }
  STDMETHODIMP CreateInstance(IUnknown*, REFIID, PVOID*) override { return E_NOTIMPL; }
  STDMETHODIMP GetMops(MEMBERID, BSTR*) override { return E_NOTIMPL; }
  STDMETHODIMP GetContainingTypeLib(ITypeLib**, UINT*) override { return E_NOTIMPL; }

 private:
  ScriptedTypeInfo() = default;

  TYPEATTR attributes_{};
  FUNCDESC function_{};
};

class TypeDescriptionTest : public SaveRestoreTest {
 protected:
  using NameList = std::vector<Units>;

  static ComPtr<ScriptedObject> Described(const ComPtr<ScriptedTypeInfo>& description) {
    auto object = ScriptedObject::New();
    object->typeInfo = ComPtr<ITypeInfo>(description.Get());
    return object;
  }

  /// `levels` descriptions, each the base of the next; the base of all has the member "1".
  static ComPtr<ScriptedTypeInfo> Chain(int levels) {
    ComPtr<ScriptedTypeInfo> last;
    for (int level = 1; level <= levels; ++level) {
      auto next = ScriptedTypeInfo::New();
      next->members = {DecimalText(level)};
      if (last) next->base = ComPtr<ITypeInfo>(last.Get());
      last = std::move(next);
    }
    return last;
  }

  void ExpectFailure(const ComPtr<ScriptedTypeInfo>& description, const ShownError& error) {
    EXPECT_FALSE(NamesLate(Described(description).Get()));
    ExpectShown({Gmnl(error)});
  }
};

TEST_F(TypeDescriptionTest, ADescriptionThatInheritsFromItselfIsReported) {
  const auto description = ScriptedTypeInfo::New();
  description->members = {u"Name"};
  description->inheritsFromItself = true;
  ExpectFailure(description, {13, u"Type mismatch"});
}

TEST_F(TypeDescriptionTest, SixteenLevelsAreRead) {
  NameList names;
  for (int level = 1; level <= 16; ++level) names.push_back(DecimalText(level));
  EXPECT_EQ(names, Names(NamesLate(Described(Chain(16)).Get())));
}

TEST_F(TypeDescriptionTest, MoreLevelsAreReported) {
  ExpectFailure(Chain(17), {13, u"Type mismatch"});
  ExpectFailure(Chain(1000), {13, u"Type mismatch"});
}

TEST_F(TypeDescriptionTest, SavingAndRestoringSurviveSuchARecord) {
  const auto description = ScriptedTypeInfo::New();
  description->inheritsFromItself = true;
  EXPECT_EQ(u"", SaveObject(Described(description).Get()));
  ExpectShown({Gmnl({13, u"Type mismatch"}), Dfc({0, u""})});
}

TEST_F(TypeDescriptionTest, ADescriptionThatIsNotThereIsReported) {
  const ShownError notThere = {445, u"Object doesn't support this action"};
  const auto noAttributes = ScriptedTypeInfo::New();
  noAttributes->hasNoAttributes = true;
  ExpectFailure(noAttributes, notThere);
  const auto noBase = ScriptedTypeInfo::New();
  noBase->hasNoBase = true;
  ExpectFailure(noBase, notThere);
  const auto noFunctions = ScriptedTypeInfo::New();
  noFunctions->members = {u"Name"};
  noFunctions->hasNoFunctions = true;
  ExpectFailure(noFunctions, notThere);
}

// Comparing each name with all before it would take many minutes.
TEST_F(TypeDescriptionTest, AsManyMembersAsTheCountCanSayTakeLessThanAMinute) {
  constexpr int kMost = 65535;
  const auto description = ScriptedTypeInfo::New();
  for (int number = 0; number < kMost; ++number) {
    // Of one length, so that comparing them cannot stop there.
    description->members.push_back(u"A member with a rather long name " +
                                   DecimalText(100000 + number));
  }
  const DWORD start = GetTickCount();
  EXPECT_EQ(kMost, CountOf(NamesLate(Described(description).Get())));
  EXPECT_LT(GetTickCount() - start, 60000U);
}

}  // namespace
}  // namespace brindlex::testing
