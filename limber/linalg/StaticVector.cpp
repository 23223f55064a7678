#include "limber/linalg/StaticVector.h"

StaticVector::StaticVector(int n, double* array) : count(n), capacity(n), data(array) {}

StaticVector::StaticVector(const StaticVector& src) = default;

StaticVector& StaticVector::operator=(const StaticVector& src) = default;
