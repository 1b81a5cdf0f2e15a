#include "images/filters/neighbourhoodfilter.h"

#include <cmath>
#include <cstddef>
#include <vector>

#include "numerics/exception.h"

namespace vorlen {

namespace {

// Greatest b whose square is at most the value, for a value that is not negative.
int rootOf(long long value) {
    auto root = static_cast<long long>(std::sqrt(static_cast<double>(value)));
    while (root * root > value)
        --root;
    while ((root + 1) * (root + 1) <= value)
        ++root;
    return static_cast<int>(root);
}

void assign(Vector<int>& target, const std::vector<int>& source) {
    target.setSize(static_cast<int>(source.size()));
    for (std::size_t i = 0; i < source.size(); ++i)
        target[static_cast<int>(i)] = source[i];
}

} // namespace

void NeighbourhoodFilter::setHalfSize(int halfSize) {
    __halfSize = halfSize;
}

void NeighbourhoodFilter::setBallMode(bool ballMode) {
    if (ballMode && !__acceptBallMode)
        throw ProgramError("void NeighbourhoodFilter::setBallMode(const bool)",
                           "This filter does not accept ball mode");
    __ballMode = ballMode;
}

void NeighbourhoodFilter::setAcceptBallMode(bool acceptBallMode) {
    __acceptBallMode = acceptBallMode;
    __ballMode = __ballMode && acceptBallMode;
}

void NeighbourhoodFilter::initCircularNeighborhood(int radius, Vector<int>& rows, Vector<int>& columns) {
    std::vector<int> as, bs;
    const long long square = static_cast<long long>(radius) * radius;
    for (int a = -radius; a <= radius; ++a) {
        const int reach = rootOf(square - static_cast<long long>(a) * a);
        for (int b = -reach; b <= reach; ++b) {
            as.push_back(a);
            bs.push_back(b);
        }
    }
    assign(rows, as);
    assign(columns, bs);
}

void NeighbourhoodFilter::initSphericalNeighborhood(int radius, Vector<int>& rows, Vector<int>& columns,
                                                    Vector<int>& planes) {
    std::vector<int> as, bs, cs;
    const long long square = static_cast<long long>(radius) * radius;
    for (int a = -radius; a <= radius; ++a) {
        const long long rest = square - static_cast<long long>(a) * a;
        const int width = rootOf(rest);
        for (int b = -width; b <= width; ++b) {
            const int reach = rootOf(rest - static_cast<long long>(b) * b);
            for (int c = -reach; c <= reach; ++c) {
                as.push_back(a);
                bs.push_back(b);
                cs.push_back(c);
            }
        }
    }
    assign(rows, as);
    assign(columns, bs);
    assign(planes, cs);
}

} // namespace vorlen
