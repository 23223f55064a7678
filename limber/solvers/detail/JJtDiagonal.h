#pragma once

class HSpMat;
class Vector;

namespace limber::detail {

/// d(i) = sum of w v^2 over the entries of row i of J, + damp[i], + shift. Null weights mean 1: the sum is
/// then ownDot, the dot product of the row with itself. The damping is 0 if damp is null, and for i beyond
/// its storage.
double jjtDiagonal(const HSpMat& J, int i, const Vector* weights, const Vector* damp, double shift,
                   double ownDot);

/// The shift of the preconditioners: cgradDefinizer if that is positive, otherwise 0.
double definizerShift();

/// A new vector of 1/d(i), or d(i) itself if |d(i)| < cg_epsilon. Null, after a report, if there is no
/// memory.
Vector* jjtInverseDiagonal(const HSpMat& J, const Vector* weights, const Vector* damp);

/// z[i] = inverse[i] r[i] for i below the smaller of the two lengths and inside the storage of z.
void scaleByDiagonal(const Vector& inverse, const Vector& r, Vector& z);

}  // namespace limber::detail
