#include <string>
#include <vector>

#include "cli/commands/command_line.h"
#include "cli/text/utf.h"

#ifdef _WIN32
int wmain(int count, wchar_t** given) {
  std::vector<std::string> arguments;
  for (int at = 1; at < count; ++at) {
    const std::wstring wide = given[at];
    arguments.push_back(brindlex::cli::Utf8OfUtf16(std::u16string(wide.begin(), wide.end())));
  }
  return brindlex::cli::RunProgram(arguments);
}
#else
int main(int count, char** given) {
  return brindlex::cli::RunProgram(std::vector<std::string>(given + 1, given + count));
}
#endif
