#include "numerics/rowblock.h"

#include <algorithm>
#include <cstddef>

namespace vorlen {

template <class T>
RowBlock<T>::RowBlock(int rows, int columns) : __columns(columns), __rows(std::size_t(rows)) {
    const std::size_t strips = (std::size_t(columns) * sizeof(T) + stripBytes - 1) / stripBytes;
    const std::size_t stride = (strips * stripBytes + lineBytes) / sizeof(T);
    const std::size_t count = stride * std::size_t(rows);
    __data.reset(
        static_cast<T*>(::operator new[](std::max<std::size_t>(count, 1) * sizeof(T), std::align_val_t(lineBytes))));
    std::fill_n(__data.get(), count, T(0));
    for (std::size_t i = 0; i < __rows.size(); ++i)
        __rows[i] = __data.get() + i * stride;
}

template class RowBlock<float>;
template class RowBlock<double>;
template class RowBlock<long double>;

} // namespace vorlen
