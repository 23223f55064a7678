#pragma once

/// @file
/// Splits path lists, for all functions that open files.

namespace limber::detail {

enum class PathSyntax {
  Search,    ///< separated by ';' and by ':' outside drive letters
  Bases,     ///< separated by ';' and ','
  SubPaths,  ///< separated by ';'
};

/// Iterates over the elements of a list. There is always a first one, which is empty for a null or empty
/// list. Another element follows if there are characters after the separator, so an empty last element is
/// never returned.
class PathList {
 public:
  PathList(const char* list, PathSyntax syntax) : rest_(list ? list : ""), syntax_(syntax) {}

  /// Copies the next element to `out` with a terminator, and returns the address of the terminator.
  char* next(char* out);
  bool used() const { return *rest_ == 0; }

 private:
  bool endsElement(const char* start) const;

  const char* rest_;
  PathSyntax syntax_;
};

/// Appends '/' to the directory that ends at `end`, unless it is empty or ends in '/'. Contract: a backslash
/// does not count as '/'. Returns the new end.
char* appendSlash(const char* start, char* end);
/// Copies `text` to `end`, terminated, and returns the new end.
char* appendText(char* end, const char* text);

}  // namespace limber::detail
