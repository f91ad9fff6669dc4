#include "tests/core/appfiles/naive_path.h"

namespace naive {

std::u16string FileNameFromPath(const std::u16string& path) {
  std::u16string name;
  for (std::size_t i = 0; i < path.size(); ++i) {
    const bool isLast = i + 1 == path.size();
    if (path[i] != u'\\') {
      name += path[i];
    } else if (!isLast) {
      name.clear();
    }
  }
  return name;
}

}  // namespace naive
