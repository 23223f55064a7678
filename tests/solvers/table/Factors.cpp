// The factors, orders and products that the solvers use, each by itself.
#include <algorithm>

#include "limber/solvers/detail/ConstraintMap.h"
#include "limber/solvers/detail/DenseLu.h"
#include "limber/solvers/detail/DenseQr.h"
#include "limber/solvers/detail/IncompleteLu.h"
#include "limber/solvers/detail/LinearMap.h"
#include "limber/solvers/detail/SparseCholesky.h"
#include "limber/solvers/detail/SparseLu.h"
#include "limber/solvers/detail/SparseQr.h"
#include "limber/solvers/detail/Transversal.h"
#include "tests/solvers/table/Table.h"

namespace {

using namespace table;
using namespace limber::detail;

Doubles valuesOf(int n) {
  golden::Numbers numbers(static_cast<std::uint64_t>(n));
  Doubles values(n);
  for (double& v : values) v = numbers.next();
  return values;
}

std::string applied(Inverse& inverse, int n) {
  const Doubles r = valuesOf(n);
  Doubles z(n);
  const bool finite = inverse.apply(r.data(), z.data());
  return (finite ? hashOf(z) : "not finite");
}

std::string textOf(const Elimination& elimination) {
  return hashOf(elimination.order) + " " + hashOf(elimination.position) + " " + hashOf(elimination.start) +
         " " + hashOf(elimination.index) + " operations " + decimals(elimination.operations);
}

// Returns whether an elimination that costs `operations` and has `entries` is allowed at exactly this cost,
// and a little below it.
template <class Eliminate>
std::string bounds(double entries, double operations, Eliminate eliminate) {
  Elimination out;
  std::string answers;
  for (const double less : {0.0, 1.0}) {
    answers += eliminate(Allowance{entries - less, operations}, &out) ? "y" : "n";
    answers += eliminate(Allowance{entries, operations - less}, &out) ? "y" : "n";
  }
  return answers;
}

void eliminations() {
  for (const System& system : systems()) {
    Line line(system.name);
    const SparseRows A = rowsOf(system.A.matrix());
    Elimination columns;
    eliminateColumns(A, Allowance(), &columns);
    line.add("columns", textOf(columns) + " " +
                            bounds(columns.index.size(), columns.operations,
                                   [&](const Allowance& allowance, Elimination* out) {
                                     return eliminateColumns(A, allowance, out);
                                   }));
    Ints order;
    orderColumns(A, &order);
    line.add("order", hashOf(order));
    SparseQr qr;
    qr.factor(A, columns, 1e-12);
    const Doubles r = valuesOf(A.width);
    Doubles z(A.width), t(A.width);
    qr.solve(r.data(), z.data());
    qr.solveTransposed(r.data(), t.data());
    line.add("R", std::to_string(qr.defects()) + " " + hashOf(z) + " " + hashOf(t));
    if (A.height != A.width) continue;
    Elimination own;
    eliminateSymmetric(A, Allowance(), &own);
    line.add("symmetric",
             textOf(own) + " " +
                 bounds(own.index.size(), own.operations, [&](const Allowance& allowance, Elimination* out) {
                   return eliminateSymmetric(A, allowance, out);
                 }));
  }
  golden::print("band", textOf(bandElimination(9, 3)) + " " + textOf(bandElimination(3, 5)));
}

void factors() {
  for (const System& system : systems()) {
    Line line(system.name);
    const SparseRows A = rowsOf(system.A.matrix());
    Ints row;
    if (A.height != A.width) continue;
    const int n = A.height, found = transversal(A, &row);
    line.add("transversal", std::to_string(found) + " " + hashOf(row));
    SparseLu lu;
    lu.factor(A, Allowance());
    line.add("LU", std::to_string(lu.defects()) + " " + applied(lu, n));
    std::string answers;
    for (int entries = 1; entries <= 4 * n * n; entries += 1 + entries / 4) {
      SparseLu bounded;
      answers += bounded.factor(A, Allowance{1.0 * entries, 1e9}) ? "y" : "n";
      answers += bounded.factor(A, Allowance{1e9, 1.0 * entries}) ? "y" : "n";
    }
    line.add("LU allowed", answers);
    IncompleteLu incomplete;
    line.add("ILU", incomplete.factor(A) ? applied(incomplete, n) : "none");
    SparseCholesky cholesky;
    Elimination elimination;
    eliminateSymmetric(A, Allowance(), &elimination);
    if (cholesky.factor(A, elimination)) {
      line.add("Cholesky", std::to_string(cholesky.defects()) + " " + applied(cholesky, n));
    } else {
      Doubles direction(n);
      cholesky.failedDirection(direction.data());
      line.add("Cholesky fails", hashOf(direction));
    }
  }
}

void dense() {
  for (const System& system : systems()) {
    Line line(system.name);
    SparseRows A = rowsOf(system.A.matrix());
    DenseQr qr(A);
    const Doubles r = valuesOf(A.height);
    Doubles d(A.width), null(A.width);
    qr.solve(r.data(), d.data());
    Hash nulls;
    for (int k = 0; k < A.width - qr.rank(); ++k) {
      qr.nullVector(k, null.data());
      nulls.add(A.width, null.data());
    }
    line.add("QR", std::to_string(qr.rank()) + " " + hashOf(d) + " " + nulls.text());
    if (A.height != A.width) continue;
    DenseLu lu;
    lu.clear(A.width);
    Ints rows(A.height);
    for (int i = 0; i < A.height; ++i) {
      rows[i] = i;
      for (int k = A.start[i]; k < A.start[i + 1]; ++k) lu.column(A.index[k])[i] = A.value[k];
    }
    const int defects = lu.factor(&rows);
    Doubles x = valuesOf(A.width);
    lu.solveLower(x.data());
    const std::string lower = hashOf(x);
    lu.solveUpper(x.data());
    line.add("LU", std::to_string(defects) + " " + hashOf(rows) + " " + lower + " " + hashOf(x));
  }
  golden::print("QR operations", hashOf(DenseQr::operations(30, 20)) + hashOf(DenseQr::operations(20, 30)));
}

// The products of a map, and its count of them.
std::string productsOf(LinearMap& map) {
  const Doubles x = valuesOf(map.width()), b = valuesOf(map.height());
  std::string text;
  for (int repeat = 0; repeat < 12; ++repeat) {
    Doubles y(map.height()), w(map.width()), u = b, r(map.height()), g(map.width());
    map.multiply(x.data(), y.data());
    map.multiplyTransposed(b.data(), w.data());
    const double square = map.multiplyBothWays(x.data(), 0.5, u.data(), g.data());
    map.preciseResidual(b.data(), x.data(), r.data(), nullptr);
    const std::string own = hashOf(y) + " " + hashOf(w) + " " + hashOf(u) + " " + hashOf(g) + " " +
                            hashOf(square) + " " + hashOf(r);
    map.preciseResidual(b.data(), x.data(), r.data(), g.data());
    if (repeat == 0) text = own + " " + hashOf(r) + " " + hashOf(g);
    if (text.compare(0, own.size(), own) != 0) text += " changes";
  }
  return text + " " + std::to_string(map.products) + " " + decimals(map.entries());
}

void products() {
  for (const System& system : systems()) {
    Line line(system.name);
    const SparseRows A = rowsOf(system.A.matrix());
    line.add("rows", hashOf(A));
    line.add("transposed", hashOf(A.transposed()));
    RowsMap map(A);
    line.add("products", productsOf(map));
    const Doubles scale = valuesOf(A.width);
    ScaledColumnsMap scaled(A, scale);
    line.add("scaled products", productsOf(scaled));
    NormalMap normal(map);
    line.add("normal products", productsOf(normal));
  }
}

void constraintMaps() {
  for (const System& system : systems()) {
    Line line(system.name);
    const int m = system.A.height(), n = system.A.width();
    Vector mass(n), damp(m);
    for (int j = 0; j < n; ++j) mass[j] = 0.5 + j % 7;
    for (int i = 0; i < m; ++i) damp[i] = i % 4 * 0.125;
    for (const bool plain : {true, false}) {
      ConstraintMap map;
      int power = 0;
      const std::string weights = plain ? "" : "weighted ";
      map.take(system.A.matrix(), plain ? nullptr : &mass, plain ? nullptr : &damp, &power);
      line.add(weights + "map", std::to_string(power) + " " + hashOf(map.rows) + " " +
                                    hashOf(map.inverseMass) + " " + hashOf(map.inverseMassRest) + " " +
                                    hashOf(map.damp));
      line.add(weights + "products", productsOf(map));
      const Ints powers = map.equilibrate();
      line.add(weights + "equilibrated", hashOf(powers) + " " + std::to_string(map.halfBandwidth()) + " " +
                                             hashOf(map.diagonal()) + " " + hashOf(map.matrix()));
      line.add(weights + "parts", hashOf(map.matrixOfColumns(3)) + " " + hashOf(map.root()));
    }
  }
}

const golden::Part parts[] = {{"eliminations", eliminations},
                              {"factors", factors},
                              {"dense", dense},
                              {"products", products},
                              {"constraint maps", constraintMaps}};

}  // namespace
