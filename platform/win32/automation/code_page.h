#pragma once

#include <string>

#include "automation/text.h"

namespace brindlex {

/// `text` in the system's code page (the ANSI code page of the process). Error 5 when it would not
/// convert back to itself: its description names the first such character, by its position from 1,
/// and the code page. Needs memory for the result and little more.
std::string InCodePage(TextView text);

}  // namespace brindlex
