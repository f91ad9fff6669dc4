#pragma once

#include <string>

#include "automation/text.h"

namespace brindlex {

/// `text` in the system's code page (the ANSI code page of the process). Error 5 when it would not
/// convert back to itself: its description names the first such character, by its position from 1,
/// and the code page; error 5 without a description if the system cannot convert at all. Needs
/// memory for the result and little more.
std::string InCodePage(TextView text);

/// `text` as it comes back from the system's code page: characters that it lacks are replaced by
/// the system's replacement. Error 5 if the system cannot convert at all.
Text ThroughCodePage(TextView text);

}  // namespace brindlex
