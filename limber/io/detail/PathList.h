#pragma once

/// @file
/// The one splitter of path lists, behind all openers.

namespace limber::detail {

enum class PathSyntax {
  Search,    ///< separated by ';' and by ':' outside drive letters
  Bases,     ///< separated by ';' and ','
  SubPaths,  ///< separated by ';'
};

/// Walks the elements of a list. There is always a first one, empty for a null or empty list; after it an
/// element exists as long as characters are left behind a separator, so an empty last one is never given.
class PathList {
 public:
  PathList(const char* list, PathSyntax syntax) : rest_(list ? list : ""), syntax_(syntax) {}

  /// Copies the next element to `out`, terminated, and returns the place of its terminator.
  char* next(char* out);
  bool used() const { return *rest_ == 0; }

 private:
  bool endsElement(const char* start) const;

  const char* rest_;
  PathSyntax syntax_;
};

/// Appends '/' to the directory that ends at `end`, unless it is empty or has one. A backslash is not one,
/// deliberately. Returns the new end.
char* appendSlash(const char* start, char* end);
/// Copies `text` to `end`, terminated, and returns the new end.
char* appendText(char* end, const char* text);

}  // namespace limber::detail
