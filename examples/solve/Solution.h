#pragma once

#include "MatrixMarket.h"
#include "Options.h"
#include "limber/linalg/Vector.h"

struct Solution {
  Vector x;
  int result = 0;  ///< what the entry point returned
  double rsq = 0.0, scaled = 0.0, seconds = 0.0;
};

/// b as the command line asks for it.
Vector rightHandSide(const Options& options, const SparseProblem& problem);

/// Solves from zero by the entry point that the options name.
Solution solve(const Options& options, const SparseProblem& problem, Vector& b);

bool isSolved(const Options& options, const Solution& solution);
/// The outcome in words.
const char* statusOf(const Options& options, const Solution& solution);
/// What `scaled` is, as a formula.
const char* scaledFormula(Method method);
