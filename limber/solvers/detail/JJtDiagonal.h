#pragma once

class HSpMat;
class Vector;

namespace limber::detail {

/// d(i) = sum of w v^2 over the entries of row i of J, + damp[i], + shift. Null weights are 1. The damping is
/// 0 where damp is null, and beyond its storage.
double jjtDiagonal(const HSpMat& J, int i, const Vector* weights, const Vector* damp, double shift);

/// The same, given the dot of the row with itself.
double jjtDiagonal(const HSpMat& J, int i, const Vector* weights, const Vector* damp, double shift,
                   double ownDot);

/// The shift of the preconditioners: cgradDefinizer where that is positive, else 0.
double definizerShift();

/// A new vector of 1/d(i), or d(i) itself where |d(i)| < cg_epsilon. Null, after a report, when there is no
/// memory.
Vector* jjtInverseDiagonal(const HSpMat& J, const Vector* weights, const Vector* damp);

/// z[i] = inverse[i] r[i] below the smaller of their lengths, as far as z has storage.
void scaleByDiagonal(const Vector& inverse, const Vector& r, Vector& z);

}  // namespace limber::detail
