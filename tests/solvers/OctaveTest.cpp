#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "limber/solvers/MatLab.h"
#include "limber/solvers/NCGrad.h"
#include "tests/solvers/TinyProblems.h"
#include "tests/solvers/Tuning.h"
#include "tests/support/DecimalPoint.h"
#include "tests/support/TemporaryFile.h"

namespace {

std::string octave() {
  for (const char* name : {"octave-cli", "octave"}) {
    if (std::system((std::string("command -v ") + name + " > /dev/null 2>&1").c_str()) == 0) return name;
  }
  return "";
}

#define NEEDS_OCTAVE(name)           \
  const std::string name = octave(); \
  if (name.empty()) GTEST_SKIP() << "no octave here"

// Executes dumps and then prints variables of Octave.
class Session {
 public:
  explicit Session(const std::string& program) : program_(program) {
    script_ = std::fopen((directory_ / "dump.m").c_str(), "w");
    std::fputs("1;\n", script_);
  }
  template <class T>
  void dump(const char* name, T* what) {
    writeMatLab(script_, name, what);
    std::fputs("\n", script_);
  }
  // Prints the size of `expression`, then its values row after row, with all digits.
  void show(const std::string& expression) {
    std::fprintf(
        script_,
        "t_ = %s; printf('%%d %%d', rows(t_), columns(t_)); printf(' %%.17g', t_.'); printf('\\n');\n",
        expression.c_str());
  }
  std::string run() {
    std::fclose(script_);
    const std::string out = directory_ / "out";
    const std::string command =
        program_ + " --norc --quiet --no-gui '" + (directory_ / "dump.m") + "' > '" + out + "' 2>&1";
    EXPECT_EQ(std::system(command.c_str()), 0);
    return readFile(out);
  }

 private:
  TemporaryDirectory directory_;
  std::string program_;
  FILE* script_;
};

double printed(double x) {
  const DecimalPoint point;
  char text[40];
  std::snprintf(text, sizeof text, "%g", x);
  return std::strtod(text, nullptr);
}

void expectNumbers(std::istringstream& in, int rows, int columns, const std::vector<double>& values,
                   double tolerance = 0.0) {
  const DecimalPoint point;
  int r = -1, c = -1;
  ASSERT_TRUE(in >> r >> c);
  EXPECT_EQ(r, rows);
  EXPECT_EQ(c, columns);
  for (const double value : values) {
    std::string word;
    ASSERT_TRUE(in >> word);
    const double got = std::strtod(word.c_str(), nullptr);
    EXPECT_TRUE(std::fabs(got - value) <= tolerance) << got << " for " << value;
  }
}

FullMatrix filled(int rows, int columns, bool sparse) {
  FullMatrix m(rows, columns);
  for (int k = 0; k < rows * columns; ++k) {
    if (!sparse || k % 7 == 3) m.data[k] = std::sin(1.0 + k) * std::pow(10.0, k % 9 - 4);
  }
  return m;
}

TEST(Octave, MatricesComeBackAsPrinted) {
  NEEDS_OCTAVE(program);
  FullMatrix matrices[] = {filled(39, 39, false), filled(40, 1, false), filled(45, 23, true),
                           FullMatrix(41, 5)};
  Session session(program);
  for (FullMatrix& m : matrices) {
    session.dump("M", &m);
    session.show("M");
  }
  std::istringstream in(session.run());
  for (const FullMatrix& m : matrices) {
    std::vector<double> values;
    for (int k = 0; k < m.numRows * m.numColumns; ++k) values.push_back(printed(m.data[k]));
    expectNumbers(in, m.numRows, m.numColumns, values);
  }
}

TEST(Octave, VectorsComeBackAsPrinted) {
  NEEDS_OCTAVE(program);
  Session session(program);
  std::vector<Vector> vectors;
  for (const int n : {9, 10, 23}) {
    FullMatrix m = filled(1, n, false);
    vectors.push_back(Vector(n));
    for (int i = 0; i < n; ++i) vectors.back()[i] = m.data[i];
  }
  for (Vector& v : vectors) {
    session.dump("v", &v);
    session.show("v");
  }
  Vector none(0);
  session.dump("v", &none);
  session.show("exist('v')");
  std::istringstream in(session.run());
  for (const Vector& v : vectors) {
    std::vector<double> values;
    for (int i = 0; i < v.count; ++i) values.push_back(printed(v[i]));
    expectNumbers(in, 1, v.count, values);
  }
  // nothing is assigned: the variable does not exist any more
  expectNumbers(in, 1, 1, {0.0});
}

TEST(Octave, SolvesTheDumpedSystemAlike) {
  NEEDS_OCTAVE(program);
  const CGTuning tuning;
  strict(1e-24);
  const int n = 45;
  FullMatrix A(n, n);
  Vector b(n), x(n);
  for (int i = 0; i < n; ++i) {
    A.e(i, i) = 4.0;
    if (i > 0) A.e(i, i - 1) = A.e(i - 1, i) = -1.25;
    b[i] = i % 5 - 1.5;
  }
  double rsq;
  EXPECT_GT(ncgradA(&A, &x, &b, &rsq), 0);
  Session session(program);
  session.dump("A", &A);
  session.dump("b", &b);
  session.show("(A\\b')'");
  std::istringstream in(session.run());
  expectNumbers(in, 1, n, toElements(x), 1e-11);
}

}  // namespace
