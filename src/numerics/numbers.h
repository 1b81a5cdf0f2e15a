#pragma once

#include <optional>

namespace vorlen {

/// Record of the summary statistics of a sample, each of which may be missing.
///
/// A getter of a value that was never set throws UsageError ("This value is not set."); has...() tells beforehand.
/// Compiled for the arithmetic element types of Vector<T>.
template <class T>
class Numbers {
public:
    void setCount(unsigned int count);
    void setMinimum(T minimum);
    void setMaximum(T maximum);
    void setMedian(T median);
    void setSum(T sum);
    void setMean(T mean);
    void setStddev(T stddev);

    unsigned int getCount() const;
    T getMinimum() const;
    T getMaximum() const;
    T getMedian() const;
    T getSum() const;
    T getMean() const;
    T getStddev() const;

    bool hasCount() const { return __count.has_value(); }
    bool hasMinimum() const { return __minimum.has_value(); }
    bool hasMaximum() const { return __maximum.has_value(); }
    bool hasMedian() const { return __median.has_value(); }
    bool hasSum() const { return __sum.has_value(); }
    bool hasMean() const { return __mean.has_value(); }
    bool hasStddev() const { return __stddev.has_value(); }

    /// Drops all values.
    void clear();

private:
    std::optional<unsigned int> __count;
    std::optional<T> __minimum;
    std::optional<T> __maximum;
    std::optional<T> __median;
    std::optional<T> __sum;
    std::optional<T> __mean;
    std::optional<T> __stddev;
};

} // namespace vorlen
