// The tests of the mutated core: which mutant lives is read from the environment, and which ones
// each test comes past is written down.

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>

#include "tools/mutate/mutant.h"

namespace mutant {

int alive = 0;
unsigned char reached[kMost] = {};

namespace {

/// Before any object is initialized, whose initializer may hold a mutant.
[[gnu::constructor(101)]] void Choose() {
  const char* const chosen = std::getenv("MUTANT");
  if (chosen != nullptr) alive = std::atoi(chosen);
}

/// Writes a line for each test: its name, its milliseconds, and the numbers of the mutants. The
/// first line is what came before any test.
class Listener : public testing::EmptyTestEventListener {
 public:
  explicit Listener(const char* path) : out_(path) {}

 private:
  void OnTestProgramStart(const testing::UnitTest&) override { Write("-", 0); }

  void OnTestEnd(const testing::TestInfo& test) override {
    Write(std::string(test.test_suite_name()) + "." + test.name(), test.result()->elapsed_time());
  }

  void Write(const std::string& name, testing::TimeInMillis time) {
    out_ << name << ' ' << time;
    for (std::size_t number = 0; number < kMost; ++number) {
      if (reached[number] != 0) out_ << ' ' << number;
    }
    out_ << '\n';
    std::memset(reached, 0, sizeof reached);
  }

  std::ofstream out_;
};

}  // namespace
}  // namespace mutant

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  const char* const path = std::getenv("MUTANTS_REACHED");
  if (path != nullptr) {
    testing::UnitTest::GetInstance()->listeners().Append(new mutant::Listener(path));
  }
  return RUN_ALL_TESTS();
}
