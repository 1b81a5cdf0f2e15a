#pragma once

namespace vorlen {

/// Process-wide settings of every print() of vectors and matrices. Not guarded against use from several threads.
class NumericIO {
public:
    /// Least number of characters of a printed element; 7 at the start.
    static int getIOWidth();
    static void setIOWidth(int width);
    /// Number of decimals; 2 at the start.
    static int getIOPrecision();
    static void setIOPrecision(int precision);
    /// Elements of smaller absolute value print as 0; 0 at the start.
    static float getIOEpsilon();
    static void setIOEpsilon(float epsilon);
    /// Whether a vector prints as a column, one element on a line; false at the start.
    static bool getIOTranspose();
    static void setIOTranspose(bool transpose);

private:
    static int __width;
    static int __precision;
    static float __epsilon;
    static bool __transpose;
};

} // namespace vorlen
