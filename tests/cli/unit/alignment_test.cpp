#include "cli/compare/alignment.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

namespace brindlex::cli {
namespace {

std::vector<ContentHash> HashesOf(const std::string& letters) {
  std::vector<ContentHash> hashes;
  for (const char letter : letters) {
    hashes.emplace_back(SipHash128{static_cast<unsigned char>(letter), 1});
  }
  return hashes;
}

/// How many records the longest common order has, by the table of all prefixes.
std::size_t LongestCommon(const std::string& before, const std::string& after) {
  std::vector<std::vector<std::size_t>> longest(before.size() + 1,
                                                std::vector<std::size_t>(after.size() + 1));
  for (std::size_t i = 1; i <= before.size(); ++i) {
    for (std::size_t j = 1; j <= after.size(); ++j) {
      longest[i][j] = before[i - 1] == after[j - 1]
                          ? longest[i - 1][j - 1] + 1
                          : std::max(longest[i - 1][j], longest[i][j - 1]);
    }
  }
  return longest[before.size()][after.size()];
}

/// How many records are matched; the matches are equal and do not cross.
std::size_t Matched(const std::string& before, const std::string& after) {
  const auto matches = Align(HashesOf(before), HashesOf(after));
  EXPECT_EQ(before.size(), matches.size());
  std::size_t count = 0;
  std::uint32_t next = 0;
  for (std::size_t at = 0; at < matches.size(); ++at) {
    if (matches[at] == kUnmatched) continue;
    EXPECT_LT(matches[at], after.size());
    EXPECT_GE(matches[at], next);
    EXPECT_EQ(before[at], after[matches[at]]);
    next = matches[at] + 1;
    ++count;
  }
  return count;
}

TEST(AlignmentTest, InsertionsAndRemovals) {
  EXPECT_EQ(0U, Matched("", "ab"));
  EXPECT_EQ(4U, Matched("abcd", "abxcd"));
  EXPECT_EQ(3U, Matched("abcd", "abd"));
  EXPECT_EQ(3U, Matched("abcd", "dabc")) << "one has moved";
  EXPECT_EQ(0U, Matched("abc", "xyz"));
}

TEST(AlignmentTest, ShortListsKeepAsManyRecordsAsTheyCan) {
  std::mt19937 dice(3);
  for (int round = 0; round < 2000; ++round) {
    std::string before;
    std::string after;
    for (auto length = dice() % 12; length > 0; --length) before += "aabb"[dice() % 4];
    for (auto length = dice() % 12; length > 0; --length) after += "aabb"[dice() % 4];
    EXPECT_EQ(LongestCommon(before, after), Matched(before, after)) << before << " " << after;
  }
}

TEST(AlignmentTest, RandomListsKeepAllOfTheirCommonOrder) {
  std::mt19937 dice(5);
  for (int round = 0; round < 300; ++round) {
    std::string before;
    for (auto length = dice() % 60; length > 0; --length) before += static_cast<char>(dice() % 200);
    std::string after = before;
    for (auto edits = dice() % 5; edits > 0 && !after.empty(); --edits) {
      after.erase(dice() % after.size(), 1);
      after.insert(dice() % (after.size() + 1), 1, static_cast<char>(dice() % 200));
    }
    EXPECT_EQ(LongestCommon(before, after), Matched(before, after));
  }
}

TEST(AlignmentTest, RecordsOfTheirOwnAreFoundAmongManyEdits) {
  std::vector<ContentHash> before;
  std::vector<ContentHash> after;
  for (std::uint64_t at = 0; at < 20'000; ++at) {
    // Every tenth is common, the others are the same everywhere or nowhere.
    before.emplace_back(SipHash128{at % 10 == 0 ? at : at % 10 == 1 ? 1 : at + 100'000, 1});
    after.emplace_back(SipHash128{at % 10 == 0 ? at : at % 10 == 1 ? 1 : at + 200'000, 1});
  }
  const auto matches = Align(before, after);
  for (std::uint32_t at = 0; at < 20'000; at += 10) EXPECT_EQ(at, matches[at]);
  EXPECT_EQ(4000, std::count_if(matches.begin(), matches.end(),
                                [](std::uint32_t match) { return match != kUnmatched; }));
}

TEST(AlignmentTest, WhatTakesTooManyEditsStaysUnmatched) {
  std::string before;
  std::string after;
  for (int at = 0; at < 3000; ++at) {
    before += "ab"[at % 2];
    after += "cd"[at % 2];
  }
  EXPECT_EQ(0U, Matched("x" + before, "y" + after));
  EXPECT_EQ(1U, Matched("x" + before, "x" + after));
}

}  // namespace
}  // namespace brindlex::cli
