#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "limber/solvers/CGTuning.h"

/// A test after which every tuning variable has its value back.
class RestoredTuning : public ::testing::Test {
  const CGTuning tuning_;
};

/// Makes both families solve to about `tol` in the squared residual.
inline void strict(double tol) {
  cg_tol = tol;
  cg_epsilon = 1e-300;
  cg_goNoWhereSc = 10.0;
  cg_maxIters = 30;
  cgradEps = tol * 1e-3;
  cgradTol = 0.0;
  maxCGradPasses = 30;
}

/// Sets a trace file while it exists.
class Trace {
 public:
  Trace() : file_(std::tmpfile()) { cgradDribble = file_; }
  ~Trace() {
    cgradDribble = nullptr;
    std::fclose(file_);
  }
  Trace(const Trace&) = delete;
  Trace& operator=(const Trace&) = delete;
  /// All text that has been written so far.
  std::string text() const {
    std::string all(static_cast<std::size_t>(std::ftell(file_)), '\0');
    std::rewind(file_);
    const std::size_t read = std::fread(all.data(), 1, all.size(), file_);
    all.resize(read);
    return all;
  }

 private:
  FILE* file_;
};
