#pragma once

namespace vorlen {

/// Inner loops of the dense linear algebra on rows of a RowBlock, compiled for the plain processor and for wide
/// vector instructions side by side. Available for float, double and long double. Rows must not overlap.
namespace rowkernels {

/// A plane rotation of rows i and j: x_i = c x_i - s x_j, x_j = s x_i + c x_j.
template <class T>
struct Rotation {
    int i;
    int j;
    T c;
    T s;
};

/// Scalar product of n elements.
float dot(const float* a, const float* b, int n);
double dot(const double* a, const double* b, int n);
long double dot(const long double* a, const long double* b, int n);

/// y += factor x, n elements.
void addMultiple(float* y, float factor, const float* x, int n);
void addMultiple(double* y, double factor, const double* x, int n);
void addMultiple(long double* y, long double factor, const long double* x, int n);

/// y[0..n) += sum over i of factors[i] rows[i][offset..offset+n).
void addRows(float* y, const float* factors, float* const* rows, int numRows, int offset, int n);
void addRows(double* y, const double* factors, double* const* rows, int numRows, int offset, int n);
void addRows(long double* y, const long double* factors, long double* const* rows, int numRows, int offset, int n);

/// Two reflections in one pass over each row x = rows[i][offset..offset+n): first x -= factors[i] w, and then, unless
/// gamma is 0, x -= gamma (x . r) r.
void reflectRows(float* const* rows, int numRows, int offset, int n, const float* factors, const float* w,
                 const float* r, float gamma);
void reflectRows(double* const* rows, int numRows, int offset, int n, const double* factors, const double* w,
                 const double* r, double gamma);
void reflectRows(long double* const* rows, int numRows, int offset, int n, const long double* factors,
                 const long double* w, const long double* r, long double gamma);

/// Multiplies rows 0 to numRows-1 (n elements) from the right by the reflections I - beta_j v_j v_j^T, the last one
/// first. v_j is vectors[j][shift+j..n). Row i is taken for a unit vector e_i before, so that reflections that begin
/// behind i leave it alone.
void accumulateReflections(float* const* rows, int numRows, int n, float* const* vectors, const float* beta,
                           int numVectors, int shift);
void accumulateReflections(double* const* rows, int numRows, int n, double* const* vectors, const double* beta,
                           int numVectors, int shift);
void accumulateReflections(long double* const* rows, int numRows, int n, long double* const* vectors,
                           const long double* beta, int numVectors, int shift);

/// Applies the rotations in order to numStrips strips of the rows (RowBlock<T>::stripWidth elements each).
/// Rotations of neighbours, (i, j) followed by (j, k), hand row j on in registers.
void rotateRows(float* const* rows, int numStrips, const Rotation<float>* rotations, int count);
void rotateRows(double* const* rows, int numStrips, const Rotation<double>* rotations, int count);
void rotateRows(long double* const* rows, int numStrips, const Rotation<long double>* rotations, int count);

/// Elements of packed that subtractProduct() needs for a right factor of depth rows and n columns.
int packedSize(int depth, int n);

/// c[i][cOffset..cOffset+n) -= sum over k below depth of a[i][aOffset+k] b[k][bOffset..bOffset+n) for the numRows rows
/// of c and a. packed is working memory of packedSize() elements.
void subtractProduct(float* const* c, int cOffset, float* const* a, int aOffset, float* const* b, int bOffset,
                     int numRows, int depth, int n, float* packed);
void subtractProduct(double* const* c, int cOffset, double* const* a, int aOffset, double* const* b, int bOffset,
                     int numRows, int depth, int n, double* packed);
void subtractProduct(long double* const* c, int cOffset, long double* const* a, int aOffset, long double* const* b,
                     int bOffset, int numRows, int depth, int n, long double* packed);

} // namespace rowkernels

} // namespace vorlen
