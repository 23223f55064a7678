#include "limber/geometry/MatrixTransform.h"

#include "limber/linalg/LinComb.h"
#include "limber/linalg/SpVec.h"
#include "limber/linalg/SparseSum.h"

// Degenerate input of transformMatrixMatrix:
//   two rows in           indices from 10000 on                 dropped, by ssum
//   three rows in         the same, three terms used            kept
//                         two (a zero entry of M, an empty row) dropped, by ssum
//                         one                                   kept
//   both                  an entry of at most 1e-12 results     not stored
//                         no term is used                       the output is empty

void transformMatrixMatrix(const Matrix4x4* M, const SpVec* a, const SpVec* b, SpVec* oa, SpVec* ob) {
  ssum(*a, M->m[0][0], *b, M->m[1][0], *oa);
  ssum(*a, M->m[0][1], *b, M->m[1][1], *ob);
}

void transformMatrixMatrix(const Matrix4x4* M, const SpVec* a, const SpVec* b, const SpVec* c, SpVec* oa,
                           SpVec* ob, SpVec* oc) {
  // Constructed in the first call and kept. Three elements fit inside the vector object, so even that call
  // does not allocate.
  static Vector coefficients(3);
  static SpVec* rows[3];
  rows[0] = const_cast<SpVec*>(a);  // linComb only reads its rows
  rows[1] = const_cast<SpVec*>(b);
  rows[2] = const_cast<SpVec*>(c);
  SpVec* const out[3] = {oa, ob, oc};
  for (int j = 0; j < 3; ++j) {
    for (int i = 0; i < 3; ++i) coefficients[i] = M->m[i][j];
    linComb(&coefficients, rows, out[j]);
  }
}
