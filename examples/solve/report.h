#pragma once

#include <cstdio>

#include "result.h"

/// The result of a check with a dense factorization.
struct DenseCheck {
  std::string factorization;  ///< empty: there was no check
  double difference = 0.0;    ///< |x - dense x| / |dense x|
};

/// The report for people.
void printReport(const Options& options, const SparseProblem& problem, const Result& result,
                 const DenseCheck& check, std::FILE* out);
/// The same as one JSON object; numbers that JSON does not have are null.
void writeJson(const Options& options, const SparseProblem& problem, const Result& result,
               const DenseCheck& check, std::FILE* out);
/// The solution as a Matrix Market array of one column.
void writeSolution(const Result& result, std::FILE* out);
