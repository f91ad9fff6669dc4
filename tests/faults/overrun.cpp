// A program that copies its first argument into an array with room for 15 characters, without a
// check, and prints "returned" when the function that did it has returned.

#include <cstddef>
#include <cstdio>

namespace {

[[gnu::noinline]] int CopyUnchecked(const char* text) {
  char copy[16];
  // The compiler must not see how far this goes.
  volatile char* place = copy;
  std::size_t size = 0;
  do {
    place[size] = text[size];
  } while (text[size++] != '\0');
  return copy[0];
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const int first = CopyUnchecked(argv[1]);
  std::printf("returned %d\n", first);
  return 0;
}
