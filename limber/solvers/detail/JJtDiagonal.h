#pragma once

class HSpMat;
class Vector;

namespace limber::detail {

/// d(i) = |row i of J|^2 in the weights, + damp[i], + shift. Null weights are 1, null damping is 0; damp ends
/// with its storage.
double jjtDiagonal(const HSpMat& J, int i, const Vector* weights, const Vector* damp, double shift);

/// The same, given the dot of the row with itself.
double jjtDiagonal(const HSpMat& J, int i, const Vector* weights, const Vector* damp, double shift,
                   double ownDot);

/// The shift of the preconditioners: cgradDefinizer where that is positive, else 0.
double definizerShift();

/// A new vector of 1/d(i), and of d(i) itself where |d(i)| < cg_epsilon. Null, reported, when there is no
/// memory.
Vector* jjtInverseDiagonal(const HSpMat& J, const Vector* weights, const Vector* damp);

/// z[i] = inverse[i] r[i] below the smaller length, inside z's storage.
void scaleByDiagonal(const Vector& inverse, const Vector& r, Vector& z);

}  // namespace limber::detail
