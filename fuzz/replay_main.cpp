// Runs a fuzz target once over every file of the folders that are its arguments, so that a corpus
// is an ordinary test wherever there is no fuzzer.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

bool Replay(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
  if (!stream && !stream.eof()) return false;
  const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
  LLVMFuzzerTestOneInput(input.data(), input.size());
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  int replayed = 0;
  for (int i = 1; i < argc; ++i) {
    for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
      if (!Replay(entry.path())) return 1;
      ++replayed;
    }
  }
  std::printf("%d inputs replayed\n", replayed);
  // A corpus that is not found must not pass.
  return replayed > 0 ? 0 : 1;
}
