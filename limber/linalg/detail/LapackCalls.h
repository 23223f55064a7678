#pragma once

#include <cstddef>

/// @file
/// The LAPACK and BLAS routines the library calls, with 32-bit integers. Fortran takes all arguments by
/// address, and the length of each character argument as an additional value at the end. Many programs omit
/// these lengths, which works until a compiler uses them.

extern "C" {
void dgetrf_(const int* m, const int* n, double* a, const int* lda, int* ipiv, int* info);
void dgetri_(const int* n, double* a, const int* lda, const int* ipiv, double* work, const int* lwork,
             int* info);
void dgetrs_(const char* trans, const int* n, const int* nrhs, const double* a, const int* lda,
             const int* ipiv, double* b, const int* ldb, int* info, std::size_t transLength);
void dgeqrf_(const int* m, const int* n, double* a, const int* lda, double* tau, double* work,
             const int* lwork, int* info);
void dormqr_(const char* side, const char* trans, const int* m, const int* n, const int* k, const double* a,
             const int* lda, const double* tau, double* c, const int* ldc, double* work, const int* lwork,
             int* info, std::size_t sideLength, std::size_t transLength);
void dorgqr_(const int* m, const int* n, const int* k, double* a, const int* lda, const double* tau,
             double* work, const int* lwork, int* info);
void dtrsm_(const char* side, const char* uplo, const char* transa, const char* diag, const int* m,
            const int* n, const double* alpha, const double* a, const int* lda, double* b, const int* ldb,
            std::size_t sideLength, std::size_t uploLength, std::size_t transaLength, std::size_t diagLength);
void dgemm_(const char* transa, const char* transb, const int* m, const int* n, const int* k,
            const double* alpha, const double* a, const int* lda, const double* b, const int* ldb,
            const double* beta, double* c, const int* ldc, std::size_t transaLength,
            std::size_t transbLength);
void dpbtrf_(const char* uplo, const int* n, const int* kd, double* ab, const int* ldab, int* info,
             std::size_t uploLength);
void dpbtrs_(const char* uplo, const int* n, const int* kd, const int* nrhs, const double* ab,
             const int* ldab, double* b, const int* ldb, int* info, std::size_t uploLength);
void dpbcon_(const char* uplo, const int* n, const int* kd, const double* ab, const int* ldab,
             const double* anorm, double* rcond, double* work, int* iwork, int* info, std::size_t uploLength);
void dgesvd_(const char* jobu, const char* jobvt, const int* m, const int* n, double* a, const int* lda,
             double* s, double* u, const int* ldu, double* vt, const int* ldvt, double* work,
             const int* lwork, int* info, std::size_t jobuLength, std::size_t jobvtLength);
}
