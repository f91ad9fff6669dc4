// The type-library information service, where it is registered: played by a double, since systems
// come without it.

#include "tests/com/persistence/save_restore_test.h"

namespace brindlex::testing {
namespace {

constexpr CLSID kService = {
    0x8B21775E, 0x717D, 0x11CE, {0xAB, 0x5B, 0xD4, 0x12, 0x03, 0xC1, 0x00, 0x00}};

enum InvokeKind { kMethod = 1, kGetter = 2, kLetter = 4, kSetter = 8 };

/// Makes the service, or fails to.
class ServiceFactory : public IClassFactory {
 public:
  STDMETHODIMP QueryInterface(REFIID id, void** result) override {
    const bool known = id == IID_IUnknown || id == IID_IClassFactory;
    *result = known ? this : nullptr;
    return known ? S_OK : E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return 2; }
  STDMETHODIMP_(ULONG) Release() override { return 1; }
  STDMETHODIMP CreateInstance(IUnknown*, REFIID id, void** result) override {
    *result = nullptr;
    return FAILED(status) ? status : service->QueryInterface(id, result);
  }
  STDMETHODIMP LockServer(BOOL) override { return S_OK; }

  HRESULT status = S_OK;
  ComPtr<ScriptedObject> service;
};

class InformationServiceTest : public SaveRestoreTest {
 protected:
  using NameList = std::vector<Units>;

  void SetUp() override {
    SaveRestoreTest::SetUp();
    members_ = ForeignCollection::New();
    interface_ = ScriptedObject::New();
    interface_->Property(u"Members", Variant::OfObject(members_.Get()));
    factory_.service = ScriptedObject::New();
    factory_.service->Method(u"InterfaceInfoFromObject", [this](const Arguments& arguments) {
      EXPECT_EQ(1U, arguments.size());
      EXPECT_EQ(VT_DISPATCH, arguments.at(0)->vt);
      asked_ = arguments.at(0)->pdispVal;
      return Variant::OfObject(interface_.Get());
    });
    ASSERT_EQ(S_OK, CoRegisterClassObject(kService, &factory_, CLSCTX_INPROC_SERVER,
                                          REGCLS_MULTIPLEUSE, &registration_));
  }

  void TearDown() override {
    EXPECT_EQ(S_OK, CoRevokeClassObject(registration_));
    factory_.service = nullptr;
    interface_ = nullptr;
    members_ = nullptr;
    SaveRestoreTest::TearDown();
  }

  ComPtr<ScriptedObject> AddMember(View name, int kind) {
    auto member = ScriptedObject::New();
    member->Property(u"Name", name);
    member->Property(u"InvokeKind", Number(kind));
    members_->AddEntry(member.Get());
    return member;
  }

  void ExpectFailure(const ShownError& error) {
    EXPECT_FALSE(NamesLate(TypedRecord::New().Get()));
    ExpectShown({Gmnl(error)});
  }

  ServiceFactory factory_;
  ComPtr<ScriptedObject> interface_;
  ComPtr<ForeignCollection> members_;
  /// The object that the service was asked about last; not held.
  IDispatch* asked_ = nullptr;

 private:
  DWORD registration_ = 0;
};

TEST_F(InformationServiceTest, ItsGettersAreTheNamesInTheirOrder) {
  AddMember(u"QueryInterface", kMethod);
  AddMember(u"Zeta", kGetter);
  AddMember(u"Zeta", kLetter);
  AddMember(u"Alpha", kLetter);
  AddMember(u"Alpha", kGetter);
  AddMember(u"Object", kSetter);
  AddMember(u"Omega", kGetter);
  // Its own type information would give other names: the service is asked first.
  const auto record = TypedRecord::New();
  EXPECT_EQ((NameList{u"Zeta", u"Alpha", u"Omega"}), Names(NamesLate(record.Get())));
  EXPECT_EQ(static_cast<IDispatch*>(record.Get()), asked_);
}

TEST_F(InformationServiceTest, SavingAndRestoringUseItsNames) {
  AddMember(u"Long", kGetter);
  AddMember(u"Words", kGetter);
  const auto record = TypedRecord::New();
  record->longNumber = 7;
  record->words = Bstr(u"seven");
  EXPECT_EQ(u"Long\u00A5Words\u00A5\u01527\u00A5seven\u00A5\u0152", SaveObject(record.Get()));
  const auto creator = NewCreator([] { return TypedRecord::New().As<IDispatch>(); });
  const auto restored = Restore(
      u"Words\u00A5Short\u00A5LONG\u00A5\u0152eight\u00A51\u00A58\u00A5\u0152", creator.Get());
  const auto back = At(restored, 1);
  EXPECT_EQ(u"eight", Read(back.Get(), u"Words"));
  EXPECT_EQ(u"8", Read(back.Get(), u"Long"));
  EXPECT_EQ(u"0", Read(back.Get(), u"Short"));
}

TEST_F(InformationServiceTest, AnObjectsOwnListIsPreferred) {
  AddMember(u"Other", kGetter);
  const auto object = ScriptedObject::New();
  object->Property(u"MembersCol", Variant::OfObject(ForeignCollection::OfNames({u"Own"}).Get()));
  EXPECT_EQ(NameList{u"Own"}, Names(NamesLate(object.Get())));
  EXPECT_EQ(nullptr, asked_);
}

TEST_F(InformationServiceTest, AnInterfaceWithoutGettersGivesAnEmptyCollection) {
  AddMember(u"Alpha", kLetter);
  EXPECT_EQ(0, CountOf(NamesLate(TypedRecord::New().Get())));
  EXPECT_EQ(u"", SaveObject(TypedRecord::New().Get()));
  ExpectShown({Dfc({0, u""})});
}

TEST_F(InformationServiceTest, WithoutItTheTypeInformationIsRead) {
  AddMember(u"Other", kGetter);
  for (const HRESULT status : {E_FAIL, REGDB_E_CLASSNOTREG, CO_E_DLLNOTFOUND, E_NOINTERFACE}) {
    factory_.status = status;
    const auto names = NamesLate(TypedRecord::New().Get());
    EXPECT_EQ(14, CountOf(names));
  }
  factory_.status = E_OUTOFMEMORY;
  ExpectFailure(OutOfMemory());
}

TEST_F(InformationServiceTest, WhatItCannotSayIsReported) {
  const auto member = AddMember(u"Alpha", kGetter);
  member->operator[](u"InvokeKind").get = {E_FAIL};
  ExpectFailure({E_FAIL, u"Automation error"});
  member->operator[](u"InvokeKind").get = {};
  member->operator[](u"Name").value = Of(VT_NULL, 0);
  ExpectFailure(NullUse());
  interface_->operator[](u"Members").value = Variant::OfObject(nullptr);
  ExpectFailure(NotSet());
  interface_->operator[](u"Members").get = Outcome::Raise(E_ACCESSDENIED, u"Not for you");
  ExpectFailure({70, u"Not for you"});
  factory_.service->operator[](u"InterfaceInfoFromObject").get =
      Outcome::Raise(E_NOINTERFACE, u"No type information");
  ExpectFailure({430, u"No type information"});
}

}  // namespace
}  // namespace brindlex::testing
