#include <cmath>

#include <gtest/gtest.h>

#include "numerics/exception.h"
#include "shapes/curvedecimation.h"
#include "shapes/curveresampling.h"
#include "shapes/douglaspeuckercurvedecimation.h"
#include "support/testcurves.h"

namespace vorlen {

namespace {

using Ints = std::vector<int>;

bool inLine(const Vector<int>& p, const Vector<int>& q, const Vector<int>& r) {
    return static_cast<long long>(p[0] - q[0]) * (r[1] - p[1]) == static_cast<long long>(r[0] - p[0]) * (p[1] - q[1]);
}

/// One pass, or passes until one removes nothing, taken word for word: on a list from which vertices are erased. The
/// last two vertices of a closed curve make no triple.
void decimatePlainly(Curve<int>& curve, bool recursive) {
    bool removed;
    do {
        removed = false;
        const bool closed = curve.isClosed();
        for (int k = curve.getSize() - (closed ? 1 : 2); k >= 1; --k) {
            const int n = curve.getSize();
            if (n > 2 && inLine(curve[k], curve[(k + 1) % n], curve[k - 1])) {
                curve.remove(k);
                removed = true;
            }
        }
    } while (recursive && removed);
}

/// The recursion taken word for word, on distances in long double.
template <class T>
void keepPlainly(const Curve<T>& curve, std::vector<bool>& keep, int first, int last, float tolerance) {
    int best = -1;
    float greatest = tolerance;
    for (int k = first + 1; k < last; ++k) {
        const float distance =
            DouglasPeuckerCurveDecimation<T>().findVertexDistance(curve[k], Edge<T>(curve, first, last));
        if (distance > greatest) {
            greatest = distance;
            best = k;
        }
    }
    if (best >= 0) {
        keep[best] = true;
        keepPlainly(curve, keep, first, best, tolerance);
        keepPlainly(curve, keep, best, last, tolerance);
    }
}

template <class T>
Curve<T> simplifiedPlainly(const Curve<T>& curve, int tolerance) {
    const int n = curve.getSize();
    std::vector<bool> keep(std::size_t(n), false);
    keep[0] = keep[n - 1] = true;
    keepPlainly(curve, keep, 0, n - 1, float(tolerance));
    if (curve.isClosed()) {
        const DouglasPeuckerCurveDecimation<T> decimation;
        keep[n - 1] = decimation.findVertexDistance(curve[n - 1], Edge<T>(curve, 0, n - 2)) > float(tolerance);
        keep[0] = !keep[n - 1] || decimation.findVertexDistance(curve[0], Edge<T>(curve, 1, n - 1)) > float(tolerance);
    }
    Curve<T> result(curve);
    for (int k = n - 1; k >= 0; --k) {
        if (!keep[k]) {
            result.remove(k);
        }
    }
    return result;
}

template <class T>
Curve<T> simplified(Curve<T> curve, int tolerance) {
    DouglasPeuckerCurveDecimation<T> decimation;
    decimation.setTolerance(tolerance);
    decimation.apply(curve);
    return curve;
}

/// A walk on the lattice, with many runs on one line.
Curve<int> walk(int n, unsigned int seed, bool open) {
    std::mt19937 random(seed);
    Curve<int> curve(2, n, n, n, open);
    Vector<int> step = vectorOf<int>({1, 0});
    Vector<int> place = vectorOf<int>({0, 0});
    for (int k = 0; k < n; ++k) {
        curve[k] = place;
        if (random() % 3 == 0) {
            step = vectorOf<int>({int(random() % 3) - 1, int(random() % 3) - 1});
        }
        place += step;
    }
    return curve;
}

} // namespace

TEST(CurveDecimation, removesWhatIsInLineAndKeepsTheFirstVertex) {
    CurveDecimation<int> decimation;
    EXPECT_FALSE(decimation.isRecursive());
    Curve<int> square = curveOf<int>({{2, 0}, {3, 0}, {4, 0}, {4, 2}, {4, 4}, {2, 4}, {0, 4}, {0, 1}, {0, 0}, {1, 0}});
    decimation.setRecursive(true);
    decimation.apply(square);
    EXPECT_EQ(coordinatesOf(square), (Ints{2, 0, 4, 0, 4, 4, 0, 4, 0, 0}));
    Curve<int> run = curveOf<int>({{0, 0}, {1, 1}, {2, 2}, {2, 2}, {5, 5}, {4, 4}, {9, 9}}, true);
    decimation.setRecursive(false);
    decimation.apply(run);
    EXPECT_EQ(coordinatesOf(run), (Ints{0, 0, 9, 9}));
    Curve<int> flat = curveOf<int>({{0, 0}, {3, 0}, {5, 0}, {1, 0}});
    decimation.apply(flat);
    EXPECT_EQ(flat.getSize(), 2);
    for (const int n : {0, 1, 2}) {
        Curve<int> small(2, n, n, n, true);
        decimation.apply(small);
        EXPECT_EQ(small.getSize(), n);
    }
    // The products of such differences do not fit in 64 bits of int.
    Curve<int> wide = curveOf<int>({{-2000000000, -2000000000}, {0, 1}, {2000000000, 2000000000}}, true);
    decimation.apply(wide);
    EXPECT_EQ(wide.getSize(), 3);
}

TEST(CurveDecimation, doesWhatThePassesDo) {
    for (unsigned int seed = 0; seed < 200; ++seed) {
        for (const bool recursive : {false, true}) {
            Curve<int> plain = walk(1 + int(seed * 3 % 70), seed, seed % 2 == 0);
            Curve<int> curve(plain);
            decimatePlainly(plain, recursive);
            CurveDecimation<int> decimation;
            decimation.setRecursive(recursive);
            decimation.apply(curve);
            EXPECT_EQ(coordinatesOf(curve), coordinatesOf(plain)) << seed << ' ' << recursive;
        }
    }
}

TEST(DouglasPeucker, keepsWhatTheRecursionKeeps) {
    for (unsigned int seed = 0; seed < 150; ++seed) {
        const int n = 3 + int(seed * 17 % 300);
        for (const int tolerance : {0, 1, 5, 40}) {
            const Curve<int> lattice = walk(n, seed, seed % 2 == 0);
            EXPECT_EQ(coordinatesOf(simplified(lattice, tolerance)),
                      coordinatesOf(simplifiedPlainly(lattice, tolerance)))
                << seed << ' ' << tolerance;
            const Curve<float> scattered(randomVertices<float>(2, n, 60, seed), seed % 2 == 0);
            EXPECT_EQ(coordinatesOf(simplified(scattered, tolerance)),
                      coordinatesOf(simplifiedPlainly(scattered, tolerance)))
                << seed << ' ' << tolerance;
            const Curve<double> space(randomVertices<double>(3, n, 60, seed), seed % 2 == 0);
            EXPECT_EQ(coordinatesOf(simplified(space, tolerance)), coordinatesOf(simplifiedPlainly(space, tolerance)));
        }
    }
}

TEST(DouglasPeucker, measuresDistancesToTheInfiniteLine) {
    const DouglasPeuckerCurveDecimation<int> decimation;
    const Curve<int> chord = curveOf<int>({{0, 0}, {10, 0}, {3, 3}, {3, 3}}, true);
    const Edge<int> edge(chord, 0, 1);
    EXPECT_EQ(decimation.findVertexDistance(vectorOf<int>({5, 3}), edge), 3);
    EXPECT_EQ(decimation.findVertexDistance(vectorOf<int>({1000, 0}), edge), 0);
    EXPECT_EQ(decimation.findVertexDistance(vectorOf<int>({-7, -4}), edge), 4);
    EXPECT_TRUE(std::isnan(decimation.findVertexDistance(vectorOf<int>({5, 3}), Edge<int>(chord, 2, 3))));
    const Curve<double> space = curveOf<double>({{0, 0, 0}, {0, 0, 9}}, true);
    const float distance = DouglasPeuckerCurveDecimation<double>().findVertexDistance(vectorOf<double>({3, 4, 50}),
                                                                                      Edge<double>(space, 0, 1));
    EXPECT_EQ(distance, 5);
    DouglasPeuckerCurveDecimation<int> numbered;
    const Curve<int> bump = curveOf<int>({{9, 9}, {0, 0}, {1, 2}, {2, 3}, {4, 0}}, true);
    const Vector<float>& distances = numbered.findVerticesDistances(bump, 1, 4);
    EXPECT_EQ(distances[2], 2);
    EXPECT_EQ(distances[3], 3);
}

TEST(DouglasPeucker, toleranceMustBeExceeded) {
    const Curve<int> tooth = curveOf<int>({{0, 0}, {5, 3}, {10, 0}}, true);
    EXPECT_EQ(simplified(tooth, 2).getSize(), 3);
    EXPECT_EQ(simplified(tooth, 3).getSize(), 2);
    EXPECT_EQ(simplified(tooth, -5).getSize(), 3);
    const Curve<int> straight = curveOf<int>({{0, 0}, {1, 0}, {7, 0}, {10, 0}}, true);
    EXPECT_EQ(coordinatesOf(simplified(straight, 0)), (Ints{0, 0, 10, 0}));
    EXPECT_EQ(simplified(curveOf<int>({{0, 0}, {1, 1}}), 100).getSize(), 2);
}

TEST(DouglasPeucker, putsTheEndsOfAClosedCurveToTheTest) {
    // The last vertex lies on the line of its neighbours, the first would too.
    const Curve<int> last = curveOf<int>({{0, 0}, {10, 0}, {10, 10}, {0, 10}, {0, 5}});
    EXPECT_EQ(coordinatesOf(simplified(last, 1)), (Ints{0, 0, 10, 0, 10, 10, 0, 10}));
    const Curve<int> first = curveOf<int>({{5, 0}, {10, 0}, {10, 10}, {0, 10}, {0, 0}});
    EXPECT_EQ(coordinatesOf(simplified(first, 1)), (Ints{10, 0, 10, 10, 0, 10, 0, 0}));
}

// A run on a spiral splits near its end each time: a recursion would be as deep as the curve is long.
TEST(DouglasPeucker, copesWithLongUnbalancedCurves) {
    const int n = 200000;
    Curve<double> spiral(2, n, n, n, true);
    for (int k = 0; k < n; ++k) {
        const double angle = 0.02 * k;
        spiral[k][0] = (10 + 0.5 * k) * std::cos(angle);
        spiral[k][1] = (10 + 0.5 * k) * std::sin(angle);
    }
    const int kept = simplified(spiral, 1).getSize();
    EXPECT_GT(kept, 100);
    EXPECT_LT(kept, n);
}

TEST(CurveResampling, walksEvenlyAlongBothKindsOfCurves) {
    const Curve<double> side = curveOf<double>({{0, 0}, {1, 0}, {1, 1}, {0, 1}});
    Curve<double> out;
    CurveResampling<double>().apply(side, out, 4);
    EXPECT_EQ(coordinatesOf(out), coordinatesOf(side));
    EXPECT_TRUE(out.isClosed());
    CurveResampling<double>().apply(side, out, 1);
    EXPECT_EQ(coordinatesOf(out), (std::vector<double>{0, 0}));
    CurveResampling<double>().apply(Curve<double>(side, true), out, 7);
    EXPECT_TRUE(out.isOpen());
    EXPECT_EQ(coordinatesOf(out), (std::vector<double>{0, 0, 0.5, 0, 1, 0, 1, 0.5, 1, 1, 0.5, 1, 0, 1}));
    CurveResampling<double>().resamplePolyline(side, out, 2);
    EXPECT_EQ(coordinatesOf(out), (std::vector<double>{0, 0, 0, 1}));
    CurveResampling<double>().apply(side, out, -3);
    EXPECT_EQ(out.getSize(), 0);
    EXPECT_THROW(CurveResampling<double>().apply(Curve<double>(), out, 2), SizeError);
}

// Along each curve, the length up to vertex k of the result is k steps: found by walking back to the input.
TEST(CurveResampling, everyVertexLiesOnTheCurveAtItsOwnLength) {
    for (unsigned int seed = 1; seed < 20; ++seed) {
        const Curve<double> in(randomVertices<double>(3, 2 + int(seed), 10, seed), seed % 2 == 0);
        const int m = 3 + int(seed * 5 % 40);
        Curve<double> out;
        CurveResampling<double>().apply(in, out, m);
        ASSERT_EQ(out.getSize(), m);
        const double step = in.length() / (in.isOpen() ? m - 1 : m);
        for (int k = 0; k < m; ++k) {
            double from = 0;
            double nearest = 1e9;
            for (ConstEdgeIterator<double> it(in); it.current(); ++it) {
                const Vector<double>& a = (*it.current())[0];
                const Vector<double>& b = (*it.current())[1];
                const double length = a.distance(b);
                if (from <= k * step + 1e-9 && k * step <= from + length + 1e-9 && length > 0) {
                    nearest = std::min(nearest, out[k].distance(a + (b - a) * ((k * step - from) / length)));
                }
                from += length;
            }
            EXPECT_LT(nearest, 1e-8) << seed << ' ' << k;
        }
    }
}

TEST(CurveResampling, aCurveMayBeResampledOntoItself) {
    Curve<double> curve = polygonOf<double>(6, 2);
    Curve<double> expected;
    CurveResampling<double>().apply(curve, expected, 9);
    CurveResampling<double>().apply(curve, curve, 9);
    EXPECT_EQ(coordinatesOf(curve), coordinatesOf(expected));
    Curve<double> six;
    CurveResampling<double>().apply(curve, six, 9);
    CurveResampling<double>().apply(curve, curve, 9);
    EXPECT_EQ(coordinatesOf(curve), coordinatesOf(six));
}

} // namespace vorlen
