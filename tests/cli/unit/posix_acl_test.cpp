#ifndef _WIN32

#include "cli/io/posix_acl.h"

#include <gtest/gtest.h>

#include <string>

namespace brindlex::cli::system {
namespace {

struct Entry {
  char tag;
  char permissions;
};

std::string List(std::initializer_list<Entry> entries) {
  std::string list("\2\0\0\0", 4);
  for (const Entry& entry : entries) {
    list.append({entry.tag, '\0', entry.permissions, '\0', '\xFF', '\xFF', '\xFF', '\xFF'});
  }
  return list;
}

constexpr Entry kOwner{0x01, 7};
constexpr Entry kUser{0x02, 1};
constexpr Entry kGroup{0x04, 5};
constexpr Entry kMask{0x10, 6};
constexpr Entry kOthers{0x20, 4};

TEST(PosixAcl, TheModeShowsTheMaskInPlaceOfTheGroup) {
  EXPECT_EQ(mode_t{0764}, ModeOfAcl(List({kOwner, kUser, kGroup, kMask, kOthers})));
}

TEST(PosixAcl, TheModeShowsTheGroupWhereThereIsNoMask) {
  EXPECT_EQ(mode_t{0754}, ModeOfAcl(List({kOwner, kGroup, kOthers})));
}

TEST(PosixAcl, WhatIsNoListHasNoMode) {
  const std::string list = List({kOwner, kGroup, kOthers});
  for (std::size_t size = 0; size < list.size(); ++size) {
    EXPECT_EQ(std::nullopt, ModeOfAcl(list.substr(0, size))) << size;
  }
  EXPECT_EQ(std::nullopt, ModeOfAcl(list + '\0'));
  for (const std::size_t byte : {0U, 1U, 2U, 3U}) {
    std::string other = list;
    other[byte] = '\1';
    EXPECT_EQ(std::nullopt, ModeOfAcl(other)) << byte;
  }
  EXPECT_EQ(std::nullopt, ModeOfAcl(List({kGroup, kOthers})));
  EXPECT_EQ(std::nullopt, ModeOfAcl(List({kOwner, kOthers})));
  EXPECT_EQ(std::nullopt, ModeOfAcl(List({kOwner, kGroup})));
}

}  // namespace
}  // namespace brindlex::cli::system

#endif
