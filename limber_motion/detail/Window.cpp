#include "limber_motion/detail/Window.h"

#include <algorithm>

namespace limber::motion::detail {

std::vector<Window> windowsAround(const std::vector<bool>& marks, int first, int margin) {
  const int last = first + static_cast<int>(marks.size());
  std::vector<Window> windows;
  for (int t = first; t < last; ++t) {
    if (!marks[static_cast<std::size_t>(t - first)]) continue;
    const int begin = std::max(t - margin, first), end = std::min(t + margin + 1, last);
    if (!windows.empty() && begin <= windows.back().end) {
      windows.back().end = end;
    } else {
      windows.push_back({begin, end});
    }
  }
  return windows;
}

std::pair<int, int> framesOf(const Window& window, const Curves& curves, int frames) {
  const int first = (window.first - curves.overlap() + 1) * curves.spacing();
  return {std::max(first, 0), std::min(window.end * curves.spacing(), frames)};
}

}  // namespace limber::motion::detail
