#include "cli/text/byte_buffer.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace brindlex::cli {
namespace {

TEST(ByteBuffer, HoldsWhatAStringHolds) {
  std::mt19937 random(5);
  const auto text = [&random](std::size_t most) {
    std::string made(random() % most, 'x');
    for (char& byte : made) byte = static_cast<char>('a' + random() % 26);
    return made;
  };
  for (int round = 0; round < 50; ++round) {
    ByteBuffer buffer;
    std::string model;
    for (int step = 0; step < 200; ++step) {
      const std::size_t count = model.empty() ? 0 : random() % model.size();
      const std::string more = text(random() % 20 == 0 ? 3000 : 40);
      switch (random() % 8) {
        case 0:
          buffer.Truncate(count);
          model.resize(count);
          break;
        case 1:
          buffer.EraseFront(count);
          model.erase(0, count);
          break;
        case 2:
          buffer += '!';
          model += '!';
          break;
        case 3:
          EXPECT_EQ(more.size(), buffer.AppendPlain<AsciiRule>(more + "\x80"));
          model += more;
          break;
        default:
          buffer += more;
          model += more;
      }
      ASSERT_EQ(model, buffer.View());
      ASSERT_EQ(model.size(), buffer.Size());
    }
  }
}

}  // namespace
}  // namespace brindlex::cli
