// Products of sparse and dense matrices with vectors: each sum in its documented order.
#include <memory>
#include <vector>

#include "limber/limber.h"
#include "tests/golden/Golden.h"

namespace {

constexpr int height = 37;  // not a multiple of any number of rows that are processed side by side
constexpr int width = 53;

void fill(golden::Numbers& numbers, Vector& v) {
  for (int i = 0; i < v.size(); ++i) v[i] = numbers.next();
}

void run() {
  golden::Numbers numbers(11);
  std::vector<std::unique_ptr<SpVec>> rows;
  HSpMat sparse(0);
  FullMatrix dense(height, width);
  for (int i = 0; i < height; ++i) {
    rows.push_back(std::make_unique<SpVec>(1));
    const int entries = numbers.below(40);
    for (int k = 0; k < entries; ++k) {
      const double value = numbers.next();
      rows.back()->ins(value, numbers.below(width));
    }
    sparse.add(rows.back().get());
    for (int j = 0; j < width; ++j) dense.e(i, j) = numbers.next();
  }
  Vector wide(width), high(height), x(width), y(height);
  fill(numbers, x);
  fill(numbers, y);

  sparse.mult(&x, &high);
  golden::print("sparse.mult", high.data, height);
  sparse.multT(&y, &wide);
  golden::print("sparse.multT", wide.data, sparse.width());
  dense.mult(&x, &high);
  golden::print("dense.mult", high.data, height);
  dense.multT(&y, &wide);
  golden::print("dense.multT", wide.data, width);
  ResizeMatrix gram(height, height);
  multT(sparse, sparse, gram);
  golden::print("sparse.gram", gram.data, height);
  Vector weights(width);
  fill(numbers, weights);
  buildJJtBand(&sparse, 5, &gram, &weights, nullptr, 0.25);
  golden::print("band", gram.data, height * 6);
}

const golden::Part part("products", run);

}  // namespace
