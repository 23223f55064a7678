#include "limber/graphics/AIPSWriter.h"

#include <cmath>
#include <cstdarg>
#include <new>

#include "limber/foundation/Output.h"
#include "limber/foundation/Text.h"
#include "limber/foundation/detail/CLocale.h"
#include "limber/foundation/detail/Platform.h"
#include "limber/foundation/detail/ReportSite.h"
#include "limber/foundation/detail/Sharing.h"
#include "limber/geometry/Pnt3.h"

using namespace limber::detail;

AIPSWriter::AIPSWriter(const char* fileName) : AIPSWriter(nullptr, fileName, 0, 0, 576, 720) {}

AIPSWriter::AIPSWriter(FILE* file, const char* fileName, int x0, int y0, int x1, int y1)
    : stream(nullptr), name(nullptr), groupCount(0) {
  init(file, fileName, x0, y0, x1, y1);
}

AIPSWriter::AIPSWriter(const AIPSWriter& other) : stream(nullptr), name(nullptr), groupCount(0) {
  join(other);
}

AIPSWriter& AIPSWriter::operator=(const AIPSWriter& other) {
  if (this != &other) {
    delete[] finish(nullptr);
    join(other);
  }
  return *this;
}

AIPSWriter::~AIPSWriter() { delete[] finish(nullptr); }

void AIPSWriter::init(FILE* file, const char* fileName, int x0, int y0, int x1, int y1) {
  // Both arguments may be fields of this writer.
  char* const oldName = finish(file);
  const FileKind kind = fileName ? fileKind(fileName) : FileKind::Other;
  if (kind == FileKind::Regular && !(file && isSameFile(file, fileName))) std::remove(fileName);
  stream = file ? file : kind != FileKind::Other ? std::fopen(fileName, "w") : nullptr;
  if (!stream) {
    ReportSite{"AIPS", 28}.error("Bad file to AIPSWriter");
    stream = stdout;
  }
  name = fileName ? nameString(fileName) : nullptr;
  delete[] oldName;

  // Contract: the prolog is empty, and the bounding box is that of the page, not the writer's box.
  apr("%%!PS-Adobe-3.0 \n");
  apr("%%%%Creator: Adobe Illustrator(r) 6.0\n");
  apr("%%%%BoundingBox: 0 0 504 720\n");
  apr("%%%%BeginProlog\n");
  apr("%%%%EndProlog\n");

  AIPSMatrix page;
  page.x0 = x0;
  page.y0 = y0;
  page.x1 = x1;
  page.y1 = y1;
  pushCopy(page);
  groupCount = 0;
  reset();
}

// The key under which the holders of this drawing are counted. The stream is counted separately, because a
// writer that begins a new drawing on it still shares it.
const void* AIPSWriter::identity() const { return name ? name : reinterpret_cast<const char*>(stream) + 1; }

void AIPSWriter::join(const AIPSWriter& other) {
  if (!other.stream || !share(other.identity())) return;
  if (!share(other.stream)) {
    static_cast<void>(unshare(other.identity()));
    return;
  }
  for (ConsCell* cell = other.stack.cell; cell; cell = cell->next) {
    if (share(cell)) continue;
    for (ConsCell* noted = other.stack.cell; noted != cell; noted = noted->next)
      static_cast<void>(unshare(noted));
    static_cast<void>(unshare(other.stream));
    static_cast<void>(unshare(other.identity()));
    return;
  }
  stream = other.stream;
  name = other.name;
  groupCount = other.groupCount;
  stack = other.stack;
}

// Releases the drawing. The last holder completes and closes it, unless its stream is `kept`. Returns the
// name if no other writer holds it: the caller then deletes it.
char* AIPSWriter::finish(FILE* kept) {
  while (stack.cell) pop();
  if (!stream) return nullptr;
  const bool last = unshare(identity());
  if (last) {
    apr("%%%%PageTrailer\n");
    apr("gsave annotatepage grestore showpage\n");
    apr("%%%%Trailer\n");
    apr("Adobe_IllustratorA_AI5 /terminate get exec\n");
    apr("Adobe_level2_AI5 /terminate get exec\n");
    apr("%%%%EOF\n");
    if (name) stdoutPrintf("AIPS finished file %s\n", name);
  }
  if (stream != kept && unshare(stream) && stream != stdout) std::fclose(stream);
  if (last && groupCount != 0) {
    char text[60];
    std::snprintf(text, sizeof text, "was %d, should be 0", groupCount);
    ReportSite{"AIPS", 69}.warn("Bogus group count at AIPS close!", text);
  }
  char* const released = last ? name : nullptr;
  stream = nullptr;
  name = nullptr;
  groupCount = 0;
  return released;
}

// The coordinate stack.

AIPSMatrix* AIPSWriter::top() const { return stack.head(); }

AIPSMatrix AIPSWriter::current() const { return top() ? *top() : AIPSMatrix(); }

void AIPSWriter::pushCopy(const AIPSMatrix& matrix) {
  AIPSMatrix* copy = new (std::nothrow) AIPSMatrix(matrix);
  if (!copy) {
    FATAL_ERROR(newFails);
    return;
  }
  stack.add(copy);
  if (stack.head() != copy) delete copy;
}

void AIPSWriter::push() { pushCopy(current()); }

void AIPSWriter::pop() {
  if (!stack.cell) return;
  if (!unshare(stack.cell)) {
    stack.next();
    return;
  }
  delete stack.head();
  stack.del();
}

void AIPSWriter::transform(double x, double y, double& X, double& Y) const {
  static const AIPSMatrix identityMatrix;
  const AIPSMatrix& t = top() ? *top() : identityMatrix;
  const auto snapped = [](double coordinate) { return std::fabs(coordinate) < 0.001 ? 0.0 : coordinate; };
  const double pageX = t.a * x + t.b * y + t.tx;
  const double pageY = (t.c + t.d) * y + t.ty;
  X = snapped(pageX);
  Y = snapped(pageY);
}

void AIPSWriter::setBox(double x, double y, double w, double h) {
  double X0, Y0, X1, Y1;
  transform(x, y, X0, Y0);
  transform(x + w, y + h, X1, Y1);
  if (AIPSMatrix* t = top()) {
    t->x0 = t->tx = X0;
    t->y0 = t->ty = Y0;
    t->x1 = X1;
    t->y1 = Y1;
  }
}

void AIPSWriter::flipBox() {
  if (AIPSMatrix* t = top()) {
    t->ty += t->y1 - t->y0;
    t->c = -t->c;
    t->d = -t->d;
  }
}

void AIPSWriter::forceAspect(double r) {
  if (AIPSMatrix* t = top()) t->y1 = t->y0 + (t->x1 - t->x0) * r;
}

void AIPSWriter::setCoords(double w, double h) {
  if (AIPSMatrix* t = top()) {
    const double sx = (t->x1 - t->x0) / w, sy = (t->y1 - t->y0) / h;
    t->a *= sx;
    t->b *= sx;
    t->c *= sy;
    t->d *= sy;
  }
}

// The pen.

void AIPSWriter::beginGroup() {
  apr("u\n");
  ++groupCount;
}

void AIPSWriter::endGroup() {
  apr("U\n");
  --groupCount;
}

void AIPSWriter::setWidth(double width) { apr("%g w\n", width); }

void AIPSWriter::setDash(double on, double off) {
  if (on <= 0.0) {
    apr("[]0 d\n");
  } else {
    apr("[%g %g]0 d\n", on, off);
  }
}

void AIPSWriter::setLineCap(int cap) { apr("%d J\n", cap); }
void AIPSWriter::setLineJoin(int join) { apr("%d j\n", join); }
void AIPSWriter::strokeGray(double value) { apr("%g G\n", normColor(value)); }
void AIPSWriter::fillGray(double value) { apr("%g g\n", normColor(value)); }

void AIPSWriter::cmyk(double r, double g, double b, const char* colourName, char unnamed, char named) {
  const double cyan = 1.0 - normColor(r), magenta = 1.0 - normColor(g), yellow = 1.0 - normColor(b);
  if (colourName) {
    apr("%g %g %g 0 (%s) 0 %c\n", cyan, magenta, yellow, colourName, named);
  } else {
    apr("%g %g %g 0 %c\n", cyan, magenta, yellow, unnamed);
  }
}

void AIPSWriter::strokeRGB(double r, double g, double b, const char* colourName) {
  cmyk(r, g, b, colourName, 'K', 'X');
}
void AIPSWriter::fillRGB(double r, double g, double b, const char* colourName) {
  cmyk(r, g, b, colourName, 'k', 'x');
}
void AIPSWriter::strokeRGB(const Pnt3& colour) { strokeRGB(colour.x, colour.y, colour.z); }
void AIPSWriter::fillRGB(const Pnt3& colour) { fillRGB(colour.x, colour.y, colour.z); }

void AIPSWriter::reset() {
  strokeGray(0);
  fillGray(0);
  setWidth(1);
  setDash(0, 0);
}

double AIPSWriter::normColor(double v) const { return v > 1.01 ? v * 0.00392156862745098 : v; }

void AIPSWriter::apr(const char* format, ...) {
  if (!stream) return;
  va_list arguments;
  va_start(arguments, format);
  cVfprintf(stream, format, arguments);
  va_end(arguments);
}
