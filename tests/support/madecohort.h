#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <memory>
#include <vector>

#include "shapes/curvestack.h"
#include "shapes/quadmesh.h"
#include "shapes/shapeset.h"

namespace vorlen {

/// Numbers from a seed, the same on every machine.
class MadeNumbers {
public:
    explicit MadeNumbers(std::uint64_t seed) : __state(seed * 0x9e3779b97f4a7c15ULL + 0x1234567ULL) {}

    /// Evenly from 0 to 1.
    double unit() {
        __state += 0x9e3779b97f4a7c15ULL;
        std::uint64_t z = __state;
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
        return double((z ^ (z >> 31)) >> 11) * 0x1.0p-53;
    }
    /// Of mean 0 and deviation 1, from 12 even ones.
    double normal() {
        double sum = -6;
        for (int k = 0; k < 12; ++k)
            sum += unit();
        return sum;
    }
    /// Evenly between -most and most.
    double within(double most) { return most * (2 * unit() - 1); }

private:
    std::uint64_t __state;
};

/// How the specimens of a made cohort differ. Lengths are in units of which the body is 200 long.
struct CohortRecipe {
    int specimens = 5;
    double tilt = 25;        ///< greatest angle between the body's axis and the cutting's, in degrees
    double turn = 180;       ///< greatest turn about the cutting's axis, in degrees
    bool otherEnd = false;   ///< every second specimen is cut from the other end
    bool incomplete = false; ///< every third specimen lacks a quarter of its sections
    double asymmetry = 0.06; ///< how far the kind differs from an ellipsoid of three axes, in shares of the radius
    double variation = 0.01; ///< of the specimens about the kind, in shares of the radius
    bool core = true;        ///< there is a second structure inside
    int sections = 40;
    int height = 30, width = 40; ///< of the surfaces
};

/// A body r(u) = R(u) (1 + waves) about a centre, cut into plane sections, as a specimen is.
class MadeSpecimen {
public:
    using Point = std::array<double, 3>;

    MadeSpecimen(const CohortRecipe& recipe, std::uint64_t seed, int rank) : __recipe(recipe) {
        MadeNumbers own(seed * 1000 + std::uint64_t(rank) + 1);
        for (double& wave : __own)
            wave = recipe.variation * own.normal();
        const double pi = 3.14159265358979323846;
        const double lean = recipe.tilt * pi / 180 * own.unit(), towards = 2 * pi * own.unit();
        const double turn = recipe.turn * pi / 180 * (2 * own.unit() - 1);
        const bool over = recipe.otherEnd && rank % 2 == 1;
        turnAbout({std::cos(towards), std::sin(towards), 0}, lean);
        turnAbout({0, 0, 1}, turn);
        if (over)
            turnAbout({1, 0, 0}, pi);
        for (double& shift : __shift)
            shift = own.within(50);
        if (recipe.incomplete && rank % 3 == 2)
            (own.unit() < 0.5 ? __lowShare : __highShare) = rank % 2 == 0 ? 0.25 : 0.75;
        if (__lowShare > 0)
            __lowShare = 0.25;
        if (__highShare < 1)
            __highShare = 0.75;
    }

    /// The place of a landmark of the kind in this specimen, as cut.
    Point landmark(int k) const {
        MadeNumbers numbers(std::uint64_t(k) + 77);
        Point u;
        double length = 0;
        for (double& x : u) {
            x = numbers.normal();
            length += x * x;
        }
        for (double& x : u)
            x /= std::sqrt(length);
        const double r = radius(u, false);
        return place({r * u[0], r * u[1], r * u[2]});
    }

    /// A structure as it is drawn: its contours on plane sections, resampled.
    std::unique_ptr<QuadMesh<float>> surface(bool core) const {
        double low = 1e300, high = -1e300;
        const Point centre = place(core ? coreCentre() : Point{0, 0, 0});
        MadeNumbers numbers(5);
        for (int k = 0; k < 2000; ++k) {
            Point u = {numbers.normal(), numbers.normal(), numbers.normal()};
            const double length = std::sqrt(u[0] * u[0] + u[1] * u[1] + u[2] * u[2]);
            for (double& x : u)
                x /= length;
            const double r = radius(u, core);
            Point p = {r * u[0], r * u[1], r * u[2]};
            if (core)
                for (std::size_t i = 0; i < 3; ++i)
                    p[i] += coreCentre()[i];
            const double z = place(p)[2];
            low = std::min(low, z);
            high = std::max(high, z);
        }
        const double whole = high - low;
        const double from = core ? low : low + __lowShare * whole, to = core ? high : low + __highShare * whole;
        const int levels = core ? std::max(__recipe.sections / 3, 6) : __recipe.sections;
        CurveStack<float> contours(3, 0, 0, 0, 0, false);
        for (int l = 0; l < levels; ++l) {
            const double z = from + (to - from) * (l + 0.5) / levels;
            // The middle of the section, for bodies about as long as they are straight.
            Point middle = {centre[0], centre[1], z};
            const Point axis = {__rotation[0][2], __rotation[1][2], __rotation[2][2]};
            for (std::size_t i = 0; i < 2; ++i)
                middle[i] += std::fabs(axis[2]) > 0.2 ? axis[i] / axis[2] * (z - centre[2]) * 0.8 : 0;
            if (!inside(middle, core))
                continue;
            Curve<float> curve(3, 60, 60, 60, false);
            const double start = 6.283185307179586 * 0.37 * l;
            for (int k = 0; k < 60; ++k) {
                const double angle = start + 6.283185307179586 * k / 60;
                const double c = std::cos(angle), s = std::sin(angle);
                double near = 0, far = 300;
                for (int step = 0; step < 40; ++step) {
                    const double half = (near + far) / 2;
                    (inside({middle[0] + half * c, middle[1] + half * s, z}, core) ? near : far) = half;
                }
                curve[k][0] = float(middle[0] + near * c);
                curve[k][1] = float(middle[1] + near * s);
                curve[k][2] = float(z);
            }
            contours.append(curve);
        }
        auto mesh = std::make_unique<QuadMesh<float>>(contours.resample(__recipe.height, __recipe.width));
        mesh->detach();
        mesh->setName(core ? "core" : "body");
        return mesh;
    }

    /// The body's own coordinates as they lie after cutting.
    Point place(const Point& p) const {
        Point q;
        for (std::size_t i = 0; i < 3; ++i)
            q[i] = __rotation[i][0] * p[0] + __rotation[i][1] * p[1] + __rotation[i][2] * p[2] + __shift[i];
        return q;
    }

    const std::array<std::array<double, 3>, 3>& rotation() const { return __rotation; }

private:
    static Point coreCentre() { return {8, 14, 22}; }

    void turnAbout(const Point& axis, double angle) {
        const double c = std::cos(angle), s = std::sin(angle);
        std::array<std::array<double, 3>, 3> turned{};
        for (std::size_t j = 0; j < 3; ++j) {
            const Point v = {__rotation[0][j], __rotation[1][j], __rotation[2][j]};
            const double along = axis[0] * v[0] + axis[1] * v[1] + axis[2] * v[2];
            const Point cross = {axis[1] * v[2] - axis[2] * v[1], axis[2] * v[0] - axis[0] * v[2],
                                 axis[0] * v[1] - axis[1] * v[0]};
            for (std::size_t i = 0; i < 3; ++i)
                turned[i][j] = v[i] * c + cross[i] * s + axis[i] * along * (1 - c);
        }
        __rotation = turned;
    }

    /// Radius in this direction: an ellipsoid, the kind's waves, and the specimen's own.
    double radius(const Point& u, bool core) const {
        const double a = core ? 16 : 45, b = core ? 20 : 60, c = core ? 24 : 100;
        const double plain = 1 / std::sqrt(u[0] * u[0] / (a * a) + u[1] * u[1] / (b * b) + u[2] * u[2] / (c * c));
        const double x = u[0], y = u[1], z = u[2];
        const double kind = z * (5 * z * z - 3) / 2 + 0.8 * y * (5 * z * z - 1) / 2 + x * y * z * 2.5 + x * (1 - x * x);
        const double waves[12] = {x,
                                  y,
                                  z,
                                  x * y,
                                  y * z,
                                  x * z,
                                  x * x - y * y,
                                  1.5 * z * z - 0.5,
                                  x * y * z * 3,
                                  z * (5 * z * z - 3) / 2,
                                  x * (5 * z * z - 1) / 2,
                                  y * (5 * z * z - 1) / 2};
        double own = 0;
        for (std::size_t k = 0; k < 12; ++k)
            own += __own[k] * waves[k];
        return plain * (1 + __recipe.asymmetry * kind + own);
    }

    bool inside(const Point& q, bool core) const {
        Point p;
        for (std::size_t i = 0; i < 3; ++i)
            p[i] = __rotation[0][i] * (q[0] - __shift[0]) + __rotation[1][i] * (q[1] - __shift[1]) +
                   __rotation[2][i] * (q[2] - __shift[2]);
        if (core)
            for (std::size_t i = 0; i < 3; ++i)
                p[i] -= coreCentre()[i];
        const double length = std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]);
        return length < 1e-9 || length < radius({p[0] / length, p[1] / length, p[2] / length}, core);
    }

    CohortRecipe __recipe;
    std::array<std::array<double, 3>, 3> __rotation = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    Point __shift = {0, 0, 0};
    std::array<double, 12> __own{};
    double __lowShare = 0, __highShare = 1;
};

/// Root mean square distance of landmarks to their means over the specimens: places[specimen][landmark].
inline double landmarkSpread(const std::vector<std::vector<MadeSpecimen::Point>>& places) {
    double sum = 0;
    int count = 0;
    for (std::size_t k = 0; k < places.front().size(); ++k) {
        MadeSpecimen::Point mean = {0, 0, 0};
        for (const auto& specimen : places)
            for (std::size_t i = 0; i < 3; ++i)
                mean[i] += specimen[k][i] / double(places.size());
        for (const auto& specimen : places) {
            for (std::size_t i = 0; i < 3; ++i)
                sum += (specimen[k][i] - mean[i]) * (specimen[k][i] - mean[i]);
            ++count;
        }
    }
    return std::sqrt(sum / count);
}

/// The same after the best rigid motion of each specimen, as fitted on the landmarks themselves.
inline double directSpread(const std::vector<std::vector<MadeSpecimen::Point>>& places) {
    const int n = int(places.front().size());
    std::vector<Vertices<double>> clouds;
    for (const auto& specimen : places) {
        Vertices<double> cloud(3, n, n, n);
        for (int k = 0; k < n; ++k)
            for (int i = 0; i < 3; ++i)
                cloud[k][i] = specimen[std::size_t(k)][std::size_t(i)];
        clouds.push_back(cloud);
    }
    Vertices<double> mean(3, n, n, n);
    for (int round = 0; round < 20; ++round) {
        for (int k = 0; k < n; ++k)
            for (int i = 0; i < 3; ++i) {
                double sum = 0;
                for (const auto& cloud : clouds)
                    sum += cloud[k][i] / double(clouds.size());
                mean[k][i] = round == 0 ? clouds[0][k][i] : sum;
            }
        for (auto& cloud : clouds) {
            Vector<double> translation;
            SquareMatrix<double> rotation;
            cloud.computeLSRegistration(translation, rotation, mean);
            for (int k = 0; k < n; ++k) {
                Vector<double> image = rotation * cloud[k];
                image += translation;
                cloud[k] = image;
            }
        }
    }
    std::vector<std::vector<MadeSpecimen::Point>> moved = places;
    for (std::size_t s = 0; s < moved.size(); ++s)
        for (int k = 0; k < n; ++k)
            for (int i = 0; i < 3; ++i)
                moved[s][std::size_t(k)][std::size_t(i)] = clouds[s][k][i];
    return landmarkSpread(moved);
}

} // namespace vorlen
