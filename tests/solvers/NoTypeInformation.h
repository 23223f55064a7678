#pragma once

class SpMat;

/// The matrix [3 1; 1 2] as an object of a class that is compiled without type information.
SpMat* matrixWithoutTypeInformation();
