#include "normalization/clippedball.h"

#include <algorithm>
#include <cmath>

namespace vorlen {

namespace {

/// Points and weights of Gauss and Legendre on [0, 1], the lower half; the upper mirrors it.
constexpr double legendrePoints[] = {0.013046735741414140, 0.067468316655507745, 0.160295215850487797,
                                     0.283302302935376405, 0.425562830509184395};
constexpr double legendreWeights[] = {0.033335672154344069, 0.074725674575290297, 0.109543181257991022,
                                      0.134633359654998178, 0.147762112357376435};

/// Area under the circle of radius r from 0 to x.
double underCircle(double x, double r) {
    return (x * std::sqrt(std::max(0., r * r - x * x)) + r * r * std::asin(std::min(1., x / r))) / 2;
}

/// Area of the quarter disk of radius r within a by b.
double quarterDisk(double a, double b, double r) {
    if (a * a + b * b <= r * r)
        return a * b;
    a = std::min(a, r);
    b = std::min(b, r);
    const double flat = std::min(a, std::sqrt(std::max(0., r * r - b * b)));
    return b * flat + underCircle(a, r) - underCircle(flat, r);
}

/// Volume of the eighth of the ball within a by b by c.
double octant(double a, double b, double c, double r) {
    if (a * a + b * b + c * c <= r * r)
        return a * b * c;
    a = std::min(a, r);
    b = std::min(b, r);
    c = std::min(c, r);
    const double square = r * r;
    if (a * a + b * b >= square && a * a + c * c >= square && b * b + c * c >= square) {
        // What each face cuts off is apart from the others.
        const auto cap = [&](double x) { return M_PI / 4 * (2. / 3 * square * r - square * x + x * x * x / 3); };
        return M_PI / 6 * square * r - cap(a) - cap(b) - cap(c);
    }
    double sum = 0;
    for (int p = 0; p < 5; ++p) {
        for (const double u : {legendrePoints[p], 1 - legendrePoints[p]}) {
            const double z = u * c;
            sum += legendreWeights[p] * quarterDisk(a, b, std::sqrt(std::max(0., square - z * z)));
        }
    }
    return sum * c;
}

} // namespace

double clippedBallVolume(const double* below, const double* above, double radius) {
    const double least = std::min({below[0], below[1], below[2], above[0], above[1], above[2]});
    if (!(radius > 0))
        return 0;
    if (least >= radius)
        return 4 * M_PI / 3 * radius * radius * radius;
    double volume = 0;
    for (int corner = 0; corner < 8; ++corner)
        volume += octant(corner & 1 ? above[0] : below[0], corner & 2 ? above[1] : below[1],
                         corner & 4 ? above[2] : below[2], radius);
    return volume;
}

} // namespace vorlen
