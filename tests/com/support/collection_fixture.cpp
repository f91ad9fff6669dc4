#include "tests/com/support/collection_fixture.h"

#include "automation/runtime_error.h"
#include "tests/com/objects/late_call.h"

namespace brindlex::testing {

void CollectionTest::SetUp() {
  ComTest::SetUp();
  collection_ = NewCollection();
}

void CollectionTest::TearDown() {
  Let();
  ComTest::TearDown();
}

void CollectionTest::AddKeyed(std::initializer_list<TextView> texts) const {
  for (const TextView text : texts) EXPECT_EQ(S_OK, Add(Variant(text).Get(), Variant(text).Get()));
}

long CollectionTest::Count() const {
  long count = -1;
  EXPECT_EQ(S_OK, Collection().get_Count(&count));
  return count;
}

HRESULT CollectionTest::Ask(const VARIANT& index) const {
  Variant entry;
  const HRESULT status = Collection().get_Item(index, entry.Receive());
  EXPECT_TRUE(SUCCEEDED(status) || entry.Get().vt == VT_EMPTY);
  return status;
}

std::u16string CollectionTest::Entry(const VARIANT& index) const {
  Variant entry;
  EXPECT_EQ(S_OK, Collection().get_Item(index, entry.Receive()));
  return Shown(entry.Get());
}

std::u16string CollectionTest::Entries() const {
  return Shown(Variant::OfObject(collection_.Get()).Get());
}

void CollectionTest::ExpectError(unsigned number, HRESULT status) {
  EXPECT_EQ(ErrorStatus(number), status);
  ComPtr<IErrorInfo> info;
  ASSERT_EQ(S_OK, GetErrorInfo(0, info.Receive()));
  GUID thrower;
  Bstr source;
  Bstr description;
  EXPECT_EQ(S_OK, info->GetGUID(&thrower));
  EXPECT_EQ(S_OK, info->GetSource(source.Receive()));
  EXPECT_EQ(S_OK, info->GetDescription(description.Receive()));
  EXPECT_EQ(IID__clsCollection, thrower);
  EXPECT_EQ(u"Brindlex", source.View());
  EXPECT_EQ(StandardDescription(static_cast<std::int32_t>(number)), description.View());
}

}  // namespace brindlex::testing
