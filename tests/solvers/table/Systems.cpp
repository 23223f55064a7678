#include <functional>

#include "limber/solvers/detail/MatrixEntries.h"
#include "tests/solvers/table/Table.h"

namespace table {
namespace {

// About `density` percent of the entries are not zero.
Entries randomMatrix(golden::Numbers* numbers, int height, int width, int density) {
  Entries A(height, width);
  for (int i = 0; i < height; ++i) {
    for (int j = 0; j < width; ++j) {
      if (numbers->below(100) < density) A.add(i, j, numbers->next());
    }
  }
  return A;
}

// The entry (i, j) is value(i, j); zeros are not stored.
Entries filled(int height, int width, const std::function<double(int, int)>& value) {
  Entries A(height, width);
  for (int i = 0; i < height; ++i) {
    for (int j = 0; j < width; ++j) {
      if (const double v = value(i, j)) A.add(i, j, v);
    }
  }
  return A;
}

// The five-point operator on a k x k grid; with `closed`, every row has the sum 0.
Entries grid(int k, double convection, double shift, bool closed = false) {
  Entries A(k * k, k * k);
  for (int i = 0; i < k * k; ++i) {
    const bool up = i >= k, left = i % k > 0, right = i % k < k - 1, down = i < k * k - k;
    if (up) A.add(i, i - k, -1.0);
    if (left) A.add(i, i - 1, -1.0 - convection);
    A.add(i, i, (closed ? up + left + right + down : 4.0) - shift);
    if (right) A.add(i, i + 1, -1.0 + convection);
    if (down) A.add(i, i + k, -1.0);
  }
  return A;
}

// D A D with the diagonal D = 2^(step i).
Entries graded(int n, double off, double step) {
  return filled(n, n, [=](int i, int j) {
    const double size = std::ldexp(1.0, static_cast<int>(step * (i + j)));
    return i == j ? 2.0 * size : std::abs(i - j) <= 3 ? off * size : 0.0;
  });
}

// A symmetric matrix with random entries and a heavy diagonal times `sign`.
Entries symmetric(golden::Numbers* numbers, int n, int density, double diagonal, double sign) {
  std::vector<double> a(static_cast<std::size_t>(n) * static_cast<std::size_t>(n));
  const auto at = [&](int i, int j) -> double& { return a[static_cast<std::size_t>(i * n + j)]; };
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < i; ++j) {
      if (numbers->below(100) < density) at(i, j) = at(j, i) = numbers->next();
    }
    at(i, i) = i % 3 == 1 ? sign * diagonal : diagonal;
  }
  return filled(n, n, [&](int i, int j) { return at(i, j); });
}

}  // namespace

std::deque<System> systems() {
  golden::Numbers numbers(15);
  std::deque<System> all;
  const auto add = [&](const std::string& name, Entries A) {
    Vector b = vectorOf(&numbers, A.height());
    all.push_back({name, std::move(A), std::move(b)});
  };
  // the right-hand side lies in the range of A
  const auto addSolvable = [&](const std::string& name, Entries A) {
    Vector b = A.times(vectorOf(&numbers, A.width()));
    all.push_back({name, std::move(A), std::move(b)});
  };
  for (const int n : {1, 2, 3, 16, 49, 50, 65, 120}) {
    add("random" + std::to_string(n), filled(n, n, [&](int i, int j) {
          const double v = numbers.next();
          return i == j ? 3.0 + v : numbers.below(n) < 4 ? v : 0.0;
        }));
  }
  for (const int n : {8, 40, 41, 90}) add("full" + std::to_string(n), randomMatrix(&numbers, n, n, 100));
  add("shuffled30", filled(30, 30, [&](int i, int j) {
        return j == (7 * i + 3) % 30 ? 5.0 : numbers.below(10) == 0 ? numbers.next() : 0.0;
      }));
  add("cycle12", filled(12, 12, [](int i, int j) { return j == (i + 1) % 12 ? 2.0 : 0.0; }));
  add("arrow60", filled(60, 60, [](int i, int j) {
        return i == j ? 4.0 + i % 5 : i == 0 || j == 0 ? 0.25 : 0.0;
      }));
  for (const int k : {5, 12, 20}) add("grid" + std::to_string(k), grid(k, 0.0, 0.0));
  add("convection12", grid(12, 0.7, 0.0));
  add("convection20", grid(20, 3.0, 0.0));
  add("shifted12", grid(12, 0.0, 1.3));
  add("shifted18", grid(18, 0.0, 0.37));
  addSolvable("closed9", grid(9, 0.0, 0.0, true));
  add("closedUnsolvable7", grid(7, 0.0, 0.0, true));
  add("chain200", filled(200, 200, [](int i, int j) {
        return i == j ? 2.0 : std::abs(i - j) == 1 ? -1.0 : 0.0;
      }));
  add("graded30", graded(30, 0.4, 1.0));
  add("gradedFar24", graded(24, -0.3, 15.0));
  add("definite45", symmetric(&numbers, 45, 20, 6.0, 1.0));
  add("indefinite45", symmetric(&numbers, 45, 20, 6.0, -1.0));
  add("slightlyIndefinite30", symmetric(&numbers, 30, 30, 1.9, 1.0));
  add("hilbert8", filled(8, 8, [](int i, int j) { return 1.0 / (i + j + 1); }));
  add("hilbert14", filled(14, 14, [](int i, int j) { return 1.0 / (i + j + 1); }));
  add("nearlyEqual20", filled(20, 20, [&](int i, int j) {
        return 1.0 + 1e-9 * numbers.next() + (i == j && i < 10 ? 1.0 : 0.0);
      }));
  add("rowScales25", filled(25, 25, [&](int i, int j) {
        return std::ldexp(i == j ? 2.0 : numbers.below(4) == 0 ? numbers.next() : 0.0, i % 5 * 60 - 120);
      }));
  addSolvable("emptyColumn15", filled(15, 15, [&](int i, int j) {
                return j == 6 || i == 9 || numbers.below(3) != 0 ? 0.0 : numbers.next();
              }));
  addSolvable("rank6of20", filled(20, 20, [](int i, int j) {
                double sum = 0.0;
                for (int k = 1; k <= 6; ++k) sum += ((i * k) % 7 - 3.0) * ((j * k) % 11 - 5.0) / k;
                return sum;
              }));
  add("zero5", Entries(5, 5));
  add("upper30", filled(30, 30, [](int i, int j) { return j < i ? 0.0 : i == j ? 1.0 : -0.6; }));
  add("tiny6",
      filled(6, 6, [&](int i, int j) { return std::ldexp(i == j ? 2.0 : numbers.next() / 6, -1060); }));
  add("huge6",
      filled(6, 6, [&](int i, int j) { return std::ldexp(i == j ? 2.0 : numbers.next() / 6, 1015); }));
  // not square
  add("tall20x4", randomMatrix(&numbers, 20, 4, 100));
  add("tall300x64", randomMatrix(&numbers, 300, 64, 10));
  add("tall150x65", randomMatrix(&numbers, 150, 65, 10));
  add("tall400x100", randomMatrix(&numbers, 400, 100, 3));
  add("wide10x25", randomMatrix(&numbers, 10, 25, 40));
  add("wide60x140", randomMatrix(&numbers, 60, 140, 6));
  add("dependent50x12", filled(50, 12, [&](int i, int j) {
        return j == 11 ? (i % 5) + (i % 7) : j == 3 ? i % 5 : j == 4 ? i % 7 : numbers.next();
      }));
  add("almostDependent80x70", filled(80, 70, [&](int i, int j) {
        return j % 10 == 9             ? 1.0 / (1 + i) + 1e-8 * numbers.next()
               : numbers.below(5) == 0 ? numbers.next()
                                       : 0.0;
      }));
  add("columnScales90x66", filled(90, 66, [&](int, int j) {
        return numbers.below(6) == 0 ? std::ldexp(numbers.next(), j % 3 * 200 - 200) : 0.0;
      }));
  add("vandermonde40x10", filled(40, 10, [](int i, int j) {
        double v = 1.0;
        for (int k = 0; k < j; ++k) v *= i / 40.0;
        return v;
      }));
  for (const int n : {7, 40, 90}) {
    add("row1x" + std::to_string(n), filled(1, n, [&](int, int j) { return j + 0.5 + numbers.next(); }));
  }
  add("column7x1", filled(7, 1, [](int i, int) { return i - 2.5; }));
  return all;
}

limber::detail::SparseRows rowsOf(const HSpMat& A) {
  limber::detail::SparseRows rows;
  const limber::detail::Extent extent = limber::detail::extentOf(A, A.height(), &rows);
  copyEntries(A, extent, &rows);
  return rows;
}

}  // namespace table
