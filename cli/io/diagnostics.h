#pragma once

#include <string_view>

#include "cli/text/palette.h"

namespace brindlex::cli {

/// Writes "brindlex: MESSAGE" and a line end on standard error. The message is UTF-8 and goes
/// through Escaped, so that it is one line and cannot drive a terminal; one of more than 10,000
/// characters is truncated. Never fails: there is no other place for what cannot be written there.
void Warn(std::string_view message);

/// The same with `painted` in the colour of `style` between `before` and `after`.
void WarnPainted(std::string_view before, Style style, std::string_view painted,
                 std::string_view after);

/// The colours for the stream `descriptor` (1 is standard output, 2 standard error): those of a
/// terminal, unless NO_COLOR is set or TERM is "dumb".
Palette PaletteFor(int descriptor);

}  // namespace brindlex::cli
