#include "limber/io/detail/PathList.h"

#include <cstring>

namespace limber::detail {

bool PathList::endsElement(const char* start) const {
  if (*rest_ == ';') return true;
  if (syntax_ == PathSyntax::Bases) return *rest_ == ',';
  if (syntax_ == PathSyntax::SubPaths || *rest_ != ':') return false;
  const bool drive = rest_ == start + 1 && *start != '.';
  return !drive;
}

char* PathList::next(char* out) {
  const char* const start = rest_;
  while (*rest_ && !endsElement(start)) *out++ = *rest_++;
  if (*rest_) ++rest_;
  *out = 0;
  return out;
}

char* appendSlash(const char* start, char* end) {
  if (end != start && end[-1] != '/') end = appendText(end, "/");
  return end;
}

char* appendText(char* end, const char* text) {
  const std::size_t length = std::strlen(text);
  std::memcpy(end, text, length + 1);
  return end + length;
}

}  // namespace limber::detail
