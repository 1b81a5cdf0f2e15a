#include "reconstruction/flatoutline.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "document/modelitem.h"
#include "shapes/sectionregion.h"

namespace vorlen {

void appendCoordinates(const ModelItem& item, std::vector<double>& coordinates) {
    const int n = item.getSize();
    const std::size_t before = coordinates.size();
    coordinates.resize(before + 2 * static_cast<std::size_t>(n));
    double* const out = coordinates.data() + before;
    const PackedVertices& packed = item.getPacked();
    if (const std::int16_t* const pixels = packed.getPixels()) {
        std::copy_n(pixels, 2 * n, out);
    } else if (const std::int32_t* const thousandths = packed.getThousandths()) {
        for (int k = 0; k < 2 * n; ++k)
            out[k] = thousandths[k] / 1000.0;
    } else if (packed.getSize() > 0) {
        for (int k = 0; k < 2 * n; ++k)
            out[k] = packed.getCoordinate(k / 2, k % 2);
    } else if (n > 0) {
        const Vertices<double>& vertices = item.getVertices();
        for (int k = 0; k < 2 * n; ++k)
            out[k] = vertices[k / 2][k % 2];
    }
}

double FlatOutline::twiceArea(const double* places, int n, int stride) {
    double sum = 0, x = 0, y = 0;
    for (int k = 1; k < n; ++k) {
        const double nextX = places[k * stride] - places[0], nextY = places[k * stride + 1] - places[1];
        sum += x * nextY - nextX * y;
        x = nextX;
        y = nextY;
    }
    return sum;
}

bool FlatOutline::isStar(const double* places, int n, int stride, double twiceArea) {
    const auto next = [&](int k) { return places + (k + 1 < n ? k + 1 : 0) * stride; };
    double x = 0, y = 0;
    for (int k = 0; k < n; ++k) {
        const double *const p = places + k * stride, *const q = next(k);
        const double px = p[0] - places[0], py = p[1] - places[1], qx = q[0] - places[0], qy = q[1] - places[1];
        const double product = px * qy - qx * py;
        x += product * (px + qx);
        y += product * (py + qy);
    }
    x = places[0] + x / (3 * twiceArea);
    y = places[1] + y / (3 * twiceArea);
    int upward = 0;
    bool seen = true;
    for (int k = 0; k < n; ++k) {
        const double *const p = places + k * stride, *const q = next(k);
        upward += p[1] < y && q[1] >= y;
        seen = seen && ((p[0] - x) * (q[1] - y) - (p[1] - y) * (q[0] - x)) * twiceArea > 0;
    }
    return seen && upward == 1;
}

double FlatOutline::areaNoise(const double* places, int n, int stride) {
    double least[2] = {HUGE_VAL, HUGE_VAL}, most[2] = {-HUGE_VAL, -HUGE_VAL};
    for (int k = 0; k < n; ++k)
        for (const int axis : {0, 1}) {
            least[axis] = std::min(least[axis], places[k * stride + axis]);
            most[axis] = std::max(most[axis], places[k * stride + axis]);
        }
    double reach = 0, extent = 0;
    for (const int axis : {0, 1}) {
        reach = std::max({reach, std::fabs(least[axis]), std::fabs(most[axis])});
        extent += most[axis] - least[axis];
    }
    return 1e-13 * reach * extent;
}

double FlatOutline::enclosedArea(const double* places, int n, int stride) {
    SectionRegion region;
    region.add(static_cast<std::size_t>(n), [&](std::size_t k) {
        const double* const p = places + k * static_cast<std::size_t>(stride);
        return SectionRegion::Point{p[0], p[1]};
    });
    return region.area();
}

} // namespace vorlen
