#pragma once

/// @file
/// A writer of one-page Adobe Illustrator 6.0 drawings (PostScript).

#include <cstdarg>
#include <cstddef>
#include <cstdio>

#include "limber/Api.h"
#include "limber/foundation/List.h"
#include "limber/graphics/AIPSMatrix.h"

class Pnt3;

/// Writes each drawing call immediately to a stream, as Illustrator operators. The caller draws in user
/// coordinates; the stack of AIPSMatrix maps them to page points (1/72 inch, y upwards). Numbers are written
/// with %g in the "C" locale. Red, green and blue become cyan, magenta and yellow; components above 1.01
/// count as 0-255.
///
/// Copies share the stream, the name and the matrices that were on the coordinate stack when they were
/// copied; the last of them writes the trailer and closes the stream. If there is no memory to count a copy,
/// that is reported, and the copy holds nothing and draws nothing. With an empty stack, drawing uses an
/// identity matrix.
class LIMBER_API AIPSWriter {
 public:
  FILE* stream;             ///< the output; standard output if no file could be opened
  List<AIPSMatrix*> stack;  ///< the coordinate stack, the current matrix first; owned
  char* name;               ///< the file's name, for the closing message; null without one
  int groupCount;           ///< open groups

  /// Writes to the file `fileName`, box (0, 0)-(576, 720).
  explicit AIPSWriter(const char* fileName);
  /// Writes to `file`, or to `fileName` when `file` is null; the box is in page points. The writer closes
  /// `file`, unless it is standard output.
  AIPSWriter(FILE* file, const char* fileName, int x0, int y0, int x1, int y1);
  AIPSWriter(const AIPSWriter& other);
  AIPSWriter& operator=(const AIPSWriter& other);
  /// Writes the trailer, prints "AIPS finished file NAME" through the standard-output channel and closes the
  /// stream. If groups are still open, it warns ("Bogus group count at AIPS close!").
  ~AIPSWriter();

  /// Begins a drawing: removes an existing regular file of that name, opens it, writes the header, pushes a
  /// matrix with the box and resets the pen. A file that `file` itself has open is not removed. Character
  /// devices such as /dev/null are opened and not removed. Anything else with that name (a directory, a FIFO)
  /// is not touched and counts as a file that cannot be opened. Without a stream it reports "Bad file to
  /// AIPSWriter" and writes to standard output. A drawing in progress is completed first; the new one may
  /// continue on its stream.
  void init(FILE* file, const char* fileName, int x0, int y0, int x1, int y1);

  /// The current matrix, null when the stack is empty.
  AIPSMatrix* top() const;
  /// Pushes a copy of the current matrix.
  void push();
  /// Removes the current matrix; an empty stack stays empty.
  void pop();
  /// User to page coordinates: X = a x + b y + tx, Y = (c + d) y + ty. A coordinate below 0.001 in magnitude
  /// becomes zero. Contract: Y adds c and d and leaves out x; drawings are scaled and flipped, never rotated.
  void transform(double x, double y, double& X, double& Y) const;
  /// The box becomes the user rectangle at (x, y) of size w by h, and its first corner becomes the origin.
  void setBox(double x, double y, double w, double h);
  /// Makes y grow downwards within the box.
  void flipBox();
  /// Sets the height of the box to r times its width: y1 = y0 + (x1 - x0) r.
  void forceAspect(double r);
  /// Multiplies the scales by the box's width / w and height / h. If they were 1, the box then spans w by h
  /// user units.
  void setCoords(double w, double h);

  void beginGroup();
  void endGroup();

  /// Line width in points.
  void setWidth(double width);
  /// Dash pattern in points; on <= 0 is a solid line.
  void setDash(double on, double off);
  void setLineCap(int cap);
  void setLineJoin(int join);
  void strokeGray(double value);
  void fillGray(double value);
  /// `colourName` makes it a named custom colour; the name is written without escaping.
  void strokeRGB(double r, double g, double b, const char* colourName = 0);
  void fillRGB(double r, double g, double b, const char* colourName = 0);
  void strokeRGB(const Pnt3& colour);
  void fillRGB(const Pnt3& colour);
  /// Black stroke and fill, width 1, solid line.
  void reset();

  void stroke();
  void fill();
  void closeFillAndStroke();
  /// The outline and the area of the current box.
  void strokeBox();
  void fillBox();
  /// Until clipBoxEnd, clips to the current box made smaller by `inset` points on each side.
  void clipBoxStart(double inset);
  void clipBoxEnd();

  /// Move and line operators, without painting.
  void m(double x, double y);
  void L(double x, double y);

  /// An open polyline through n points given as n pairs of doubles x, y; n < 1 writes only the stroke.
  void line(int n, ...);
  /// Closed polygons: filled; filled and stroked; stroked. At least one pair must follow n: the first point
  /// is written even when n is below 1.
  ///
  /// A call without any coordinates selects these four functions, because C++ cannot tell it from one with
  /// variable arguments. g++ counts the arguments (except on Windows) and reports the missing points, as
  /// below. With other compilers, and through a pointer to member, such a call reads arguments that do not
  /// exist, unless it is line(n) with n < 1.
  void poly(int n, ...);
  void polyAndStroke(int n, ...);
  void closedLine(int n, ...);
  /// Calls with coordinates select these four forms: numbers of any type are converted to double, and if n
  /// announces more pairs than the call has, the missing ones are left out and reported.
  template <class X, class... Coordinates>
  void line(int n, X x, Coordinates... rest) {
    static_assert(sizeof...(rest) % 2 == 1, "coordinates come in pairs");
    const double xy[] = {static_cast<double>(x), static_cast<double>(rest)...};
    drawLine(points(n, 1 + sizeof...(rest)), xy);
  }
  template <class X, class... Coordinates>
  void poly(int n, X x, Coordinates... rest) {
    drawPairs("f\n", n, x, rest...);
  }
  template <class X, class... Coordinates>
  void polyAndStroke(int n, X x, Coordinates... rest) {
    drawPairs("b\n", n, x, rest...);
  }
  template <class X, class... Coordinates>
  void closedLine(int n, X x, Coordinates... rest) {
    drawPairs("s\n", n, x, rest...);
  }
  void line2(double x1, double y1, double x2, double y2);

  /// Four Bezier arcs about (x, y) with radius r in user units, without painting.
  void circle(double x, double y, double r);
  /// The filled and stroked square of half side r in user units.
  void box(double x, double y, double r);
  /// The filled and stroked square of half side r in page points.
  void dot(double x, double y, double r);
  /// A diagonal cross of half size r in page points.
  void tick(double x, double y, double r);
  /// Text of `size` points at (x, y). Sets the fill to black and the line width to 1, also for what is drawn
  /// afterwards. The string is written without changes: the caller must escape parentheses and backslashes.
  void text(double x, double y, const char* string, double size, const char* font);

  /// Formats to the stream in the "C" locale; all output goes through it.
  void apr(const char* format, ...) LIMBER_PRINTF(2, 3);
  /// v / 255 if v exceeds 1.01, else v.
  double normColor(double v) const;

 private:
  LIMBER_HIDDEN const void* identity() const;
  LIMBER_HIDDEN void join(const AIPSWriter& other);
  LIMBER_HIDDEN char* finish(FILE* kept);
  LIMBER_HIDDEN AIPSMatrix current() const;
  LIMBER_HIDDEN void pushCopy(const AIPSMatrix& matrix);
  LIMBER_HIDDEN void cmyk(double r, double g, double b, const char* colourName, char unnamed, char named);
  LIMBER_HIDDEN void boxPath(double inset);
  template <class... Coordinates>
  void drawPairs(const char* paint, int n, Coordinates... coordinates) {
    static_assert(sizeof...(coordinates) % 2 == 0, "coordinates come in pairs");
    const double xy[] = {static_cast<double>(coordinates)...};
    drawClosed(points(n, sizeof...(coordinates)), xy, paint);
  }
  int points(int announced, std::size_t coordinates) const;
  void drawNothing(int announced, const char* paint);
  void drawLine(int n, const double* xy);
  void drawClosed(int n, const double* xy, const char* paint);
  LIMBER_HIDDEN void closedPairs(int n, va_list pairs, const char* paint);
};

#if defined(__GNUC__) && !defined(__clang__) && !defined(_WIN32) && !defined(LIMBER_BUILDING)
// These bodies are always inlined; the library contains the functions themselves.
#define LIMBER_COUNTED(name, announced, paint)                                          \
  inline __attribute__((gnu_inline, always_inline)) void AIPSWriter::name(int n, ...) { \
    if (__builtin_va_arg_pack_len() == 0) return drawNothing(announced, paint);         \
    void (AIPSWriter::*const called)(int, ...) = &AIPSWriter::name;                     \
    (this->*called)(n, __builtin_va_arg_pack());                                        \
  }
LIMBER_COUNTED(line, n, "S\n")
LIMBER_COUNTED(poly, 1, "f\n")
LIMBER_COUNTED(polyAndStroke, 1, "b\n")
LIMBER_COUNTED(closedLine, 1, "s\n")
#undef LIMBER_COUNTED
#endif
