// A host's thread with 64 KiB of stack.

#include "tests/com/objects/late_call.h"
#include "tests/com/persistence/save_restore_test.h"
#include "tests/com/support/apartment.h"

namespace brindlex::testing {
namespace {

class SmallStackTest : public SaveRestoreTest {
 protected:
  /// Runs `action` on a thread with that stack, in an apartment of its own. An overflow of the
  /// stack is an exception of the system, which the strict host counts, and ends the process.
  static void Run(const std::function<void()>& action) {
    constexpr SIZE_T kStack = std::size_t{64} << 10U;
    auto* const thread =
        CreateThread(nullptr, kStack, RunAction, const_cast<std::function<void()>*>(&action),
                     STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    ASSERT_NE(nullptr, thread);
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(thread, INFINITE));
    CloseHandle(thread);
  }

 private:
  static DWORD WINAPI RunAction(void* action) {
    CoInitialize(nullptr);
    (*static_cast<const std::function<void()>*>(action))();
    CoUninitialize();
    return 0;
  }
};

TEST_F(SmallStackTest, SavesRestoresAndConverts) {
  Run([&] {
    const auto operations = NewSaveRestore();
    const auto record = NewTitle(u"Alpha", u"1");
    BSTR text = nullptr;
    EXPECT_EQ(S_OK, operations->AsDelimitedFromObject(record.Get(), &text));
    const Bstr saved(Taken(text));
    const auto creator = NewTitleCreator();
    ComPtr<_clsCollection> restored;
    EXPECT_EQ(S_OK, operations->AsDelimitedToCollection(saved.Get(), creator.Get(), Missing(),
                                                        Missing(), Missing(), restored.Receive()));
    EXPECT_EQ(std::vector<Units>{u"Alpha=1"}, Titles(restored));
    const auto bases = Dll().New<_clsBases, ::clsBases>();
    LateCall call(*bases.Get(), L"ConvertBase");
    call.WithOwned(Variant(Units(300, u'9'))).WithOwned(OfLong(10)).WithOwned(OfLong(2));
    EXPECT_EQ(S_OK, call.Run());
  });
}

TEST_F(SmallStackTest, KeepsFilesAndPassesReportsOn) {
  std::vector<Units> captions;
  Run([&] {
    const auto listener = ScriptedObject::New();
    listener->Method(u"OnReport", [&captions](const Arguments& arguments) {
      captions.push_back(TextOf(*arguments[0]));
      return Variant();
    });
    const auto environment = Dll().New<_clsEnvironment, ::clsEnvironment>();
    EXPECT_EQ(S_OK, environment->putref_ReportListener(listener.Get()));
    const auto files = Dll().New<_clsAppFiles, ::clsAppFiles>();
    const Bstr path(u"C:\\brindlex small stack.txt");
    const Bstr text(Units(100000, u'x'));
    VARIANT_BOOL saved = VARIANT_FALSE;
    EXPECT_EQ(S_OK, files->SaveTextFile(path.Get(), text.Get(), VARIANT_FALSE, &saved));
    EXPECT_EQ(VARIANT_TRUE, saved);
    EXPECT_EQ(S_OK, files->SaveTextFileSafely(path.Get(), text.Get(), VARIANT_FALSE, &saved));
    EXPECT_EQ(VARIANT_TRUE, saved);
    BSTR read = nullptr;
    EXPECT_EQ(S_OK, files->ReadTextFile(path.Get(), VARIANT_FALSE, &read));
    EXPECT_EQ(text.View(), Taken(read));
    EXPECT_NE(FALSE, DeleteFileW(path.Get()));
    EXPECT_EQ(S_OK,
              files->SaveTextFile(Bstr(u"C:\\none\\f").Get(), text.Get(), VARIANT_FALSE, &saved));
    EXPECT_EQ(S_OK, environment->putref_ReportListener(nullptr));
  });
  EXPECT_EQ(std::vector<Units>{u"KX Error"}, captions);
}

}  // namespace
}  // namespace brindlex::testing
