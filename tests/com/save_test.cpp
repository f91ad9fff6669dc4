// Collections of the host's own records as text.

#include "tests/com/save_restore_test.h"

namespace brindlex::testing {
namespace {

class SaveTest : public SaveRestoreTest {};

TEST_F(SaveTest, WritesAHeaderAndOneRecordForEachObject) {
  const auto alpha = NewTitle(u"Alpha", u"3");
  const auto beta = NewTitle(u"Beta", u"12");
  const auto objects = Collected({alpha.Get(), beta.Get()});
  EXPECT_EQ(u"Title\u00A5Count\u00A5\u0152Alpha\u00A53\u00A5\u0152Beta\u00A512\u00A5\u0152",
            Save(objects.Get()));
}

}  // namespace
}  // namespace brindlex::testing
