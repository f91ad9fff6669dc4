#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "cli/io/system.h"
#include "cli/text/utf.h"

namespace brindlex::cli {

/// A folder of the running test's own, deleted at its end. Paths are UTF-8.
class TemporaryFolder {
 public:
  TemporaryFolder() : folder_(std::filesystem::temp_directory_path() / Unique()) {
    std::filesystem::create_directories(folder_);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() { std::filesystem::remove_all(folder_); }

  std::string Path(const std::string& name) const {
    return Utf8OfUtf16(folder_.u16string()) + "/" + name;
  }

  /// Makes a file and returns its path.
  std::string Put(const std::string& name, const std::string& content) const {
    std::string path = Path(name);
    std::ofstream(Native(path), std::ios::binary) << content;
    return path;
  }

  static std::string ContentOf(const std::string& path) {
    std::ifstream file(Native(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  std::size_t Files() const {
    using Each = std::filesystem::directory_iterator;
    return static_cast<std::size_t>(std::distance(Each(folder_), Each()));
  }

  static std::filesystem::path Native(const std::string& path) { return Utf16OfUtf8(path); }

 private:
  static std::string Unique() {
    const auto* const test = testing::UnitTest::GetInstance()->current_test_info();
    std::uint64_t number = 0;
    EXPECT_TRUE(system::FillRandom(&number, sizeof(number)));
    return "brindlex-" + std::string(test->name()) + std::to_string(number);
  }

  std::filesystem::path folder_;
};

}  // namespace brindlex::cli
