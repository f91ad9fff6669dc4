// The reports as real message boxes on the screen.

#include "tests/com/support/fixture.h"
#include "tests/com/support/patched_import.h"
#include "tests/com/support/report_pane.h"

namespace brindlex::testing {
namespace {

using View = std::u16string_view;
using Units = std::u16string;

class ReportBoxTest : public ComTest {};

TEST_F(ReportBoxTest, NothingForACollectionIsReportedInOneModalBox) {
  const auto saveRestore = NewSaveRestore();
  BSTR text = nullptr;
  ASSERT_EQ(S_OK, saveRestore->AsDelimitedFromCollection(nullptr, Missing(), Missing(), Missing(),
                                                         &text));
  EXPECT_EQ(u"", Taken(text));
  ASSERT_EQ(1U, Boxes().Boxes().size());
  const Box& box = Boxes().Boxes()[0];
  EXPECT_EQ(u"Error DFC", box.caption);
  EXPECT_EQ(
      u"Error DFC\r\n\r\nObject variable or With block variable not set Number: 91 Line: 1"
      u" Member Name: ",
      box.text);
  EXPECT_EQ(1, box.buttons);
  EXPECT_TRUE(box.hasExclamationIcon);
}

TEST_F(ReportBoxTest, AHostThatCallsAgainWhileABoxIsOpenGetsBothReports) {
  const auto saveRestore = NewSaveRestore();
  BSTR inner = nullptr;
  Boxes().whileNextIsOpen = [&] {
    EXPECT_EQ(S_OK, saveRestore->AsDelimitedFromObject(nullptr, &inner));
  };
  BSTR outer = nullptr;
  ASSERT_EQ(S_OK, saveRestore->AsDelimitedFromCollection(nullptr, Missing(), Missing(), Missing(),
                                                         &outer));
  EXPECT_EQ(u"", Taken(outer));
  EXPECT_EQ(u"", Taken(inner));
  ASSERT_EQ(3U, Boxes().Boxes().size());
  EXPECT_EQ(u"Error DFC", Boxes().Boxes()[0].caption);
  EXPECT_EQ(u"Error GMNL", Boxes().Boxes()[1].caption);
  EXPECT_EQ(u"Error DFC", Boxes().Boxes()[2].caption);
}

TEST_F(ReportBoxTest, TheObjectOutlivesAHostThatReleasesItInsideTheBox) {
  auto saveRestore = NewSaveRestore();
  auto* const borrowed = saveRestore.Get();
  Boxes().whileNextIsOpen = [&] { saveRestore = nullptr; };
  BSTR text = nullptr;
  ASSERT_EQ(S_OK,
            borrowed->AsDelimitedFromCollection(nullptr, Missing(), Missing(), Missing(), &text));
  EXPECT_EQ(u"", Taken(text));
  EXPECT_EQ(1U, Boxes().Boxes().size());
}

// ---- Reports that no message box has room for --------------------------------------------------

/// A report with a text of the test's choice: that of a save into a folder that is not there.
class LongReportTest : public ComTest {
 protected:
  Units Show(View text) {
    const auto files = Dll().New<_clsAppFiles, ::clsAppFiles>();
    VARIANT_BOOL saved = VARIANT_TRUE;
    EXPECT_EQ(S_OK, files->SaveTextFile(Bstr(u"C:\\no such folder\\f").Get(), Bstr(text).Get(),
                                        VARIANT_FALSE, &saved));
    EXPECT_EQ(VARIANT_FALSE, saved);
    return u"There was a system error [FFS-FSO-KX] saving a file: C:\\no such folder\\f\r\nError:"
           u" Path not found Error Number: 76 Line: 2Trying to save: " +
           Units(text);
  }

  /// The control that gets the keys when the open window is active.
  static HWND Focus() {
    SetActiveWindow(GetParent(ReportPane()));
    return GetFocus();
  }

  static int FirstRow() { return GetScrollPos(ReportPane(), SB_VERT); }

  static int RowAfter(UINT message, WPARAM parameter) {
    SendMessageW(ReportPane(), message, parameter, 0);
    return FirstRow();
  }
};

TEST_F(LongReportTest, IsShownWholeWhateverItsLength) {
  for (const std::size_t length : {1U, 100U, 101U, 2000U, 5000U, 100000U, 1U << 22U}) {
    const Units expected = Show(Units(length, u'x'));
    ASSERT_EQ(1U, Boxes().Boxes().size());
    const Box& box = Boxes().Boxes()[0];
    EXPECT_EQ(u"KX Error", box.caption);
    EXPECT_TRUE(expected == box.text) << length;
    EXPECT_EQ(1, box.buttons);
    EXPECT_TRUE(box.hasExclamationIcon);
    Boxes().Forget();
  }
}

TEST_F(LongReportTest, IsShownBeyondANul) {
  const Units expected = Show(View(u"a\0b", 3));
  ASSERT_EQ(1U, Boxes().Boxes().size());
  EXPECT_EQ(expected, Boxes().Boxes()[0].text);
}

TEST_F(LongReportTest, IsAMessageBoxWhileItFitsOne) {
  bool hasPane = true;
  Boxes().whileNextIsOpen = [&] { hasPane = ReportPane() != nullptr; };
  Show(Units(100, u'x'));
  EXPECT_FALSE(hasPane);
  Boxes().whileNextIsOpen = [&] { hasPane = ReportPane() != nullptr; };
  Show(Units(101, u'x'));
  EXPECT_TRUE(hasPane);
}

TEST_F(LongReportTest, IsScrolledThroughByKeysWheelAndBar) {
  Units lines;
  for (int line = 0; line < 100000; ++line) lines += u"x\r\n";
  Boxes().whileNextIsOpen = [] {
    ASSERT_NE(nullptr, ReportPane());
    EXPECT_EQ(ReportPane(), Focus());
    EXPECT_EQ(1, RowAfter(WM_KEYDOWN, VK_DOWN));
    EXPECT_EQ(26, RowAfter(WM_KEYDOWN, VK_NEXT));
    EXPECT_EQ(25, RowAfter(WM_KEYDOWN, VK_UP));
    EXPECT_EQ(0, RowAfter(WM_KEYDOWN, VK_PRIOR));
    EXPECT_EQ(0, RowAfter(WM_KEYDOWN, VK_UP));
    // The report has two rows of its own before the lines and an empty one after them.
    EXPECT_EQ(100002 - 25, RowAfter(WM_KEYDOWN, VK_END));
    EXPECT_EQ(100002 - 25, RowAfter(WM_VSCROLL, SB_LINEDOWN));
    EXPECT_EQ(100002 - 28, RowAfter(WM_MOUSEWHEEL, MAKEWPARAM(0, WHEEL_DELTA)));
    EXPECT_EQ(0, RowAfter(WM_VSCROLL, SB_TOP));
    EXPECT_EQ(25, RowAfter(WM_VSCROLL, SB_PAGEDOWN));
    EXPECT_EQ(24, RowAfter(WM_VSCROLL, SB_LINEUP));
    EXPECT_EQ(0, RowAfter(WM_VSCROLL, SB_PAGEUP));
    EXPECT_EQ(100002 - 25, RowAfter(WM_VSCROLL, SB_BOTTOM));
    // The bar stands where it was left.
    EXPECT_EQ(100002 - 25, RowAfter(WM_VSCROLL, SB_THUMBTRACK));
    EXPECT_EQ(100002 - 25, RowAfter(WM_VSCROLL, SB_ENDSCROLL));
    EXPECT_EQ(0, RowAfter(WM_KEYDOWN, VK_HOME));
    EXPECT_EQ(0, RowAfter(WM_KEYDOWN, 'C'));
    UpdateWindow(ReportPane());
  };
  Show(lines);
  EXPECT_EQ(1U, Boxes().Boxes().size());
}

TEST_F(LongReportTest, CanBeCopied) {
  const Units text(5000, u'x');
  Units copied;
  const ClipboardTurn turn;
  Boxes().whileNextIsOpen = [&] {
    SendMessageW(ReportPane(), WM_COPY, 0, 0);
    ASSERT_TRUE(OpenClipboard(nullptr));
    auto* const data = GetClipboardData(CF_UNICODETEXT);
    copied = static_cast<const char16_t*>(GlobalLock(data));
    GlobalUnlock(data);
    CloseClipboard();
  };
  EXPECT_EQ(Show(text), copied);
}

INT_PTR WINAPI NoDialog(HINSTANCE, LPCDLGTEMPLATEW, HWND, DLGPROC, LPARAM) { return -1; }

TEST_F(LongReportTest, IsAMessageBoxWhereNoOtherWindowCanBeMade) {
  const PatchedImport dialog(Dll().Module(), "DialogBoxIndirectParamW",
                             reinterpret_cast<void*>(NoDialog));
  const Units expected = Show(Units(5000, u'x'));
  ASSERT_EQ(1U, Boxes().Boxes().size());
  EXPECT_EQ(expected, Boxes().Boxes()[0].text);
}

}  // namespace
}  // namespace brindlex::testing
