#pragma once

class FullMatrix;
class Preconditioner;
class SpMat;

// Objects of classes that are compiled without type information.

/// The matrix [3 1; 1 2].
SpMat* matrixWithoutTypeInformation();
/// The same as a class that is derived from FullMatrix and computes its elements.
FullMatrix* denseMatrixWithoutTypeInformation();
/// The inverse of its diagonal.
Preconditioner* preconditionerWithoutTypeInformation();
