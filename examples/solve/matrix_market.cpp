#include "matrix_market.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <initializer_list>
#include <limits>
#include <system_error>
#include <utility>

#include "input_error.h"
#include "line_reader.h"
#include "memory.h"

namespace {

using std::to_string;

enum class Format { Coordinate, Array };
enum class Field { Real, Integer, Pattern };
enum class Symmetry { General, Symmetric, Skew };

struct Banner {
  Format format;
  Field field;
  Symmetry symmetry;
};

struct Size {
  int rows, columns;
  long long entries;  // lines of a coordinate file, numbers of an array
};

std::string lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

// Reads the next word of the banner and returns its position in `allowed`.
int bannerWord(LineReader& in, const char* expected, std::initializer_list<const char*> allowed) {
  const std::string word = in.next(expected);
  const auto found = std::find(allowed.begin(), allowed.end(), lower(word));
  if (found == allowed.end()) in.unexpected(expected, word.c_str());
  return static_cast<int>(found - allowed.begin());
}

const char bannerBegins[] = "%%matrixmarket";

// Reads the banner, which is the current line; the lines below it may hold comments.
Banner readBanner(LineReader& in) {
  const char* const begins = "a banner that begins with %%MatrixMarket matrix";
  bannerWord(in, begins, {bannerBegins});
  bannerWord(in, begins, {"matrix"});
  Banner banner;
  banner.format =
      static_cast<Format>(bannerWord(in, "the format coordinate or array", {"coordinate", "array"}));
  const int field = bannerWord(in, "the field real, integer or pattern",
                               {"real", "integer", "pattern", "double", "complex"});
  if (field == 4) in.fail("complex matrices are not supported: expected the field real, integer or pattern");
  banner.field = field == 3 ? Field::Real : static_cast<Field>(field);
  const int symmetry = bannerWord(in, "the symmetry general, symmetric or skew-symmetric",
                                  {"general", "symmetric", "skew-symmetric", "hermitian"});
  if (symmetry == 3) {
    in.fail(
        "hermitian matrices are not supported: expected the symmetry general, symmetric or skew-symmetric");
  }
  banner.symmetry = static_cast<Symmetry>(symmetry);
  if (banner.format == Format::Array && banner.field == Field::Pattern) {
    in.fail("an array cannot be a pattern: expected the field real or integer");
  }
  in.expectLineEnd();
  in.setComment('%');
  return banner;
}

// The number of numbers in an array file.
long long listed(const Banner& banner, long long rows, long long columns) {
  if (banner.symmetry == Symmetry::General) return rows * columns;
  return banner.symmetry == Symmetry::Symmetric ? rows * (rows + 1) / 2 : rows * (rows - 1) / 2;
}

Size readSize(LineReader& in, const Banner& banner) {
  const bool array = banner.format == Format::Array;
  const std::string line = "a size line: rows and columns up to " + to_string(INT_MAX);
  const std::string wanted = array ? line : line + ", entries";
  if (!in.nextLine()) in.fail("expected " + wanted + ", found the end of the file");
  Size size;
  size.rows = static_cast<int>(in.whole(1, INT_MAX, wanted.c_str()));
  size.columns = static_cast<int>(in.whole(1, INT_MAX, wanted.c_str()));
  if (banner.symmetry != Symmetry::General && size.columns != size.rows) {
    in.fail("expected as many columns as rows, because the matrix is symmetric, found " +
            to_string(size.columns));
  }
  size.entries = listed(banner, size.rows, size.columns);
  if (!array) {
    size.entries = in.whole(0, std::numeric_limits<long long>::max(), wanted.c_str());
  }
  in.expectLineEnd();
  return size;
}

// The largest number of characters that the file can contain; infinite if only reading can tell.
double mostCharacters(const std::string& file) {
  constexpr double bestCompression = 1032.0;  // of gzip's method
  std::error_code error;
  if (!std::filesystem::is_regular_file(file, error)) return std::numeric_limits<double>::infinity();
  const auto length = static_cast<double>(std::filesystem::file_size(file, error));
  if (error) return std::numeric_limits<double>::infinity();
  std::FILE* const in = std::fopen(file.c_str(), "rb");
  const bool packed = in && std::fgetc(in) == 0x1f && std::fgetc(in) == 0x8b;
  if (in) std::fclose(in);
  return packed ? length * bestCompression : length;
}

// A run of rows: first, ..., end - 1.
struct Run {
  int first, end;
  bool has(int row) const { return row >= first && row < end; }
  int count() const { return end - first; }
};

Run kept(const RowSelection& keep, int rows) {
  if (!keep) return {0, rows};
  const auto [first, end] = keep(rows);
  return {first, end};
}

// Compares the declared sizes with the file and the memory before anything of that size is allocated. `share`
// is the fraction of the rows that is kept.
void check(LineReader& in, const Banner& banner, const Size& size, double share) {
  const double entries = static_cast<double>(size.entries);
  // "1 1", "1 1 5" or "5", each with a line end except the last.
  const double shortest = banner.format == Format::Array ? 2.0 : banner.field == Field::Pattern ? 4.0 : 6.0;
  if (entries * shortest > mostCharacters(in.file()) + 1.0) {
    in.fail("declares " + to_string(size.entries) + " entries, but the file is too short for them");
  }
  // A matrix that large and that empty is a mistake or damage, and its vectors alone would fill the memory.
  constexpr double large = 1e6, mostPerEntry = 100.0;
  for (const auto& [count, name] : {std::pair(size.rows, "rows"), std::pair(size.columns, "columns")}) {
    if (count > large && count > mostPerEntry * entries) {
      in.fail("declares " + to_string(count) + " " + name + ", but has " + to_string(size.entries) +
              " entries");
    }
  }
  // Entries as read and as rows, the table of the rows, and the vectors of a short solve.
  const double mirrored = banner.symmetry == Symmetry::General ? 1.0 : 2.0;
  const double bytes = entries * mirrored * (sizeof(Entry) + 12.0) + size.rows * 8.0 +
                       8.0 * 8.0 * (static_cast<double>(size.rows) + size.columns);
  requireMemory(in.file(), share * bytes);
}

// What the user should know about a file that has been read.
std::vector<std::string> notesOn(const LineReader& in, std::size_t repeated) {
  std::vector<std::string> notes;
  const auto add = [&](long long count, const char* one, const char* several, const char* what) {
    if (count > 0) notes.push_back(in.file() + ": " + to_string(count) + (count == 1 ? one : several) + what);
  };
  add(in.vanished(), " number is", " numbers are", " too small for a double and taken as 0");
  add(static_cast<long long>(repeated), " entry was", " entries were",
      " added to another one at the same place");
  return notes;
}

// Reads the entries that the size line declares.
class EntryReader {
 public:
  EntryReader(LineReader& in, const Banner& banner, const Size& size, Run kept, std::vector<Entry>& entries)
      : in_(in), banner_(banner), size_(size), kept_(kept), entries_(entries) {}

  void read() {
    constexpr long long firstEntries = 1 << 20;  // more is allocated when more entries are read
    entries_.reserve(static_cast<std::size_t>(std::min(size_.entries, firstEntries)));
    banner_.format == Format::Array ? readArray() : readCoordinates();
    if (in_.nextLine()) in_.unexpected("the end of the file after " + last(), in_.peek());
  }

 private:
  std::string last() const { return "entry " + to_string(size_.entries) + " of " + to_string(size_.entries); }

  void nextEntryLine(long long k) {
    if (in_.nextLine()) return;
    in_.fail("expected entry " + to_string(k + 1) + " of " + to_string(size_.entries) +
             ", found the end of the file");
  }

  void readCoordinates() {
    const std::string rowRange = "a row from 1 to " + to_string(size_.rows);
    const std::string columnRange = "a column from 1 to " + to_string(size_.columns);
    for (long long k = 0; k < size_.entries; ++k) {
      nextEntryLine(k);
      const int i = static_cast<int>(in_.whole(1, size_.rows, rowRange.c_str())) - 1;
      const int j = static_cast<int>(in_.whole(1, size_.columns, columnRange.c_str())) - 1;
      const double value = banner_.field == Field::Pattern ? 1.0 : number();
      if (banner_.symmetry == Symmetry::Symmetric && j > i) {
        refuseColumn("a column on or left of the diagonal, because the matrix is symmetric", j);
      }
      if (banner_.symmetry == Symmetry::Skew && j >= i && (j > i || value != 0.0)) {
        refuseColumn("a column left of the diagonal, because the matrix is skew-symmetric", j);
      }
      in_.expectLineEnd();
      add(i, j, value);
    }
  }

  // The file lists a matrix column by column: the diagonal and the elements below it if it is symmetric, only
  // the elements below it if it is skew-symmetric. Zeros are not stored.
  void readArray() {
    long long k = 0;
    for (int j = 0; j < size_.columns; ++j) {
      const int first = banner_.symmetry == Symmetry::General     ? 0
                        : banner_.symmetry == Symmetry::Symmetric ? j
                                                                  : j + 1;
      for (int i = first; i < size_.rows; ++i, ++k) {
        if (!in_.peek()) nextEntryLine(k);
        const double value = number();
        if (value != 0.0) add(i, j, value);
      }
    }
    in_.expectLineEnd();
  }

  double number() {
    if (banner_.field == Field::Real) return in_.finite("a finite real number");
    return static_cast<double>(in_.whole(LLONG_MIN, LLONG_MAX, "an integer of at most 64 bits"));
  }

  void add(int i, int j, double value) {
    if (kept_.has(i)) entries_.push_back({i, j, value});
    if (banner_.symmetry == Symmetry::General || i == j || !kept_.has(j)) return;
    entries_.push_back({j, i, banner_.symmetry == Symmetry::Skew ? -value : value});
  }

  [[noreturn]] void refuseColumn(const char* wanted, int column) const {
    in_.unexpected(wanted, to_string(column + 1).c_str());
  }

  LineReader& in_;
  const Banner& banner_;
  const Size& size_;
  const Run kept_;
  std::vector<Entry>& entries_;
};

// Reads the rest of the file after the banner.
void readBody(LineReader& in, const Banner& banner, const RowSelection& keep, SparseProblem& problem) {
  const Size size = readSize(in, banner);
  const Run rows = kept(keep, size.rows);
  check(in, banner, size, static_cast<double>(rows.count()) / size.rows);
  problem.rows = size.rows;
  problem.columns = size.columns;
  EntryReader(in, banner, size, rows, problem.entries).read();
  const std::size_t repeated = sortAndAddUp(&problem.entries);
  for (const Entry& entry : problem.entries) {
    if (!std::isfinite(entry.value)) {
      throw InputError(in.file(), 0,
                       "the entries of row " + to_string(entry.row + 1) + ", column " +
                           to_string(entry.column + 1) + " add up to more than a number can hold");
    }
  }
  problem.notes = notesOn(in, repeated);
}

// The reader is at the first line with a word, which may be a comment.
std::vector<double> readPlainNumbers(LineReader& in, int size, Run kept) {
  in.setComment('%');
  if (in.peek() && *in.peek() == '%') in.nextLine();
  std::vector<double> values;
  int read = 0;
  for (; in.peek() || in.nextLine(); ++read) {
    if (read == size) {
      in.unexpected("the end of the file after number " + to_string(size), in.peek());
    }
    const double value = in.finite("a finite real number");
    if (kept.has(read)) values.push_back(value);
  }
  if (read < size) {
    in.fail("expected number " + to_string(read + 1) + " of " + to_string(size) +
            ", found the end of the file");
  }
  return values;
}

}  // namespace

SparseProblem readMatrix(const std::string& file, const char* searchPath, const RowSelection& keep) {
  LineReader in(file.c_str(), searchPath);
  SparseProblem problem;
  problem.path = in.file();
  if (!in.nextLine()) in.fail("expected a Matrix Market file, found the end of the file");
  const Banner banner = readBanner(in);
  readBody(in, banner, keep, problem);
  return problem;
}

NumberFile readVector(const std::string& file, const char* searchPath, int size, const RowSelection& keep) {
  LineReader in(file.c_str(), searchPath);
  const Run rows = kept(keep, size);
  if (!in.nextLine() || lower(in.peek()) != bannerBegins) {
    std::vector<double> values = readPlainNumbers(in, size, rows);
    return {in.file(), std::move(values), notesOn(in, 0)};
  }
  const Banner banner = readBanner(in);
  SparseProblem column;
  readBody(in, banner, keep, column);
  if (column.rows != size || column.columns != 1) {
    throw InputError(in.file(), 0,
                     "expected a right-hand side of " + to_string(size) + " x 1, found " +
                         to_string(column.rows) + " x " + to_string(column.columns));
  }
  std::vector<double> values(static_cast<std::size_t>(rows.count()));
  for (const Entry& entry : column.entries)
    values[static_cast<std::size_t>(entry.row - rows.first)] = entry.value;
  return {in.file(), std::move(values), std::move(column.notes)};
}
