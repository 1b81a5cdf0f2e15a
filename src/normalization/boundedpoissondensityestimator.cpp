#include "normalization/boundedpoissondensityestimator.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <numeric>

#include "images/filters/parallelwork.h"
#include "images/volumes/voxelmatrix.h"
#include "normalization/blocksearch.h"
#include "normalization/clippedball.h"
#include "normalization/mapdomain.h"
#include "numerics/exception.h"
#include "shapes/nearestsearch.h"
#include "shapes/shape.h"

namespace vorlen {

namespace {

constexpr double mostCellsOfABall = 16; // above them not every row is looked at

/// Cells of the domain before each column of each row.
template <class T>
class MaskedShare {
public:
    MaskedShare(const MapLattice<T>& lattice, const std::vector<unsigned char>& inside)
        : __rows(lattice.getSize(0)), __columns(lattice.getSize(1)), __planes(lattice.getSize(2)) {
        for (int a = 0; a < 3; ++a)
            __step[a] = lattice.extent(a, 0);
        __before.reserve(inside.size() + std::size_t(__rows) * std::size_t(__planes));
        for (std::size_t first = 0; first < inside.size(); first += std::size_t(__columns)) {
            int sum = 0;
            for (std::size_t j = 0; j < std::size_t(__columns); ++j) {
                __before.push_back(sum);
                sum += inside[first + j];
            }
            __before.push_back(sum);
        }
    }

    /// Share of the cells within the radius of a cell of the domain that belong to the domain.
    double of(int i, int j, int k, double radius) const {
        const int planes = cells(radius, 2, __planes), rows = cells(radius, 0, __rows);
        const int planeStride = strideOf(planes), rowStride = strideOf(rows);
        long long all = 0, within = 0;
        for (int dk = -planes / planeStride * planeStride; dk <= planes; dk += planeStride) {
            if (k + dk < 0 || k + dk >= __planes)
                continue;
            const double rest = radius * radius - dk * dk * __step[2] * __step[2];
            for (int di = -rows / rowStride * rowStride; di <= rows; di += rowStride) {
                const double square = rest - di * di * __step[0] * __step[0];
                if (square < 0 || i + di < 0 || i + di >= __rows)
                    continue;
                const int half = cells(std::sqrt(square), 1, __columns);
                const int first = std::max(0, j - half), last = std::min(__columns - 1, j + half);
                const int* const row =
                    __before.data() +
                    (std::size_t(k + dk) * std::size_t(__rows) + std::size_t(i + di)) * (std::size_t(__columns) + 1);
                all += last + 1 - first;
                within += row[last + 1] - row[first];
            }
        }
        return double(within) / double(all);
    }

private:
    int cells(double length, int axis, int most) const {
        const double count = length / __step[axis];
        return count < most ? int(count) : most;
    }
    static int strideOf(int cells) { return std::max(1, int(std::ceil(cells / mostCellsOfABall))); }

    int __rows, __columns, __planes;
    double __step[3];
    std::vector<int> __before;
};

struct Sums {
    double density = 0;
    double distance = 0;
    long long cells = 0;
};

/// Cells of a block on the axes of rows, columns and planes.
constexpr int blockSize[] = {2, 4, 2};
constexpr std::size_t blockCells = 16;

/// All that the rows of a map need.
template <class T>
struct Searches {
    std::vector<NearestSearch<T>> trees;
    int rank;
    const MapLattice<T>& lattice;
    MapPlanes planes; // of the map, those to fill
    BoundingBox<T> box;
    const std::vector<unsigned char>& inside;
    std::unique_ptr<MaskedShare<T>> share;

    /// The rows of the blocks that begin at row i of plane k of the map; matrix: the planes to fill, sums: one for
    /// each of their rows.
    void fillRows(int i, int k, VoxelMatrix<T>& matrix, Sums* sums) const;

private:
    using Place = typename BlockSearch<T>::Place;
    struct Cell {
        int i, j, k;
    };

    std::size_t rowNumber(int i, int k) const {
        return std::size_t(k) * std::size_t(lattice.getSize(0)) + std::size_t(i);
    }
    std::size_t cellsOfBlock(const Cell& first, Cell* cells) const;
    T density(const Cell& cell, const Place& place, const T* squares, Sums& sums) const;
};

/// The cells of the domain, at most blockCells.
template <class T>
std::size_t Searches<T>::cellsOfBlock(const Cell& first, Cell* cells) const {
    const auto end = [&](int axis, int begin) {
        return std::min(begin + blockSize[axis], axis == 2 ? planes.last : lattice.getSize(axis));
    };
    const std::size_t columns = std::size_t(lattice.getSize(1));
    std::size_t count = 0;
    for (int k = first.k; k < end(2, first.k); ++k)
        for (int i = first.i; i < end(0, first.i); ++i)
            for (int j = first.j; j < end(1, first.j); ++j)
                if (inside.empty() || inside[rowNumber(i, k) * columns + std::size_t(j)])
                    cells[count++] = Cell{i, j, k};
    return count;
}

template <class T>
void Searches<T>::fillRows(int i, int k, VoxelMatrix<T>& matrix, Sums* sums) const {
    std::vector<BlockSearch<T>> neighbours;
    neighbours.reserve(trees.size());
    for (const NearestSearch<T>& tree : trees)
        neighbours.emplace_back(tree, rank);
    std::vector<T> squares(trees.size() * blockCells);
    std::array<Cell, blockCells> cells;
    std::array<Place, blockCells> places;
    for (int j = 0; j < lattice.getSize(1); j += blockSize[1]) {
        const std::size_t count = cellsOfBlock(Cell{i, j, k}, cells.data());
        if (count == 0)
            continue;
        for (std::size_t c = 0; c < count; ++c)
            places[c] = {lattice.position(0, cells[c].i), lattice.position(1, cells[c].j),
                         lattice.position(2, cells[c].k)};
        for (std::size_t t = 0; t < trees.size(); ++t)
            neighbours[t].find(places.data(), int(count), squares.data() + t * blockCells);
        for (std::size_t c = 0; c < count; ++c)
            matrix[cells[c].k - planes.first][cells[c].i][cells[c].j] = density(
                cells[c], places[c], squares.data() + c, sums[rowNumber(cells[c].i, cells[c].k - planes.first)]);
    }
}

/// squares: to the k-th point of each pattern, blockCells elements apart.
template <class T>
T Searches<T>::density(const Cell& cell, const Place& place, const T* squares, Sums& sums) const {
    double below[3], above[3];
    for (int a = 0; a < 3; ++a) {
        const double x = double(place[std::size_t(a)]);
        below[a] = std::max(0., x - double(box.min(a)));
        above[a] = std::max(0., double(box.max(a)) - x);
        if (lattice.getSize(a) == 1 && !(below[a] + above[a] > 0))
            below[a] = above[a] = 0.5; // a box without width counts as 1 wide
    }
    const double numerator = double(rank) * double(trees.size()) - 1;
    double volumes = 0;
    for (std::size_t t = 0; t < trees.size(); ++t) {
        const double distance = std::sqrt(double(squares[t * blockCells]));
        const double volume = clippedBallVolume(below, above, distance);
        volumes += share ? volume * share->of(cell.i, cell.j, cell.k, distance) : volume;
        sums.distance += distance;
    }
    const T result = numerator > 0 ? T(numerator / volumes) : T(0);
    sums.density += double(result);
    ++sums.cells;
    return result;
}

/// Adds up the rows of each plane.
void appendPlanes(const std::vector<Sums>& ofRows, int rows, MapSums& sums) {
    const std::size_t numPlanes = ofRows.size() / std::size_t(rows);
    sums.densities.assign(numPlanes, 0);
    sums.distances.assign(numPlanes, 0);
    sums.elements.assign(numPlanes, 0);
    for (std::size_t number = 0; number < ofRows.size(); ++number) {
        const std::size_t k = number / std::size_t(rows);
        sums.densities[k] += ofRows[number].density;
        sums.distances[k] += ofRows[number].distance;
        sums.elements[k] += double(ofRows[number].cells);
    }
}

} // namespace

template <class T>
void BoundedPoissonDensityEstimator<T>::setNeighbourRank(int rank) {
    if (rank < 1)
        throw ValueError("void BoundedPoissonDensityEstimator<T>::setNeighbourRank(int)",
                         "The rank must be at least 1");
    __neighbourRank = rank;
}

template <class T>
double BoundedPoissonDensityEstimator<T>::blockBytes(const BoundingBox<T>& /*box*/, const Vector<int>& size,
                                                     const MapPlanes& /*block*/) const {
    double bytes = this->getMaskSurfaces().empty() ? 0 : 5. * size[0] * size[1] * size[2];
    for (const Shape<T>* shape : this->getShapes())
        bytes += double(shape->getNumVertices()) * (6 * sizeof(T) + 8);
    return bytes;
}

template <class T>
MapSums BoundedPoissonDensityEstimator<T>::computeBlock(VoxelMatrix<T>& planes, const BoundingBox<T>& box,
                                                        const Vector<int>& size, const MapPlanes& block) {
    const char* const where = "void BoundedPoissonDensityEstimator<T>::compute(VoxelMatrix<T>&, const BoundingBox<T>&)";
    this->checkSpace(box, where);
    this->checkBlock(planes, size, block, where);
    const MapLattice<T> lattice = this->lattice(box, size);
    const int rows = lattice.getSize(0), numPlanes = block.count();
    this->notifyStarted("Poisson density estimation");
    ParallelWork work(*this, static_cast<unsigned long long>(std::max(1, numPlanes)));
    MapDomain<T> domain(box, lattice, this->getMaskSurfaces());
    domain.look({0, lattice.getSize(2)}, work);
    Searches<T> searches{{}, __neighbourRank, lattice, block, box, domain.inside(), nullptr};
    searches.box.rectify();
    searches.trees.reserve(this->getShapes().size());
    double numPoints = 0;
    for (const Shape<T>* shape : this->getShapes()) {
        const std::vector<T> points = domain.pointsOf(*shape);
        if (points.size() / 3 < std::size_t(__neighbourRank) && !this->isCanceled()) {
            this->notifyFinished("");
            throw UsageError(where, "A point pattern has fewer points than the neighbour rank");
        }
        const std::size_t count = points.size() / 3;
        searches.trees.emplace_back(points.data(), int(count), 3);
        numPoints += double(count);
    }
    if (domain.isMasked())
        searches.share = std::make_unique<MaskedShare<T>>(lattice, domain.inside());
    planes.setZeros();
    MapSums result;
    result.meanNumPoints = searches.trees.empty() ? 0 : numPoints / double(searches.trees.size());
    if (!searches.trees.empty() && size.min() > 0 && !this->isCanceled()) {
        std::vector<Sums> sums(std::size_t(rows) * std::size_t(numPlanes));
        const int across = (rows + blockSize[0] - 1) / blockSize[0];
        const int blocks = across * ((numPlanes + blockSize[2] - 1) / blockSize[2]);
        work.run(blocks, static_cast<unsigned long long>(numPlanes), [&](int number, int /*worker*/) {
            searches.fillRows(number % across * blockSize[0], block.first + number / across * blockSize[2], planes,
                              sums.data());
        });
        appendPlanes(sums, rows, result);
    }
    if (this->isCanceled()) {
        planes.setZeros();
        this->notifyCanceled("");
        return {};
    }
    this->notifyFinished("");
    return result;
}

template <class T>
void BoundedPoissonDensityEstimator<T>::finish(VoxelMatrix<T>& planes, const BoundingBox<T>& box,
                                               const Vector<int>& size, const MapSums& sums) {
    const MapLattice<T> lattice = this->lattice(box, size);
    const auto total = [](const std::vector<double>& values) {
        return std::accumulate(values.begin(), values.end(), 0.);
    };
    const double elements = total(sums.elements), trees = double(this->getShapes().size());
    const double volume = lattice.extent(0, 0) * lattice.extent(1, 0) * lattice.extent(2, 0);
    __meanNumPoints = sums.meanNumPoints;
    __meanDistance = elements > 0 ? total(sums.distances) / (elements * trees) : 0;
    __integralBefore = total(sums.densities) * volume;
    if (__integralBefore > 0 && std::isfinite(__integralBefore))
        planes *= T(__meanNumPoints / __integralBefore);
}

template class BoundedPoissonDensityEstimator<float>;
template class BoundedPoissonDensityEstimator<double>;

} // namespace vorlen
