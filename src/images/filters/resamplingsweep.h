#pragma once

#include <vector>

namespace vorlen {

/// Resampling of lines along one axis, in place: element j of the new line is read at position j * numerator /
/// denominator of the old one. A step is what MatrixResize and VolumeResize do on each axis.
///
/// Positions are computed in whole numbers, so that an exact ratio falls on its element whatever T. A line that grows
/// is rewritten from its far end and one that shrinks from its start, so that every element is read before it is
/// written. A neighbour beyond the old line counts as the old last element.
template <class T>
class ResamplingSweep {
public:
    /// Takes the element at the position rounded down.
    static ResamplingSweep nearest(int oldSize, int newSize, int numerator, int denominator);

    /// Weighs the elements on both sides of the position. With keepLast the last new element is the last old one.
    static ResamplingSweep linear(int oldSize, int newSize, int numerator, int denominator, bool keepLast);

    /// Whether the line stays as it is.
    bool isIdentity() const { return __identity; }

    /// Resamples one contiguous line, which has room for the longer of both sizes.
    void apply(T* line) const;

    /// Resamples many lines side by side: line(j) gives the elements j of all of them, count in number.
    template <class Line>
    void applyAcross(Line line, int count) const {
        const int size = static_cast<int>(__first.size());
        for (int step = 0; step < size && !__identity; ++step) {
            const int j = __grows ? size - 1 - step : step;
            combine(line(j), line(__first[static_cast<std::size_t>(j)]), line(__second[static_cast<std::size_t>(j)]),
                    __weight[static_cast<std::size_t>(j)], count);
        }
    }

private:
    ResamplingSweep(int oldSize, int newSize, int numerator, int denominator, bool interpolated);

    static void combine(T* target, const T* first, const T* second, T weight, int count);

    bool __identity = false;
    bool __grows = false;
    std::vector<int> __first;  ///< old element at or before the position
    std::vector<int> __second; ///< the one behind it
    std::vector<T> __weight;   ///< weight of the second; 0 where the first alone counts
};

} // namespace vorlen
