#include "MatrixMarket.h"

#include <algorithm>
#include <cctype>

#include "Words.h"

namespace {

/// More rows or columns than this are taken for a damaged file.
constexpr long mostRows = 100000000;

std::string lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

/// The next word of the banner, one of `allowed` (empty strings aside).
std::string bannerWord(Words& words, const char* expected, std::initializer_list<const char*> allowed) {
  const std::string word = lower(words.nextOnLine(expected));
  for (const char* good : allowed)
    if (word == good) return word;
  words.refuse(expected);
}

/// "%%MatrixMarket matrix FORMAT".
void readBanner(Words& words, const char* expectedFormat, const char* format) {
  const char* const banner = "a banner that begins with %%MatrixMarket matrix";
  bannerWord(words, banner, {"%%matrixmarket"});
  bannerWord(words, banner, {"matrix"});
  bannerWord(words, expectedFormat, {format});
}

void skipComments(Words& words) {
  while (words.atComment()) words.skipLine();
}

std::string upTo(const char* what, int most) {
  return std::string(what) + " from 1 to " + std::to_string(most);
}

class Assembly {
 public:
  explicit Assembly(SparseProblem& problem) : problem_(problem) {
    problem.storage.resize(static_cast<std::size_t>(problem.rows));
    problem.matrix = std::make_unique<HSpMat>(problem.rows);
    // The matrix is as wide as its widest row, also where the last columns have no entry.
    if (problem.rows > 0) row(0).width = problem.columns;
  }
  void add(int i, int j, double value) {
    SpVec& to = row(i);
    const int width = to.width;
    to.ins(value, j);  // values up to 1e-12 are not stored, which is the sparse row's rule
    to.width = std::max(to.width, width);
    problem_.entries++;
  }

 private:
  SpVec& row(int i) {
    auto& owner = problem_.storage[static_cast<std::size_t>(i)];
    if (!owner) {
      owner = std::make_unique<SpVec>();
      problem_.matrix->rows[i] = owner.get();
    }
    return *owner;
  }
  SparseProblem& problem_;
};

}  // namespace

SparseProblem readMatrix(const std::string& file, const char* searchPath) {
  Words words(file, searchPath);
  readBanner(words, "the format `coordinate'", "coordinate");
  const std::string field =
      bannerWord(words, "the field real, integer or pattern", {"real", "integer", "pattern"});
  const bool symmetric =
      bannerWord(words, "the symmetry general or symmetric", {"general", "symmetric"}) == "symmetric";
  words.endLine("the banner");
  skipComments(words);

  SparseProblem problem;
  problem.path = words.path();
  const char* const size = "a size line: rows, columns, entries";
  words.next(size);
  problem.rows = static_cast<int>(words.toInteger(1, mostRows, size));
  words.nextOnLine(size);
  problem.columns = static_cast<int>(words.toInteger(1, mostRows, size));
  if (symmetric && problem.columns != problem.rows)
    words.refuse("as many columns as rows, the matrix being symmetric");
  words.nextOnLine(size);
  const long count = words.toInteger(0, static_cast<long>(problem.rows) * problem.columns, size);
  words.endLine("the size line");

  Assembly assembly(problem);
  const std::string rowRange = upTo("a row", problem.rows), columnRange = upTo("a column", problem.columns);
  for (long k = 0; k < count; k++) {
    const std::string entry = "entry " + std::to_string(k + 1) + " of " + std::to_string(count);
    skipComments(words);
    words.next(entry);
    const int i = static_cast<int>(words.toInteger(1, problem.rows, rowRange)) - 1;
    words.nextOnLine(columnRange);
    const int j = static_cast<int>(words.toInteger(1, problem.columns, columnRange)) - 1;
    if (symmetric && j > i) words.refuse("a column on or left of the diagonal, the matrix being symmetric");
    double value = 1.0;
    if (field != "pattern") {
      const char* const number = field == "real" ? "a finite real number" : "an integer";
      words.nextOnLine(number);
      value = field == "real" ? words.toReal(number)
                              : static_cast<double>(words.toInteger(-(1L << 53), 1L << 53, number));
    }
    words.endLine(entry);
    assembly.add(i, j, value);
    if (symmetric && i != j) assembly.add(j, i, value);
  }
  words.endFile("entry " + std::to_string(count) + " of " + std::to_string(count));
  return problem;
}

std::vector<double> readVector(const std::string& file, const char* searchPath, int size) {
  Words words(file, searchPath);
  if (words.atComment()) {
    readBanner(words, "the format `array'", "array");
    bannerWord(words, "the field real or integer", {"real", "integer"});
    bannerWord(words, "the symmetry general", {"general"});
    words.endLine("the banner");
    skipComments(words);
    const std::string shape = "a size line: " + std::to_string(size) + " 1";
    words.next(shape);
    words.toInteger(size, size, shape);
    words.nextOnLine(shape);
    words.toInteger(1, 1, shape);
    words.endLine("the size line");
  }
  std::vector<double> values(static_cast<std::size_t>(size));
  for (int i = 0; i < size; i++) {
    skipComments(words);
    words.next("number " + std::to_string(i + 1) + " of " + std::to_string(size));
    values[static_cast<std::size_t>(i)] = words.toReal("a finite real number");
  }
  words.endFile("number " + std::to_string(size));
  return values;
}
