#include "limber/graphics/AIPSMatrix.h"

AIPSMatrix::AIPSMatrix() = default;
AIPSMatrix::AIPSMatrix(const AIPSMatrix&) = default;
AIPSMatrix& AIPSMatrix::operator=(const AIPSMatrix&) = default;
