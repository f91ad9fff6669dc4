// The tables of the code pages are those of the system.
#ifdef _WIN32

#include <windows.h>

#include <gtest/gtest.h>

#include "cli/text/code_pages.h"

namespace brindlex::cli {
namespace {

TEST(CodePages, ConvertAsWindowsDoes) {
  for (const CodePage& page : kCodePages) {
    for (unsigned index = 0; index < page.upper.size(); ++index) {
      const char byte = static_cast<char>(0x80 + index);
      const auto unit = static_cast<wchar_t>(page.upper[index]);
      wchar_t wide[2] = {};
      EXPECT_EQ(1, MultiByteToWideChar(page.number, 0, &byte, 1, wide, 2));
      EXPECT_EQ(unit, wide[0]) << page.number << " " << index;
      char back[2] = {};
      BOOL isDefault = FALSE;
      EXPECT_EQ(1, WideCharToMultiByte(page.number, WC_NO_BEST_FIT_CHARS, &unit, 1, back, 2,
                                       nullptr, &isDefault));
      EXPECT_EQ(byte, back[0]) << page.number << " " << index;
      EXPECT_FALSE(isDefault);
    }
  }
}

}  // namespace
}  // namespace brindlex::cli

#endif
