// The server: class factories, the identity of objects, and when the DLL may be unloaded.

#include <gmock/gmock.h>
#include <ocidl.h>

#include <array>
#include <thread>

#include "server/classes/classes.h"
#include "tests/com/objects/type_text.h"
#include "tests/com/support/fixture.h"

namespace brindlex::testing {
namespace {

/// A class that nobody has.
constexpr CLSID kForeignClass = {
    0x5B6E2F10, 0x94C7, 0x4D0A, {0x8E, 0x21, 0x60, 0x3D, 0x1F, 0x77, 0xA9, 0x42}};

class ServerTest : public ComTest {
 protected:
  ComPtr<IClassFactory> FactoryOf(REFCLSID classId) const {
    ComPtr<IClassFactory> factory;
    EXPECT_EQ(S_OK, Dll().GetClassObject(classId, IID_IClassFactory, factory.ReceiveVoid()));
    return factory;
  }
};

TEST_F(ServerTest, HasNoFactoryForAClassOfOthers) {
  void* result = this;
  EXPECT_EQ(CLASS_E_CLASSNOTAVAILABLE,
            Dll().GetClassObject(kForeignClass, IID_IClassFactory, &result));
  EXPECT_EQ(nullptr, result);
}

TEST_F(ServerTest, NeedsAPlaceForTheFactory) {
  EXPECT_EQ(E_POINTER, Dll().GetClassObject(CLSID_clsTextData, IID_IClassFactory, nullptr));
}

TEST_F(ServerTest, AFactoryHasNoOtherInterface) {
  void* result = this;
  EXPECT_EQ(E_NOINTERFACE, Dll().GetClassObject(CLSID_clsTextData, IID_IDispatch, &result));
  EXPECT_EQ(nullptr, result);
}

TEST_F(ServerTest, AFactoryIsOneObjectByEitherInterface) {
  const auto factory = FactoryOf(CLSID_clsTextData);
  const auto identity = factory.As<IUnknown>();
  EXPECT_TRUE(identity);
  EXPECT_EQ(factory.Get(), identity.As<IClassFactory>().Get());
  EXPECT_EQ(E_POINTER, factory->QueryInterface(IID_IUnknown, nullptr));
}

TEST_F(ServerTest, StaysLoadedWhileAFactoryLives) {
  EXPECT_EQ(S_OK, Dll().CanUnloadNow());
  auto factory = FactoryOf(CLSID_clsTextData);
  EXPECT_EQ(S_FALSE, Dll().CanUnloadNow());
  factory = nullptr;
  EXPECT_EQ(S_OK, Dll().CanUnloadNow());
}

TEST_F(ServerTest, StaysLoadedUntilTheLastLockIsTakenBack) {
  const auto locked = [&](BOOL lock) {
    EXPECT_EQ(S_OK, FactoryOf(CLSID_clsTextData)->LockServer(lock));
    return Dll().CanUnloadNow() == S_FALSE;
  };
  EXPECT_TRUE(locked(TRUE));
  EXPECT_TRUE(locked(TRUE));
  EXPECT_TRUE(locked(FALSE));
  EXPECT_FALSE(locked(FALSE));
}

TEST_F(ServerTest, StaysLoadedUntilTheLastReferenceToAnObjectIsGone) {
  auto object = NewCollection();
  auto identity = object.As<IUnknown>();
  object = nullptr;
  EXPECT_EQ(S_FALSE, Dll().CanUnloadNow());
  identity = nullptr;
  EXPECT_EQ(S_OK, Dll().CanUnloadNow());
}

TEST_F(ServerTest, StaysLoadedWhileAnEnumeratorLives) {
  auto collection = NewCollection();
  ComPtr<IUnknown> entries;
  ASSERT_EQ(S_OK, collection->get__NewEnum(entries.Receive()));
  collection = nullptr;
  EXPECT_EQ(S_FALSE, Dll().CanUnloadNow());
  entries = nullptr;
  EXPECT_EQ(S_OK, Dll().CanUnloadNow());
}

TEST_F(ServerTest, StaysInUseWhileAReturnedObjectLives) {
  auto record = Dll().New<_clsTextData, ::clsTextData>();
  ComPtr<_clsCollection> names;
  ASSERT_EQ(S_OK, record->GetMemberNames(names.Receive()));
  record = nullptr;
  EXPECT_EQ(S_FALSE, Dll().CanUnloadNow());
  names = nullptr;
  EXPECT_EQ(S_OK, Dll().CanUnloadNow());

  auto creator = Dll().New<_clsCreateTextData, ::clsCreateTextData>();
  ASSERT_EQ(S_OK, creator->GetNewObject(record.Receive()));
  creator = nullptr;
  EXPECT_EQ(S_FALSE, Dll().CanUnloadNow());
  record = nullptr;
  EXPECT_EQ(S_OK, Dll().CanUnloadNow());
}

TEST_F(ServerTest, MayBeUnloadedWhileItsTypeInformationLives) {
  auto object = NewCollection();
  ComPtr<ITypeInfo> type;
  ASSERT_EQ(S_OK, object->GetTypeInfo(0, LOCALE_NEUTRAL, type.Receive()));
  object = nullptr;
  EXPECT_EQ(S_OK, Dll().CanUnloadNow());
  EXPECT_EQ(L"_clsCollection", NameOf(*type.Get()));
}

TEST_F(ServerTest, CountsWhatSeveralThreadsUse) {
  constexpr int kRounds = 2000;
  const auto use = [&] {
    for (int round = 0; round < kRounds; ++round) {
      Dll().New<_clsTextData, ::clsTextData>();
    }
  };
  std::thread other(use);
  use();
  other.join();
  EXPECT_EQ(S_OK, Dll().CanUnloadNow());
}

/// The rules that every object keeps, for every creatable class.
class ClassTest : public ServerTest, public ::testing::WithParamInterface<std::size_t> {
 protected:
  static const ClassDescription& Class() { return Classes()[GetParam()]; }

  ComPtr<IUnknown> NewObject() const {
    ComPtr<IUnknown> object;
    EXPECT_EQ(
        S_OK,
        FactoryOf(Class().classId)->CreateInstance(nullptr, IID_IUnknown, object.ReceiveVoid()));
    return object;
  }

  static ComPtr<IUnknown> Asked(IUnknown& object, REFIID id) {
    ComPtr<IUnknown> answer;
    EXPECT_EQ(S_OK, object.QueryInterface(id, answer.ReceiveVoid()));
    return answer;
  }

  static std::array<IID, 5> Interfaces() {
    return {IID_IUnknown, IID_IDispatch, Class().interfaceId, IID_ISupportErrorInfo,
            IID_IProvideClassInfo};
  }
};

TEST_P(ClassTest, IsCreatedAsAnyOfItsInterfaces) {
  const auto factory = FactoryOf(Class().classId);
  for (const IID& id : Interfaces()) {
    ComPtr<IUnknown> object;
    EXPECT_EQ(S_OK, factory->CreateInstance(nullptr, id, object.ReceiveVoid()));
    EXPECT_TRUE(object);
  }
}

TEST_P(ClassTest, EveryCreationMakesAnotherObject) {
  EXPECT_NE(NewObject().Get(), NewObject().Get());
}

TEST_P(ClassTest, IsNotCreatedAsAnInterfaceThatItLacks) {
  void* result = this;
  EXPECT_EQ(E_NOINTERFACE,
            FactoryOf(Class().classId)->CreateInstance(nullptr, IID_IEnumVARIANT, &result));
  EXPECT_EQ(nullptr, result);
}

TEST_P(ClassTest, IsNotAggregated) {
  const auto outer = NewObject();
  void* result = this;
  EXPECT_EQ(CLASS_E_NOAGGREGATION,
            FactoryOf(Class().classId)->CreateInstance(outer.Get(), IID_IUnknown, &result));
  EXPECT_EQ(nullptr, result);
}

TEST_P(ClassTest, NeedsAPlaceForTheObject) {
  EXPECT_EQ(E_POINTER, FactoryOf(Class().classId)->CreateInstance(nullptr, IID_IUnknown, nullptr));
}

TEST_P(ClassTest, HasOneIdentity) {
  const auto object = NewObject();
  for (const IID& id : Interfaces()) {
    EXPECT_EQ(object.Get(), Asked(*Asked(*object.Get(), id).Get(), IID_IUnknown).Get());
  }
}

TEST_P(ClassTest, EveryInterfaceLeadsToEveryOther) {
  const auto object = NewObject();
  for (const IID& from : Interfaces()) {
    for (const IID& to : Interfaces()) {
      const auto there = Asked(*Asked(*object.Get(), from).Get(), to);
      // Back again, and onwards.
      for (const IID& onwards : Interfaces()) EXPECT_TRUE(Asked(*there.Get(), onwards));
    }
  }
}

TEST_P(ClassTest, NoInterfaceLeadsToOneThatTheObjectLacks) {
  const auto object = NewObject();
  for (const IID& from : Interfaces()) {
    const auto asked = Asked(*object.Get(), from);
    for (const IID& lacked : {IID_IEnumVARIANT, IID_IClassFactory, IID_IMarshal, IID_NULL}) {
      void* result = this;
      EXPECT_EQ(E_NOINTERFACE, asked->QueryInterface(lacked, &result));
      EXPECT_EQ(nullptr, result);
    }
    EXPECT_EQ(E_POINTER, asked->QueryInterface(IID_IUnknown, nullptr));
  }
}

TEST_P(ClassTest, IsNotOneOfTheOtherClasses) {
  const auto object = NewObject();
  for (const ClassDescription& other : Classes()) {
    ComPtr<IUnknown> result;
    const bool isOwn = other.interfaceId == Class().interfaceId;
    EXPECT_EQ(isOwn ? S_OK : E_NOINTERFACE,
              object->QueryInterface(other.interfaceId, result.ReceiveVoid()));
  }
}

TEST_P(ClassTest, ReferencesAreCounted) {
  const auto object = NewObject();
  EXPECT_EQ(2U, object->AddRef());
  EXPECT_EQ(4U, object.As<IDispatch>()->AddRef());
  EXPECT_EQ(2U, object->Release());
  EXPECT_EQ(1U, object->Release());
}

TEST_P(ClassTest, SupportsErrorInfoOnItsOwnInterface) {
  const auto support = NewObject().As<ISupportErrorInfo>();
  EXPECT_EQ(S_OK, support->InterfaceSupportsErrorInfo(Class().interfaceId));
  EXPECT_EQ(S_FALSE, support->InterfaceSupportsErrorInfo(IID_IUnknown));
  EXPECT_EQ(S_FALSE, support->InterfaceSupportsErrorInfo(IID_IProvideClassInfo));
}

TEST_P(ClassTest, ReturnsItsClassInformation) {
  const auto provider = NewObject().As<IProvideClassInfo>();
  ComPtr<ITypeInfo> type;
  ASSERT_EQ(S_OK, provider->GetClassInfo(type.Receive()));
  EXPECT_EQ(Class().classId, TypeAttributes(*type.Get())->guid);
  EXPECT_EQ(TKIND_COCLASS, TypeAttributes(*type.Get())->typekind);
  EXPECT_EQ(E_POINTER, provider->GetClassInfo(nullptr));
}

TEST_P(ClassTest, GivesItsTypeInformationWhateverTheLocale) {
  const auto object = NewObject().As<IDispatch>();
  UINT count = 0;
  EXPECT_EQ(S_OK, object->GetTypeInfoCount(&count));
  EXPECT_EQ(1U, count);
  for (const LCID locale : {LOCALE_NEUTRAL, 0x0407UL, 0x0411UL, 0xFFFFUL}) {
    ComPtr<ITypeInfo> type;
    ASSERT_EQ(S_OK, object->GetTypeInfo(0, locale, type.Receive()));
    EXPECT_EQ(Class().interfaceId, TypeAttributes(*type.Get())->guid);
  }
}

TEST_P(ClassTest, HasNoSecondTypeInformation) {
  const auto object = NewObject().As<IDispatch>();
  auto* type = reinterpret_cast<ITypeInfo*>(this);
  EXPECT_EQ(DISP_E_BADINDEX, object->GetTypeInfo(1, LOCALE_NEUTRAL, &type));
  EXPECT_EQ(nullptr, type);
  EXPECT_EQ(E_POINTER, object->GetTypeInfo(0, LOCALE_NEUTRAL, nullptr));
  EXPECT_EQ(E_POINTER, object->GetTypeInfoCount(nullptr));
}

INSTANTIATE_TEST_SUITE_P(Classes, ClassTest, ::testing::Range<std::size_t>(0, Classes().size()),
                         [](const auto& info) {
                           const std::wstring name = Classes()[info.param].name;
                           return std::string(name.begin(), name.end());
                         });

}  // namespace
}  // namespace brindlex::testing
