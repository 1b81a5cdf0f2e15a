#include "normalization/histogramdensityestimator.h"

#include <algorithm>
#include <cmath>

#include "images/volumes/voxelmatrix.h"
#include "shapes/boundingbox.h"
#include "shapes/shape.h"

namespace vorlen {

template <class T>
MapSums HistogramDensityEstimator<T>::computeBlock(VoxelMatrix<T>& planes, const BoundingBox<T>& givenBox,
                                                   const Vector<int>& size, const MapPlanes& block) {
    const char* const where = "void HistogramDensityEstimator<T>::compute(VoxelMatrix<T>&, const BoundingBox<T>&)";
    BoundingBox<T> box(givenBox);
    box.rectify();
    this->checkSpace(box, where);
    this->checkBlock(planes, size, block, where);
    planes.setZeros();
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
            if (cell[2] >= block.first && cell[2] < block.last)
                planes(cell[0], cell[1], cell[2] - block.first) += T(1);
        }
    }
    this->maskPlanes(planes, this->lattice(box, size), block.first, where);
    return {};
}

template class HistogramDensityEstimator<float>;
template class HistogramDensityEstimator<double>;
template class HistogramDensityEstimator<long double>;

} // namespace vorlen
