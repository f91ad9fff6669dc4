#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <oleauto.h>

#include <array>
#include <iterator>
#include <string>

#include "platform/win32/automation/variant.h"

namespace brindlex::testing {

/// The user's settings as a German user has them, while it lives.
class GermanSettings {
 public:
  GermanSettings() {
    for (std::size_t at = 0; at < std::size(kSettings); ++at) {
      wchar_t before[80] = {};
      GetLocaleInfoW(LOCALE_USER_DEFAULT, kSettings[at].type, before, 80);
      before_.at(at) = before;
      Set(kSettings[at].type, kSettings[at].value);
    }
    ForgetCharacters();
  }
  GermanSettings(const GermanSettings&) = delete;
  GermanSettings& operator=(const GermanSettings&) = delete;
  ~GermanSettings() {
    for (std::size_t at = 0; at < std::size(kSettings); ++at) {
      Set(kSettings[at].type, before_.at(at).c_str());
    }
    ForgetCharacters();
  }

 private:
  struct Setting {
    LCTYPE type;
    const wchar_t* value;
  };
  static constexpr Setting kSettings[] = {
      {LOCALE_SDECIMAL, L","},
      {LOCALE_STHOUSAND, L"."},
      {LOCALE_SMONDECIMALSEP, L","},
      {LOCALE_SMONTHOUSANDSEP, L"."},
      {LOCALE_SSHORTDATE, L"dd.MM.yyyy"},
  };

  static void Set(LCTYPE type, const wchar_t* value) {
    EXPECT_TRUE(SetLocaleInfoW(LOCALE_USER_DEFAULT, type, value));
  }

  /// The system remembers the characters of the locale that it converted by last.
  static void ForgetCharacters() {
    constexpr LCID kFrench = 0x040C;
    const Variant text = Variant::OfText(u"1");
    Variant number;
    EXPECT_EQ(S_OK, VariantChangeTypeEx(&number.Get(), const_cast<VARIANT*>(&text.Get()), kFrench,
                                        0, VT_R8));
  }

  std::array<std::wstring, std::size(kSettings)> before_;
};

}  // namespace brindlex::testing
