// The bodies of Matrix3x3.h that callers inline. Only that header includes this file.
#pragma once

LIMBER_INLINE_API void idMatrix(Matrix3x3* M) { *M = Matrix3x3(); }

LIMBER_INLINE_API void multMatrix(const Matrix3x3* A, const Matrix3x3* B, Matrix3x3* C) {
#if defined(__GNUC__)
  // Columns 0 and 1 side by side.
  typedef double Two __attribute__((vector_size(16), aligned(8), may_alias));
  const double(*b)[3] = B->m;
  const Two b0 = *reinterpret_cast<const Two*>(b[0]), b1 = *reinterpret_cast<const Two*>(b[1]),
            b2 = *reinterpret_cast<const Two*>(b[2]);
  const double b02 = b[0][2], b12 = b[1][2], b22 = b[2][2];
  for (int i = 0; i < 3; ++i) {
    // Row i of A is read before row i of C is written, because the two may be the same row.
    const double r0 = A->m[i][0], r1 = A->m[i][1], r2 = A->m[i][2];
    *reinterpret_cast<Two*>(C->m[i]) = r0 * b0 + r1 * b1 + r2 * b2;
    C->m[i][2] = r0 * b02 + r1 * b12 + r2 * b22;
  }
#else
  const Matrix3x3 b = *B;  // C may be B
  for (int i = 0; i < 3; ++i) {
    const double r0 = A->m[i][0], r1 = A->m[i][1], r2 = A->m[i][2];
    for (int j = 0; j < 3; ++j) C->m[i][j] = r0 * b.m[0][j] + r1 * b.m[1][j] + r2 * b.m[2][j];
  }
#endif
}

LIMBER_INLINE_API Pnt3 transformMatrix(const Matrix3x3* M, const Pnt3& p) {
  const double(*m)[3] = M->m;
  return Pnt3(p.x * m[0][0] + p.y * m[1][0] + p.z * m[2][0], p.x * m[0][1] + p.y * m[1][1] + p.z * m[2][1],
              p.x * m[0][2] + p.y * m[1][2] + p.z * m[2][2]);
}
