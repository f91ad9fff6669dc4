#pragma once

#include <string>

namespace naive {

/// What follows the last backslash of `path`, one at its end not counted.
std::u16string FileNameFromPath(const std::u16string& path);

}  // namespace naive
