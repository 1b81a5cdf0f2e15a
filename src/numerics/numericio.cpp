#include "numerics/numericio.h"

namespace vorlen {

int NumericIO::__width = 7;
int NumericIO::__precision = 2;
float NumericIO::__epsilon = 0;
bool NumericIO::__transpose = false;

int NumericIO::getIOWidth() {
    return __width;
}

void NumericIO::setIOWidth(int width) {
    __width = width;
}

int NumericIO::getIOPrecision() {
    return __precision;
}

void NumericIO::setIOPrecision(int precision) {
    __precision = precision;
}

float NumericIO::getIOEpsilon() {
    return __epsilon;
}

void NumericIO::setIOEpsilon(float epsilon) {
    __epsilon = epsilon;
}

bool NumericIO::getIOTranspose() {
    return __transpose;
}

void NumericIO::setIOTranspose(bool transpose) {
    __transpose = transpose;
}

} // namespace vorlen
