#include "limber/limber.h"
#include "tests/golden/Golden.h"

namespace {

void fill(Vector& v, golden::Numbers& numbers) {
  for (int i = 0; i < v.size(); ++i) v[i] = numbers.next();
}

void fill(SpVec& row, int width, golden::Numbers& numbers) {
  for (int i = 0; i < width; ++i) {
    const double x = numbers.next();
    if (x > 0.0) row.insEnd(x - 0.5, i);
  }
}

void dense() {
  golden::Numbers numbers(1);
  for (const int n : {3, 100, 1013}) {
    Vector a(n), b(n);
    fill(a, numbers);
    fill(b, numbers);
    const std::string size = "(" + std::to_string(n) + ")";
    golden::print("dot" + size, dot(&a, &b));
    golden::print("magSq" + size, a.magSq());
    golden::print("mag" + size, a.mag());
    golden::print("addElems" + size, a.addElems());
    a.scaleAdd(0.3, &b);
    golden::print("scaleAdd.magSq" + size, a.magSq());
    a /= b;
    a += 0.1;
    a *= 0.7;
    golden::print("divided.dot" + size, dot(&a, &b));
    golden::print("lerp" + size, b.lerp(1.3));
  }
}

void sparse() {
  golden::Numbers numbers(2);
  SpVec a, b, c, out;
  fill(a, 60, numbers);
  fill(b, 70, numbers);
  fill(c, 80, numbers);
  Vector v(80);
  fill(v, numbers);
  golden::print("sparse.dot", dot(a, b));
  golden::print("sparse.sdot", sdot(&a, &b, &v));
  golden::print("sparse.dense", dot(c, &v));
  golden::print("sparse.weightedL2", c.weightedL2(&v));
  golden::print("sparse.magSq", c.magSq());
  ssum(a, 0.3, b, -0.7, out);
  golden::print("ssum", out.vs(), out.numEntries);
  Vector coefficients(3);
  fill(coefficients, numbers);
  SpVec* rows[] = {&a, &b, &c};
  linComb(&coefficients, rows, &out);
  golden::print("linComb", out.vs(), out.numEntries);
  c.scatterAdd(&v, 0.1);
  golden::print("scatterAdd.magSq", v.magSq());
  c.quantize(30);
  golden::print("quantize", c.vs(), c.numEntries);
}

void run() {
  dense();
  sparse();
}

const golden::Part part("vectors", run);

}  // namespace
