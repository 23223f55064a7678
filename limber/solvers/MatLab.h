#pragma once

/// @file
/// Dumps of a system as MATLAB statements, which Octave reads as well. Numbers have six digits ("%g") and a
/// decimal point, whatever the locale.

#include <cstdio>

#include "limber/Api.h"

class SpMat;
class Vector;

/// Appends an assignment of the matrix to the variable `name`. A matrix below 40 x 40 is written row by row,
/// without a line end after the last bracket. A larger one is written as full(sparse(...)) with its non-zero
/// entries and, so that its size is kept, the last column of every row. That form uses the variables sparsei,
/// sparsej and sparsev.
LIMBER_API void writeMatLab(FILE* file, const char* name, SpMat* m);
/// Appends an assignment of the vector to the variable `name`, ten elements per statement; an empty vector
/// only clears the variable.
LIMBER_API void writeMatLab(FILE* file, const char* name, Vector* v);
