// SPDX-License-Identifier: Apache-2.0
// The three routines of LAPACK that are called, as its reference sources export them.
#ifndef QUORVEL_NUMERICS_LAPACK_H_
#define QUORVEL_NUMERICS_LAPACK_H_

#include <cstddef>

extern "C" {
void dgesv_(const int* n, const int* sides, double* a, const int* lda, int* pivots, double* b, const int* ldb,
            int* info);
void dsysv_(const char* triangle, const int* n, const int* sides, double* a, const int* lda, int* pivots, double* b,
            const int* ldb, double* work, const int* workLength, int* info, std::size_t triangleLength);
void dgelsd_(const int* m, const int* n, const int* sides, double* a, const int* lda, double* b, const int* ldb,
             double* singular, const double* rcond, int* rank, double* work, const int* workLength, int* integers,
             int* info);
}

#endif  // QUORVEL_NUMERICS_LAPACK_H_
