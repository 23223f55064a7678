#pragma once

/// The product a * b, and `a` normalized, computed by the form for machines without SSE2.
void scalarProduct(const double* a, const double* b, double* out);
void scalarNormalize(const double* a, double* out);
