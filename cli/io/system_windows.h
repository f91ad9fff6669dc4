#pragma once

#include <string>
#include <system_error>

namespace brindlex::cli::system {

/// The error for a code of Windows; none for ERROR_SUCCESS.
std::error_code ErrorOfWindows(unsigned long code);

/// A path of UTF-8 as Windows takes it.
std::wstring Wide(const std::string& path);

}  // namespace brindlex::cli::system
