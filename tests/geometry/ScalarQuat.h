#pragma once

/// The product a * b, and `a` normalized, of w, x, y, z by the form for machines without pairs of lanes.
void scalarProduct(const double* a, const double* b, double* out);
void scalarNormalize(const double* a, double* out);
