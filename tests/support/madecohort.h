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

/// Those of the twelve waves of a made specimen that no motion resembles: a broader section, a longer body, a twist.
constexpr unsigned motionlessWaves = 0x1c0;

/// How the specimens of a made cohort differ. Lengths are in units of which the body is 200 long.
struct CohortRecipe {
    int specimens = 5;
    double tilt = 25;        ///< greatest angle between the body's axis and the cutting's, in degrees
    double turn = 180;       ///< greatest turn about the cutting's axis, in degrees
    bool otherEnd = false;   ///< every second specimen is cut from the other end
    bool incomplete = false; ///< every third specimen lacks a quarter of its sections
    double asymmetry = 0.06; ///< how far the kind differs from an ellipsoid of three axes, in shares of the radius
    double variation = 0.01; ///< of the specimens about the kind, in shares of the radius
    unsigned waves = 0xfff;  ///< which of the twelve waves that variation is made of, by bits
    bool core = true;        ///< there is a second structure inside
    int sections = 40;
    int height = 30, width = 40; ///< of the surfaces
};

/// A body r(u) = R(u) (1 + waves) about a centre, cut into plane sections, as a specimen is.
class MadeSpecimen {
public:
    using Point = std::array<double, 3>;

    static Point cross(const Point& a, const Point& b) {
        return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
    }

    static Point unit(const Point& v) {
        const double length = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
        return {v[0] / length, v[1] / length, v[2] / length};
    }

    MadeSpecimen(const CohortRecipe& recipe, std::uint64_t seed, int rank) : __recipe(recipe) {
        MadeNumbers own(seed * 1000 + std::uint64_t(rank) + 1);
        for (std::size_t k = 0; k < __own.size(); ++k)
            __own[k] = recipe.variation * own.normal() * (recipe.waves >> k & 1);
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

    /// The place of a landmark of the kind in this specimen, in the body's own coordinates.
    Point ownLandmark(int k) const {
        MadeNumbers numbers(std::uint64_t(k) + 77);
        const Point u = unit({numbers.normal(), numbers.normal(), numbers.normal()});
        const double r = radius(u, false);
        return {r * u[0], r * u[1], r * u[2]};
    }

    /// The same as cut.
    Point landmark(int k) const { return place(ownLandmark(k)); }

    /// A place on a structure's surface in the body's own coordinates: the same u is the same place of the kind in all
    /// specimens.
    struct Place {
        Point point;
        Point normal; ///< outward, of length 1
        double area;  ///< of the surface, for each unit of area of the sphere of u
    };

    /// The place in the direction u, of length 1, from the structure's centre.
    Place surfacePlace(const Point& u, bool core) const {
        const Point rough = std::fabs(u[0]) < 0.8 ? Point{1, 0, 0} : Point{0, 1, 0};
        const Point one = unit(cross(u, rough)), two = cross(u, one);
        const double h = 1e-5;
        const auto along = [&](const Point& side) {
            Point difference;
            const Point more = unit({u[0] + h * side[0], u[1] + h * side[1], u[2] + h * side[2]});
            const Point less = unit({u[0] - h * side[0], u[1] - h * side[1], u[2] - h * side[2]});
            const double far = radius(more, core), near = radius(less, core);
            for (std::size_t i = 0; i < 3; ++i)
                difference[i] = (far * more[i] - near * less[i]) / (2 * h);
            return difference;
        };
        const Point product = cross(along(one), along(two));
        const double r = radius(u, core);
        const Point centre = core ? coreCentre() : Point{0, 0, 0};
        return {{centre[0] + r * u[0], centre[1] + r * u[1], centre[2] + r * u[2]},
                unit(product),
                std::sqrt(product[0] * product[0] + product[1] * product[1] + product[2] * product[2])};
    }

    /// The heights that the cut structure begins and ends at.
    std::array<double, 2> heights(bool core) const {
        double low = 1e300, high = -1e300;
        MadeNumbers numbers(5);
        for (int k = 0; k < 2000; ++k) {
            const Point u = unit({numbers.normal(), numbers.normal(), numbers.normal()});
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
        return {core ? low : low + __lowShare * whole, core ? high : low + __highShare * whole};
    }

    /// A structure as it is drawn: its contours on plane sections, resampled.
    std::unique_ptr<QuadMesh<float>> surface(bool core) const {
        const Point centre = place(core ? coreCentre() : Point{0, 0, 0});
        const auto [from, to] = heights(core);
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
        Point q = turned(p);
        for (std::size_t i = 0; i < 3; ++i)
            q[i] += __shift[i];
        return q;
    }

    const std::array<std::array<double, 3>, 3>& rotation() const { return __rotation; }
    const CohortRecipe& recipe() const { return __recipe; }

private:
    static Point coreCentre() { return {8, 14, 22}; }

    Point turned(const Point& p) const {
        Point q;
        for (std::size_t i = 0; i < 3; ++i)
            q[i] = __rotation[i][0] * p[0] + __rotation[i][1] * p[1] + __rotation[i][2] * p[2];
        return q;
    }

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

/// Spread of the first so many landmarks when each specimen is moved by the best rigid motion for its faces, though it
/// is known which place of the one corresponds to which of the other: least squares of the distances along the normals,
/// to the mean of all, each structure of equal weight, without what was cut off.
///
/// No registration by surfaces can do better but by chance, since sliding along a surface doesn't show. Where specimens
/// vary like a motion (a bulge to the one side and a dent on the other are a shift), it is far from directSpread().
inline double facesSpread(const std::vector<MadeSpecimen>& specimens, int numLandmarks, int numPlaces = 1500) {
    using Point = MadeSpecimen::Point;
    struct Specimen {
        std::vector<Point> points, normals, landmarks;
        std::vector<double> areas;
    };
    const int structures = specimens.front().recipe().core ? 2 : 1;
    const std::size_t n = std::size_t(structures) * std::size_t(numPlaces);
    std::vector<Specimen> all;
    for (const MadeSpecimen& specimen : specimens) {
        Specimen made;
        for (int s = 0; s < structures; ++s) {
            const auto [from, to] = specimen.heights(s == 1);
            double whole = 0;
            for (int k = 0; k < numPlaces; ++k) {
                const double z = 1 - 2 * (k + 0.5) / numPlaces, angle = 2.399963229728653 * k; // evenly on a sphere
                const double across = std::sqrt(1 - z * z);
                const auto found =
                    specimen.surfacePlace({across * std::cos(angle), across * std::sin(angle), z}, s == 1);
                const double height = specimen.place(found.point)[2];
                made.points.push_back(found.point);
                made.normals.push_back(found.normal);
                made.areas.push_back(height < from || height > to ? 0 : found.area);
                whole += found.area;
            }
            for (std::size_t k = made.areas.size() - std::size_t(numPlaces); k < made.areas.size(); ++k)
                made.areas[k] /= whole;
        }
        for (int k = 0; k < numLandmarks; ++k)
            made.landmarks.push_back(specimen.ownLandmark(k));
        all.push_back(made);
    }
    for (int round = 0; round < 20; ++round) {
        std::vector<Point> means(n, Point{0, 0, 0}), normals(n, Point{0, 0, 0});
        for (std::size_t k = 0; k < n; ++k) {
            double sum = 0;
            for (const Specimen& specimen : all)
                sum += specimen.areas[k];
            for (const Specimen& specimen : all)
                for (std::size_t i = 0; i < 3 && sum > 0; ++i) {
                    means[k][i] += specimen.areas[k] / sum * specimen.points[k][i];
                    normals[k][i] += specimen.areas[k] / sum * specimen.normals[k][i];
                }
        }
        for (Specimen& specimen : all) {
            SquareMatrix<double> system(6);
            Vector<double> right(6);
            system.setZeros();
            right.setZeros();
            for (std::size_t k = 0; k < n; ++k) {
                const Point arm = MadeSpecimen::cross(specimen.points[k], normals[k]);
                const double row[6] = {arm[0], arm[1], arm[2], normals[k][0], normals[k][1], normals[k][2]};
                double distance = 0;
                for (std::size_t i = 0; i < 3; ++i)
                    distance += (means[k][i] - specimen.points[k][i]) * normals[k][i];
                for (int i = 0; i < 6; ++i) {
                    right[i] += specimen.areas[k] * row[i] * distance;
                    for (int j = 0; j < 6; ++j)
                        system(i, j) += specimen.areas[k] * row[i] * row[j];
                }
            }
            const Vector<double> motion = system.inverse() * right;
            const Point axis = {motion[0], motion[1], motion[2]};
            const double angle = std::sqrt(axis[0] * axis[0] + axis[1] * axis[1] + axis[2] * axis[2]);
            const auto turn = [&](Point& p) {
                if (angle < 1e-15)
                    return;
                const Point u = MadeSpecimen::unit(axis);
                const Point side = MadeSpecimen::cross(u, p);
                const double along = u[0] * p[0] + u[1] * p[1] + u[2] * p[2];
                for (std::size_t i = 0; i < 3; ++i)
                    p[i] = p[i] * std::cos(angle) + side[i] * std::sin(angle) + u[i] * along * (1 - std::cos(angle));
            };
            const auto move = [&](Point& p) {
                turn(p);
                for (std::size_t i = 0; i < 3; ++i)
                    p[i] += motion[int(i) + 3];
            };
            std::for_each(specimen.points.begin(), specimen.points.end(), move);
            std::for_each(specimen.landmarks.begin(), specimen.landmarks.end(), move);
            std::for_each(specimen.normals.begin(), specimen.normals.end(), turn);
        }
    }
    std::vector<std::vector<Point>> places;
    for (const Specimen& specimen : all)
        places.push_back(specimen.landmarks);
    return landmarkSpread(places);
}

} // namespace vorlen
