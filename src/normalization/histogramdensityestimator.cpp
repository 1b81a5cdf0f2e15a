#include "normalization/histogramdensityestimator.h"

#include <algorithm>
#include <cmath>

#include "images/volumes/voxelmatrix.h"
#include "shapes/boundingbox.h"
#include "shapes/shape.h"

namespace vorlen {

template <class T>
void HistogramDensityEstimator<T>::compute(VoxelMatrix<T>& matrix, const BoundingBox<T>& givenBox) {
    BoundingBox<T> box(givenBox);
    box.rectify();
    this->checkSpace(box, "void HistogramDensityEstimator<T>::compute(VoxelMatrix<T>&, const BoundingBox<T>&)");
    matrix.setZeros();
    const Vector<int> size = matrix.getSize();
    const Vector<T> widths = box.widths();
    const Vector<T>& lower = box.getVertex1();
    const bool hasCells = size.min() > 0;
    for (const Shape<T>* shape : this->getShapes()) {
        for (ConstVertexIterator<T> it(*shape); it.current() && hasCells; ++it) {
            const Vector<T>& v = *it.current();
            if (!box.contains(v))
                continue;
            int cell[3];
            for (int a = 0; a < 3; ++a) {
                // All points of a box without width lie in its first cell.
                const T index = widths[a] > T(0) ? std::floor(T(size[a]) * (v[a] - lower[a]) / widths[a]) : T(0);
                cell[a] = index < T(size[a]) ? int(index) : size[a] - 1;
            }
            matrix(cell[0], cell[1], cell[2]) += T(1);
        }
    }
    this->applyMasks(matrix, box);
}

template class HistogramDensityEstimator<float>;
template class HistogramDensityEstimator<double>;
template class HistogramDensityEstimator<long double>;

} // namespace vorlen
