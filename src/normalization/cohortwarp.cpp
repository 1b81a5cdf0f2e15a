#include "normalization/cohortwarp.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>

#include "numerics/exception.h"
#include "numerics/squarematrix.h"

namespace vorlen {

namespace {

constexpr int maxControls = 400;
constexpr int maxTrialControls = 160;
constexpr int maxPolynomialControls = 4000;

double squareDistance(const Point3& a, const Point3& b) {
    return (a[0] - b[0]) * (a[0] - b[0]) + (a[1] - b[1]) * (a[1] - b[1]) + (a[2] - b[2]) * (a[2] - b[2]);
}

/// Centre and size of points, so that fits see numbers about 1.
struct Frame {
    Point3 centre = {0, 0, 0};
    double scale = 1;

    explicit Frame(const std::vector<Point3>& points) {
        double square = 0;
        for (const Point3& p : points)
            for (std::size_t a = 0; a < 3; ++a)
                centre[a] += p[a] / double(points.size());
        for (const Point3& p : points)
            square += squareDistance(p, centre) / double(points.size());
        scale = square > 0 ? std::sqrt(square) : 1;
    }
    Point3 operator()(const Point3& p) const {
        return {(p[0] - centre[0]) / scale, (p[1] - centre[1]) / scale, (p[2] - centre[2]) / scale};
    }
};

/// Mean distance of a point to its nearest neighbour.
double meanSpacing(const std::vector<Point3>& points) {
    double sum = 0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        double least = 1e300;
        for (std::size_t j = 0; j < points.size(); ++j)
            if (j != i)
                least = std::min(least, squareDistance(points[i], points[j]));
        sum += std::sqrt(least);
    }
    return points.size() > 1 ? sum / double(points.size()) : 1;
}

SquareMatrix<double> splineSystem(const std::vector<Point3>& points, double smoothing) {
    const int n = int(points.size());
    SquareMatrix<double> system(static_cast<unsigned int>(n + 4));
    system.setZeros();
    for (int i = 0; i < n; ++i) {
        const Point3& p = points[std::size_t(i)];
        for (int j = 0; j < i; ++j)
            system(i, j) = system(j, i) = std::sqrt(squareDistance(p, points[std::size_t(j)]));
        // The distance is a negative kernel: smoothing lowers the diagonal.
        system(i, i) = -smoothing;
        for (int a = 0; a < 3; ++a)
            system(i, n + a) = system(n + a, i) = p[std::size_t(a)];
        system(i, n + 3) = system(n + 3, i) = 1;
    }
    return system;
}

/// Weights of the spline, axis by axis, and its leave-one-out error.
struct SplineSolution {
    std::vector<Point3> weights; // n kernels, three linear parts, one constant part
    double leaveOneOut = 0;

    SplineSolution(const std::vector<Point3>& points, const std::vector<Point3>& displacements, double smoothing) {
        const int n = int(points.size());
        const SquareMatrix<double> inverse = [&] {
            SquareMatrix<double> system = splineSystem(points, smoothing);
            Vector<int> index;
            SquareMatrix<double> decomposed(system);
            decomposed.luDecomp(index, 1e-13 * double(n + 4));
            SquareMatrix<double> result(static_cast<unsigned int>(n + 4));
            Vector<double> column(static_cast<unsigned int>(n + 4));
            for (int j = 0; j < n + 4; ++j) {
                column.setZeros();
                column[j] = 1;
                decomposed.luSolve(column, index);
                std::copy_n(column.data(), n + 4, result[j].data()); // symmetrical
            }
            return result;
        }();
        weights.assign(std::size_t(n + 4), Point3{0, 0, 0});
        double sum = 0;
        for (int i = 0; i < n + 4; ++i) {
            Point3& weight = weights[std::size_t(i)];
            for (int j = 0; j < n; ++j)
                for (std::size_t a = 0; a < 3; ++a)
                    weight[a] += inverse(i, j) * displacements[std::size_t(j)][a];
            for (std::size_t a = 0; a < 3 && i < n; ++a)
                sum += weight[a] * weight[a] / (inverse(i, i) * inverse(i, i));
        }
        leaveOneOut = std::sqrt(sum / n);
    }
};

class SmoothingSpline : public CohortWarp {
public:
    SmoothingSpline(ControlPairs pairs, double smoothing) : __frame(pairs.from) {
        const ControlPairs all = pairs;
        pairs.thin(maxControls);
        prepare(pairs);
        __points = __moved;
        const std::vector<Point3> displacements = __displacements;
        const double spacing = meanSpacing(__points);
        if (smoothing < 0) {
            ControlPairs trial = pairs;
            trial.thin(maxTrialControls);
            prepare(trial);
            double least = 1e300;
            for (const double share : {0.0, 1e-3, 1e-2, 0.1, 1.0, 10.0, 100.0}) {
                const double error = SplineSolution(__moved, __displacements, share * spacing).leaveOneOut;
                if (error < least * (1 - 1e-3)) {
                    least = error;
                    smoothing = share;
                }
            }
        }
        const SplineSolution solution(__points, displacements, smoothing * spacing);
        __weights = solution.weights;
        __quality.smoothing = smoothing;
        __quality.leaveOneOut = solution.leaveOneOut * __frame.scale;
        measure(pairs, all);
    }

    Point3 operator()(const Point3& p) const override {
        const Point3 q = __frame(p);
        const std::size_t n = __points.size();
        Point3 sum = __weights[n + 3];
        for (std::size_t a = 0; a < 3; ++a)
            for (std::size_t b = 0; b < 3; ++b)
                sum[a] += __weights[n + b][a] * q[b];
        for (std::size_t k = 0; k < n; ++k) {
            const double r = std::sqrt(squareDistance(q, __points[k]));
            for (std::size_t a = 0; a < 3; ++a)
                sum[a] += __weights[k][a] * r;
        }
        return {p[0] + sum[0] * __frame.scale, p[1] + sum[1] * __frame.scale, p[2] + sum[2] * __frame.scale};
    }

private:
    void prepare(const ControlPairs& pairs) {
        __moved.clear();
        __displacements.clear();
        for (std::size_t k = 0; k < pairs.from.size(); ++k) {
            const Point3 from = __frame(pairs.from[k]), to = __frame(pairs.to[k]);
            __moved.push_back(from);
            __displacements.push_back({to[0] - from[0], to[1] - from[1], to[2] - from[2]});
        }
    }

    Frame __frame;
    std::vector<Point3> __points, __weights;
    std::vector<Point3> __moved, __displacements;
};

class PolynomialFit : public CohortWarp {
public:
    PolynomialFit(ControlPairs pairs, int degree) : __frame(pairs.from) {
        const ControlPairs all = pairs;
        pairs.thin(maxPolynomialControls);
        for (int total = 0; total <= degree; ++total)
            for (int i = total; i >= 0; --i)
                for (int j = total - i; j >= 0; --j)
                    __powers.push_back({i, j, total - i - j});
        solve(pairs);
        measure(pairs, all);
    }

    Point3 operator()(const Point3& p) const override {
        const Point3 q = __frame(p);
        std::vector<double> terms = termsAt(q);
        Point3 result = p;
        for (std::size_t t = 0; t < terms.size(); ++t)
            for (std::size_t a = 0; a < 3; ++a)
                result[a] += terms[t] * __coefficients[t][a] * __frame.scale;
        return result;
    }

private:
    std::vector<double> termsAt(const Point3& q) const {
        std::vector<double> terms;
        terms.reserve(__powers.size());
        for (const auto& powers : __powers) {
            double term = 1;
            for (std::size_t a = 0; a < 3; ++a)
                for (int k = 0; k < powers[a]; ++k)
                    term *= q[a];
            terms.push_back(term);
        }
        return terms;
    }

    /// Orthonormal columns by the modified method of Gram and Schmidt, each twice; then back to the monomials.
    void solve(const ControlPairs& pairs) {
        const std::size_t n = pairs.from.size(), m = __powers.size();
        std::vector<std::vector<double>> columns(m, std::vector<double>(n));
        for (std::size_t k = 0; k < n; ++k) {
            const std::vector<double> terms = termsAt(__frame(pairs.from[k]));
            for (std::size_t t = 0; t < m; ++t)
                columns[t][k] = terms[t];
        }
        std::vector<std::vector<double>> upper(m, std::vector<double>(m, 0));
        std::vector<bool> used(m, false);
        std::vector<double> leverages(n, 0);
        for (std::size_t t = 0; t < m; ++t) {
            std::vector<double>& column = columns[t];
            const double whole = std::sqrt(std::inner_product(column.begin(), column.end(), column.begin(), 0.0));
            for (int pass = 0; pass < 2; ++pass) {
                for (std::size_t s = 0; s < t; ++s) {
                    if (!used[s])
                        continue;
                    const double share = std::inner_product(column.begin(), column.end(), columns[s].begin(), 0.0);
                    upper[s][t] += share;
                    for (std::size_t k = 0; k < n; ++k)
                        column[k] -= share * columns[s][k];
                }
            }
            const double rest = std::sqrt(std::inner_product(column.begin(), column.end(), column.begin(), 0.0));
            used[t] = rest > 1e-9 * whole;
            upper[t][t] = rest;
            for (std::size_t k = 0; k < n && used[t]; ++k) {
                column[k] /= rest;
                leverages[k] += column[k] * column[k];
            }
        }
        __coefficients.assign(m, Point3{0, 0, 0});
        std::vector<Point3> residuals(n);
        for (std::size_t k = 0; k < n; ++k)
            for (std::size_t a = 0; a < 3; ++a)
                residuals[k][a] = (pairs.to[k][a] - pairs.from[k][a]) / __frame.scale;
        std::vector<Point3> shares(m, Point3{0, 0, 0});
        for (std::size_t t = 0; t < m; ++t) {
            for (std::size_t k = 0; k < n && used[t]; ++k)
                for (std::size_t a = 0; a < 3; ++a)
                    shares[t][a] += columns[t][k] * residuals[k][a];
            for (std::size_t k = 0; k < n && used[t]; ++k)
                for (std::size_t a = 0; a < 3; ++a)
                    residuals[k][a] -= columns[t][k] * shares[t][a];
        }
        for (std::size_t t = m; t-- > 0;) {
            if (!used[t])
                continue;
            for (std::size_t a = 0; a < 3; ++a) {
                double value = shares[t][a];
                for (std::size_t s = t + 1; s < m; ++s)
                    value -= used[s] ? upper[t][s] * __coefficients[s][a] : 0;
                __coefficients[t][a] = value / upper[t][t];
            }
        }
        double sum = 0;
        for (std::size_t k = 0; k < n; ++k) {
            const double rest = std::max(1 - leverages[k], 1e-6);
            sum += (residuals[k][0] * residuals[k][0] + residuals[k][1] * residuals[k][1] +
                    residuals[k][2] * residuals[k][2]) /
                   (rest * rest);
        }
        __quality.leaveOneOut = n > 0 ? std::sqrt(sum / double(n)) * __frame.scale : -1;
    }

    Frame __frame;
    std::vector<std::array<int, 3>> __powers;
    std::vector<Point3> __coefficients;
};

} // namespace

void ControlPairs::add(const Point3& place, const Point3& target) {
    from.push_back(place);
    to.push_back(target);
}

void ControlPairs::mergeCoincident() {
    if (from.empty())
        return;
    const double tolerance = std::max(1e-6 * Frame(from).scale, 1e-300);
    // Cells of twice the tolerance: points that coincide are in one cell or in a neighbouring one.
    std::map<std::array<long long, 3>, std::vector<std::size_t>> cells;
    std::vector<Point3> places, sums;
    std::vector<int> counts;
    const Point3 origin = from.front();
    for (std::size_t k = 0; k < from.size(); ++k) {
        std::array<long long, 3> cell{};
        for (std::size_t a = 0; a < 3; ++a)
            cell[a] = static_cast<long long>(std::floor((from[k][a] - origin[a]) / (2 * tolerance)));
        std::size_t found = places.size();
        for (int shift = 0; shift < 27 && found == places.size(); ++shift) {
            const auto at = cells.find({cell[0] + shift % 3 - 1, cell[1] + shift / 3 % 3 - 1, cell[2] + shift / 9 - 1});
            if (at == cells.end())
                continue;
            for (const std::size_t other : at->second)
                if (squareDistance(places[other], from[k]) <= tolerance * tolerance)
                    found = other;
        }
        if (found == places.size()) {
            cells[cell].push_back(found);
            places.push_back(from[k]);
            sums.push_back({0, 0, 0});
            counts.push_back(0);
        }
        for (std::size_t a = 0; a < 3; ++a)
            sums[found][a] += to[k][a];
        ++counts[found];
    }
    for (std::size_t k = 0; k < sums.size(); ++k)
        for (double& x : sums[k])
            x /= counts[k];
    from.swap(places);
    to.swap(sums);
}

void ControlPairs::thin(int most) {
    const int n = getSize();
    if (n <= most)
        return;
    ControlPairs kept;
    for (int k = 0; k < most; ++k) {
        const std::size_t chosen = std::size_t((double(k) + 0.5) * n / most);
        kept.add(from[chosen], to[chosen]);
    }
    *this = std::move(kept);
}

CohortWarp::~CohortWarp() = default;

double CohortWarp::foldedShare(const Point3& low, const Point3& high,
                               const std::function<bool(const Point3&)>& inside) const {
    constexpr int n = 12;
    int folded = 0, counted = 0;
    const double step = 1e-4 * std::sqrt(squareDistance(low, high));
    if (!(step > 0))
        return 0;
    for (int k = 0; k < n * n * n; ++k) {
        const int place[3] = {k % n, k / n % n, k / (n * n)};
        Point3 p;
        for (std::size_t a = 0; a < 3; ++a)
            p[a] = low[a] + (high[a] - low[a]) * (place[a] + 0.5) / n;
        if (inside && !inside(p))
            continue;
        ++counted;
        double j[3][3];
        for (std::size_t b = 0; b < 3; ++b) {
            Point3 before = p, after = p;
            before[b] -= step;
            after[b] += step;
            const Point3 from = (*this)(before), to = (*this)(after);
            for (std::size_t a = 0; a < 3; ++a)
                j[a][b] = (to[a] - from[a]) / (2 * step);
        }
        const double determinant = j[0][0] * (j[1][1] * j[2][2] - j[1][2] * j[2][1]) -
                                   j[0][1] * (j[1][0] * j[2][2] - j[1][2] * j[2][0]) +
                                   j[0][2] * (j[1][0] * j[2][1] - j[1][1] * j[2][0]);
        folded += determinant > 0 ? 0 : 1;
    }
    if (counted == 0)
        return inside ? foldedShare(low, high) : 0;
    return double(folded) / counted;
}

void CohortWarp::measure(const ControlPairs& pairs, const ControlPairs& all) {
    __quality.controls = pairs.getSize();
    double before = 0, after = 0;
    for (std::size_t k = 0; k < all.from.size(); ++k) {
        before += squareDistance(all.from[k], all.to[k]);
        after += squareDistance((*this)(all.from[k]), all.to[k]);
    }
    const double n = std::max(1.0, double(all.from.size()));
    __quality.errorBefore = std::sqrt(before / n);
    __quality.errorAfter = std::sqrt(after / n);
}

std::unique_ptr<CohortWarp> CohortWarp::spline(ControlPairs pairs, double smoothing) {
    pairs.mergeCoincident();
    return std::make_unique<SmoothingSpline>(std::move(pairs), smoothing);
}

std::unique_ptr<CohortWarp> CohortWarp::polynomial(ControlPairs pairs, int degree) {
    pairs.mergeCoincident();
    return std::make_unique<PolynomialFit>(std::move(pairs), degree);
}

} // namespace vorlen
