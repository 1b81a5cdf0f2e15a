#pragma once

#include "numerics/squarematrix.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <string>

namespace vorlen {

/// Matrices and comparisons for the tests of the linear algebra.
namespace matrixtools {

template <class T = double>
Matrix<T> matrix(std::initializer_list<std::initializer_list<T>> rows) {
    Matrix<T> m(static_cast<unsigned int>(rows.size()), static_cast<unsigned int>(rows.begin()->size()));
    int i = 0;
    for (const auto& row : rows) {
        int j = 0;
        for (const T x : row)
            m(i, j++) = x;
        ++i;
    }
    return m;
}

template <class T = double>
Vector<T> vector(std::initializer_list<T> values) {
    Vector<T> v(static_cast<unsigned int>(values.size()));
    std::copy(values.begin(), values.end(), v.begin());
    return v;
}

/// Entries in -1..1 by a fixed congruential sequence.
template <class T>
Matrix<T> noise(int rows, int cols, unsigned int seed) {
    Matrix<T> m(static_cast<unsigned int>(rows), static_cast<unsigned int>(cols));
    unsigned int state = seed;
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j) {
            state = state * 1664525u + 1013904223u;
            m(i, j) = T(state >> 8) / T(1 << 23) - T(1);
        }
    return m;
}

/// Greatest difference of two matrices of equal shape; NaN where one has NaN.
template <class T>
T difference(const Matrix<T>& a, const Matrix<T>& b) {
    EXPECT_EQ(a.getSize1(), b.getSize1());
    EXPECT_EQ(a.getSize2(), b.getSize2());
    T greatest = 0;
    for (int i = 0; i < a.getSize1(); ++i)
        for (int j = 0; j < a.getSize2(); ++j) {
            const T distance = std::abs(a(i, j) - b(i, j));
            if (!(distance <= greatest))
                greatest = distance;
        }
    return greatest;
}

/// Product by the definition, one element at a time.
template <class T>
Matrix<T> plainProduct(const Matrix<T>& a, const Matrix<T>& b) {
    Matrix<T> c(static_cast<unsigned int>(a.getSize1()), static_cast<unsigned int>(b.getSize2()));
    for (int i = 0; i < a.getSize1(); ++i)
        for (int j = 0; j < b.getSize2(); ++j) {
            c(i, j) = T(0);
            for (int k = 0; k < a.getSize2(); ++k)
                c(i, j) += a(i, k) * b(k, j);
        }
    return c;
}

template <class T>
Matrix<T> identity(int n) {
    SquareMatrix<T> m;
    m.setIdentity(n);
    return m;
}

/// n by p matrix with the p values on its diagonal.
template <class T>
Matrix<T> diagonalOf(const Vector<T>& values, int n) {
    Matrix<T> m;
    m.setZeros(n, values.getSize());
    for (int i = 0; i < values.getSize(); ++i)
        m(i, i) = values[i];
    return m;
}

/// Expects the operation to throw E with this place and sentence.
template <class E, class F>
void expectError(F&& operation, const std::string& where, const std::string& what) {
    try {
        operation();
        ADD_FAILURE() << "no error for " << where;
    } catch (const E& e) {
        EXPECT_EQ(e.getWhere(), where);
        EXPECT_EQ(e.getWhat(), what);
    }
}

} // namespace matrixtools

} // namespace vorlen
