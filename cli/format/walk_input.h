#pragma once

#include <algorithm>

#include "cli/format/layout.h"
#include "cli/format/marker_walk.h"
#include "cli/io/source.h"

namespace brindlex::tool {

/// Takes `walk`, which begins behind the byte order mark, over all of an input that `source`
/// opened.
template <class Sink>
void WalkInput(const Source& source, Input& input, const Layout& layout, MarkerWalk& walk,
               Sink& sink) {
  std::size_t mark = layout.markBytes;
  for (std::string_view block = source.Next(input); !block.empty(); block = source.Next(input)) {
    const std::size_t skipped = std::min(mark, block.size());
    mark -= skipped;
    walk.Feed(block.substr(skipped), sink);
  }
  walk.Finish(sink);
}

}  // namespace brindlex::tool
