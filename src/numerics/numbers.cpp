#include "numerics/numbers.h"

#include "numerics/exception.h"

namespace vorlen {

namespace {

template <class V>
const V& valueOf(const std::optional<V>& value, const char* where) {
    if (!value)
        throw UsageError(where, "This value is not set.");
    return *value;
}

} // namespace

template <class T>
void Numbers<T>::setCount(unsigned int count) {
    __count = count;
}

template <class T>
void Numbers<T>::setMinimum(T minimum) {
    __minimum = minimum;
}

template <class T>
void Numbers<T>::setMaximum(T maximum) {
    __maximum = maximum;
}

template <class T>
void Numbers<T>::setMedian(T median) {
    __median = median;
}

template <class T>
void Numbers<T>::setSum(T sum) {
    __sum = sum;
}

template <class T>
void Numbers<T>::setMean(T mean) {
    __mean = mean;
}

template <class T>
void Numbers<T>::setStddev(T stddev) {
    __stddev = stddev;
}

template <class T>
unsigned int Numbers<T>::getCount() const {
    return valueOf(__count, "unsigned int Numbers<T>::getCount() const");
}

template <class T>
T Numbers<T>::getMinimum() const {
    return valueOf(__minimum, "T Numbers<T>::getMinimum() const");
}

template <class T>
T Numbers<T>::getMaximum() const {
    return valueOf(__maximum, "T Numbers<T>::getMaximum() const");
}

template <class T>
T Numbers<T>::getMedian() const {
    return valueOf(__median, "T Numbers<T>::getMedian() const");
}

template <class T>
T Numbers<T>::getSum() const {
    return valueOf(__sum, "T Numbers<T>::getSum() const");
}

template <class T>
T Numbers<T>::getMean() const {
    return valueOf(__mean, "T Numbers<T>::getMean() const");
}

template <class T>
T Numbers<T>::getStddev() const {
    return valueOf(__stddev, "T Numbers<T>::getStddev() const");
}

template <class T>
void Numbers<T>::clear() {
    *this = Numbers();
}

template class Numbers<bool>;
template class Numbers<char>;
template class Numbers<unsigned char>;
template class Numbers<short>;
template class Numbers<unsigned short>;
template class Numbers<int>;
template class Numbers<unsigned int>;
template class Numbers<float>;
template class Numbers<double>;
template class Numbers<long double>;

} // namespace vorlen
