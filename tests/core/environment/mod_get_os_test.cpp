#include "environment/mod_get_os.h"

#include <cstdint>
#include <initializer_list>

#include "tests/core/core_test.h"

namespace brindlex {
namespace {

class GetOsNameTest : public HostTest {
 protected:
  Text NameOf(std::uint32_t platformId, std::uint32_t major, std::uint32_t minor) {
    platform_.version = {major, minor, 0, platformId};
    return GetOsName(platform_);
  }
};

TEST(VersionRecordTest, IsZeroWhereNothingIsSaid) {
  const VersionRecord version;
  EXPECT_EQ(0U, version.majorVersion);
  EXPECT_EQ(0U, version.minorVersion);
  EXPECT_EQ(0U, version.buildNumber);
  EXPECT_EQ(0U, version.platformId);
}

TEST_F(GetOsNameTest, TheLineOfWindows95GoesByTheMinorVersionAlone) {
  for (std::uint32_t major = 0; major <= 11; ++major) {
    for (std::uint32_t minor = 0; minor <= 100; ++minor) {
      const TextView expected = minor == 0    ? u"Windows 95"
                                : minor == 10 ? u"Windows 98"
                                : minor == 90 ? u"Windows Millennium Edition (ME)"
                                              : u"";
      EXPECT_EQ(expected, NameOf(1, major, minor)) << major << '.' << minor;
    }
  }
}

TEST_F(GetOsNameTest, TheLineOfWindowsNtGoesByTheMajorVersion) {
  constexpr TextView kNames[] = {u"", u"", u"", u"Windows NT 3.51", u"Windows NT 4.0"};
  for (std::uint32_t major = 0; major < std::size(kNames); ++major) {
    for (std::uint32_t minor = 0; minor <= 100; ++minor) {
      EXPECT_EQ(kNames[major], NameOf(2, major, minor)) << major << '.' << minor;
    }
  }
  EXPECT_EQ(u"Windows 2000", NameOf(2, 5, 0));
  for (std::uint32_t minor = 1; minor <= 100; ++minor) {
    EXPECT_EQ(u"Windows XP", NameOf(2, 5, minor)) << minor;
  }
  for (const std::uint32_t major : {6U, 7U, 8U, 9U, 10U, 11U, 0xFFFFFFFFU}) {
    for (std::uint32_t minor = 0; minor <= 100; ++minor) {
      EXPECT_EQ(u"Windows Vista", NameOf(2, major, minor)) << major << '.' << minor;
    }
  }
}

TEST_F(GetOsNameTest, OtherPlatformsAreNotKnown) {
  for (const std::uint32_t platformId : {0U, 3U, 4U, 100U, 0x80000000U, 0xFFFFFFFFU}) {
    for (std::uint32_t major = 0; major <= 11; ++major) {
      for (std::uint32_t minor = 0; minor <= 100; ++minor) {
        ASSERT_EQ(u"Failed", NameOf(platformId, major, minor));
      }
    }
  }
}

TEST_F(GetOsNameTest, WindowsVistaStandsForItselfAndAllLaterReleases) {
  for (const std::uint32_t platformId : {0U, 1U, 2U, 3U}) {
    for (std::uint32_t major = 0; major <= 11; ++major) {
      for (const std::uint32_t minor : {0U, 1U, 2U, 5U, 10U, 90U}) {
        platform_.version = {major, minor, 0, platformId};
        EXPECT_EQ(platformId == 2 && major >= 6, IsWindowsVista(platform_));
      }
    }
  }
}

TEST_F(GetOsNameTest, AFailureTravelsToTheCaller) {
  platform_.fault = Fault(1, RuntimeError(453));
  EXPECT_EQ(453, ErrorOf([this] { GetOsName(platform_); }));
  platform_.fault = Fault(1, RuntimeError(453));
  EXPECT_EQ(453, ErrorOf([this] { IsWindowsVista(platform_); }));
  EXPECT_TRUE(platform_.reports.empty());
}

}  // namespace
}  // namespace brindlex
