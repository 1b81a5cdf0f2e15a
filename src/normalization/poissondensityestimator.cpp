#include "normalization/poissondensityestimator.h"

#include <algorithm>
#include <cmath>
#include <iostream>

#include "images/volumes/voxelmatrix.h"
#include "numerics/exception.h"
#include "shapes/boundingbox.h"
#include "shapes/shapearithmetic.h"

namespace vorlen {

template <class T>
void PoissonDensityEstimator<T>::addShape(Shape<T>& shape) {
    const std::vector<Shape<T>*>& shapes = this->getShapes();
    if (std::find(shapes.begin(), shapes.end(), &shape) != shapes.end())
        return;
    auto tree = std::make_unique<KDTree<T>>();
    tree->setShape(shape);
    tree->build();
    __kdTrees.reserve(__kdTrees.size() + 1);
    DensityEstimator<T>::addShape(shape);
    __kdTrees.push_back(std::move(tree));
}

template <class T>
void PoissonDensityEstimator<T>::removeShape(Shape<T>& shape) {
    const std::vector<Shape<T>*>& shapes = this->getShapes();
    const auto found = std::find(shapes.begin(), shapes.end(), &shape);
    if (found != shapes.end()) {
        __kdTrees.erase(__kdTrees.begin() + (found - shapes.begin()));
        DensityEstimator<T>::removeShape(shape);
    }
}

template <class T>
void PoissonDensityEstimator<T>::setNeighbourRank(int rank) {
    if (rank < 1)
        throw ValueError("void PoissonDensityEstimator<T>::setNeighbourRank(int)", "The rank must be at least 1");
    __neighbourRank = rank;
}

template <class T>
double PoissonDensityEstimator<T>::blockBytes(const BoundingBox<T>& /*box*/, const Vector<int>& /*size*/,
                                              const MapPlanes& /*block*/) const {
    double bytes = 0;
    for (const Shape<T>* shape : this->getShapes())
        bytes += double(shape->getNumVertices()) * (6 * sizeof(T) + 8);
    return bytes;
}

template <class T>
MapSums PoissonDensityEstimator<T>::computeBlock(VoxelMatrix<T>& planes, const BoundingBox<T>& box,
                                                 const Vector<int>& size, const MapPlanes& block) {
    using Wide = WideCoordinate<T>;
    const char* const where = "void PoissonDensityEstimator<T>::compute(VoxelMatrix<T>&, const BoundingBox<T>&)";
    this->checkSpace(box, where);
    this->checkBlock(planes, size, block, where);
    const int rank = __neighbourRank;
    for (const Shape<T>* shape : this->getShapes())
        if (shape->getNumVertices() < rank)
            throw UsageError(where, "A point pattern has fewer points than the neighbour rank");

    const int n1 = size[0], n2 = size[1], n3 = block.count();
    T steps[3];
    for (int a = 0; a < 3; ++a) {
        const int n = size[a];
        steps[a] = n > 1 ? box.width(a) / T(n - 1) : T(0);
    }
    const double pi = 3.141592653589793;
    const Wide numerator = (Wide(rank) * Wide(__kdTrees.size()) - 1) * 0.75 / pi;

    this->notifyStarted("Poisson density estimation");
    Wide distances = 0;
    Vertices<T> nearest;
    Vector<T> x(3);
    x[2] = box.min(2);
    for (int k3 = 0; k3 < block.first; ++k3) // added up as for the whole map, to the bit
        x[2] += steps[2];
    for (int k3 = 0; k3 < n3; ++k3, x[2] += steps[2]) {
        x[0] = box.min(0);
        for (int k1 = 0; k1 < n1; ++k1, x[0] += steps[0]) {
            T* const row = planes[k3][k1].data();
            x[1] = box.min(1);
            for (int k2 = 0; k2 < n2; ++k2, x[1] += steps[1]) {
                Wide volumes = 0;
                for (const auto& tree : __kdTrees) {
                    tree->nearestVertices(nearest, x, rank);
                    const Wide square = nearest[rank - 1].sdistance(x);
                    const Wide distance = std::sqrt(square);
                    volumes += square * distance;
                    distances += distance;
                }
                // 0 over 0 would have no value: one point tells of no density.
                row[k2] = numerator > 0 ? T(numerator / volumes) : T(0);
            }
        }
        this->notifyProgressed(static_cast<unsigned int>(k3), static_cast<unsigned int>(n3));
    }
    this->notifyFinished("");
    const Wide count = Wide(n1) * Wide(n2) * Wide(n3) * Wide(__kdTrees.size());
    if (count > 0 && n3 == size[2])
        std::cout << "Average distance to kth nearest neighbor: " << distances / count << '\n';
    this->maskPlanes(planes, lattice(box, size), block.first, where);
    return {};
}

template <class T>
MapLattice<T> PoissonDensityEstimator<T>::lattice(const BoundingBox<T>& box, const Vector<int>& size) const {
    return MapLattice<T>(MapLayout::Nodes, box, size);
}

template class PoissonDensityEstimator<float>;
template class PoissonDensityEstimator<double>;
template class PoissonDensityEstimator<long double>;

} // namespace vorlen
