// Classes that give the same names different dispatch ids, in one collection.

#include <algorithm>
#include <array>

#include "tests/com/persistence/save_restore_test.h"

namespace brindlex::testing {
namespace {

constexpr std::u16string_view kNames[] = {u"One", u"Two", u"Three"};

/// A record of three numbers. Each of the three kinds gives their names other ids; nothing else
/// tells the kinds apart, since they share one vtable.
class TurnedRecord : public IDispatch {
 public:
  explicit TurnedRecord(int kind) : kind_(kind) {}
  TurnedRecord(const TurnedRecord&) = delete;
  TurnedRecord& operator=(const TurnedRecord&) = delete;

  std::array<std::int32_t, 3> values{};

  STDMETHODIMP QueryInterface(REFIID id, void** result) override {
    const bool known = id == IID_IUnknown || id == IID_IDispatch;
    *result = known ? this : nullptr;
    if (known) AddRef();
    return known ? S_OK : E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }
  STDMETHODIMP GetTypeInfoCount(UINT* count) override {
    *count = 0;
    return S_OK;
  }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* ids) override {
    const std::u16string_view name(reinterpret_cast<const char16_t*>(names[0]));
    ids[0] = kListMembers;
    if (name == u"GetMemberNames") return S_OK;
    const auto* const found = std::find(std::begin(kNames), std::end(kNames), name);
    if (found == std::end(kNames)) return DISP_E_UNKNOWNNAME;
    ids[0] = static_cast<DISPID>((found - std::begin(kNames) + kind_) % 3);
    return S_OK;
  }
  STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                      EXCEPINFO*, UINT*) override {
    if (id == kListMembers) {
      const auto list = ForeignCollection::OfNames({kNames[0], kNames[1], kNames[2]});
      return CopyValue(*result, Variant::OfObject(list.Get()).Get());
    }
    std::int32_t& value = values.at(static_cast<std::size_t>((id + 3 - kind_) % 3));
    if (flags == DISPATCH_PROPERTYPUT) {
      value = WholeNumberOf(params->rgvarg[0]);
    } else {
      *result = Number(value).Get();
    }
    return S_OK;
  }

 private:
  static constexpr DISPID kListMembers = 100;

  virtual ~TurnedRecord() = default;

  ULONG references_ = 1;
  int kind_;
};

class MixedClassesTest : public SaveRestoreTest {};

TEST_F(MixedClassesTest, NotOneValueOfTenThousandRecordsGetsAnotherName) {
  constexpr int kRecords = 10000;
  const auto objects = NewCollection();
  for (int number = 0; number < kRecords; ++number) {
    const auto record = ComPtr<TurnedRecord>::Adopt(new TurnedRecord(number % 7 % 3));
    record->values = {3 * number, 3 * number + 1, 3 * number + 2};
    ASSERT_EQ(S_OK,
              objects->Add(Variant::OfObject(record.Get()).Get(), Missing(), Missing(), Missing()));
  }
  const Units text = Save(objects.Get());

  std::vector<ComPtr<TurnedRecord>> made;
  const auto creator = NewCreator([&made] {
    const int kind = static_cast<int>(made.size()) % 5 % 3;
    made.push_back(ComPtr<TurnedRecord>::Adopt(new TurnedRecord(kind)));
    return made.back().As<IDispatch>();
  });
  ASSERT_EQ(kRecords, CountOf(Restore(text, creator.Get())));
  ASSERT_EQ(kRecords + 1U, made.size());
  int right = 0;
  for (int number = 0; number < kRecords; ++number) {
    const std::array<std::int32_t, 3> expected = {3 * number, 3 * number + 1, 3 * number + 2};
    if (made[static_cast<std::size_t>(number) + 1]->values == expected) ++right;
  }
  EXPECT_EQ(kRecords, right);
}

TEST_F(MixedClassesTest, AnObjectMayMoveItsMembersBetweenReads) {
  const auto record = NewRecord({{u"One", u"1"}, {u"Two", u"2"}, {u"Three", u"3"}});
  record->operator[](u"One").whenRead = [&record] {
    std::swap(record->operator[](u"Two").id, record->operator[](u"Three").id);
  };
  EXPECT_EQ(
      u"One\u00A5Two\u00A5Three\u00A5\u01521\u00A52\u00A53\u00A5\u01521\u00A52\u00A53\u00A5"
      u"\u0152",
      Save(Collected({record.Get(), record.Get()}).Get()));
}

}  // namespace
}  // namespace brindlex::testing
