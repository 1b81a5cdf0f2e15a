#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <unistd.h>

#include <benchmark/benchmark.h>

#include "compare.h"
#include "inputs.h"
#include "shapes/curvestack.h"
#include "shapes/douglaspeuckercurvedecimation.h"
#include "shapes/quadmesh.h"
#include "shapes/selfcontact.h"

namespace vorlen {

namespace {

struct Point {
    float x, y, z;
};

float distance(const Point& a, const Point& b) {
    return std::sqrt((a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y) + (a.z - b.z) * (a.z - b.z));
}

Point between(const Point& a, const Point& b, float t) {
    return {a.x + t * (b.x - a.x), a.y + t * (b.y - a.y), a.z + t * (b.z - a.z)};
}

/// Contours of n vertices each, turned and shaped a little differently from level to level.
CurveStack<float> contours(int levels, int n) {
    CurveStack<float> stack(3, levels, n, 0, 0, false);
    for (int l = 0; l < levels; ++l) {
        const std::vector<int> points = inputs::contour(n, 3000, 0.1 * l);
        for (int k = 0; k < n; ++k) {
            Vector<float>& v = stack[l][k];
            v[0] = float(points[2 * std::size_t(k)]);
            v[1] = float(points[2 * std::size_t(k) + 1]);
            v[2] = 10 * float(l);
        }
    }
    return stack;
}

void resample(benchmark::State& state) {
    const int n = int(state.range(0));
    const CurveStack<float> stack = contours(n / 10, n);
    for (auto _ : state) {
        const QuadMesh<float> mesh = stack.resample(n / 10, n / 2);
        benchmark::DoNotOptimize(mesh[0][0][0]);
    }
}

/// Spreads m points along a chain; a closed one returns to its first point.
std::vector<Point> spread(const std::vector<Point>& chain, int m, bool closed) {
    const std::size_t n = chain.size();
    std::vector<float> lengths(1, 0.0f);
    for (std::size_t k = 1; k < n + (closed ? 1 : 0); ++k)
        lengths.push_back(lengths.back() + distance(chain[k - 1], chain[k % n]));
    const float step = lengths.back() / float(closed ? m : m - 1);
    std::vector<Point> out(1, chain[0]);
    std::size_t end = 1;
    for (int k = 1; k < (closed ? m : m - 1); ++k) {
        while (end + 1 < lengths.size() && lengths[end] < float(k) * step)
            ++end;
        out.push_back(between(chain[end - 1], chain[end % n],
                              (float(k) * step - lengths[end - 1]) / (lengths[end] - lengths[end - 1])));
    }
    if (!closed)
        out.push_back(chain.back());
    return out;
}

/// The same surface by the definition: every offset of a level is tried against the level below.
void resampleReference(benchmark::State& state) {
    const int n = int(state.range(0));
    const int levels = n / 10;
    const int width = n / 2;
    const CurveStack<float> stack = contours(levels, n);
    for (auto _ : state) {
        std::vector<std::vector<Point>> rows;
        for (int l = 0; l < levels; ++l) {
            std::vector<Point> chain;
            for (int k = 0; k < n; ++k)
                chain.push_back({stack[l][k][0], stack[l][k][1], stack[l][k][2]});
            std::vector<Point> row = spread(chain, width, true);
            int best = 0;
            double bestScore = 0;
            for (int d = 0; l > 0 && d < width; ++d) {
                double score = 0;
                for (int k = 0; k < width; ++k) {
                    const Point& a = row[std::size_t((k + d) % width)];
                    const Point& b = rows.back()[std::size_t(k)];
                    score += a.x * b.x + a.y * b.y + a.z * b.z;
                }
                if (d == 0 || score > bestScore) {
                    best = d;
                    bestScore = score;
                }
            }
            std::rotate(row.begin(), row.begin() + best, row.end());
            rows.push_back(row);
        }
        for (int c = 0; c < width; ++c) {
            std::vector<Point> column;
            for (const std::vector<Point>& row : rows)
                column.push_back(row[std::size_t(c)]);
            benchmark::DoNotOptimize(spread(column, levels, false));
        }
    }
}

/// In whole pixels the contour ends where it started; without these vertices there is a line through its two ends.
std::vector<int> contourPoints(int n, double radius) {
    std::vector<int> points = inputs::contour(n, radius, 0);
    while (points.size() > 2 && points.end()[-2] == points[0] && points.end()[-1] == points[1])
        points.resize(points.size() - 2);
    return points;
}

Curve<int> contourCurve(int numPoints, double radius) {
    const std::vector<int> points = contourPoints(numPoints, radius);
    const int n = int(points.size() / 2);
    Curve<int> curve(2, n, n, n, false);
    for (int k = 0; k < n; ++k) {
        curve[k][0] = points[2 * std::size_t(k)];
        curve[k][1] = points[2 * std::size_t(k) + 1];
    }
    return curve;
}

void douglasPeucker(benchmark::State& state) {
    const Curve<int> contour = contourCurve(1000000, 40000);
    DouglasPeuckerCurveDecimation<int> decimation;
    decimation.setTolerance(1);
    int kept = 0;
    for (auto _ : state) {
        state.PauseTiming();
        Curve<int> curve(contour);
        state.ResumeTiming();
        decimation.apply(curve);
        kept = curve.getSize();
    }
    state.counters["kept"] = kept;
}

void douglasPeuckerReference(benchmark::State& state) {
    const std::vector<int> points = contourPoints(1000000, 40000);
    std::size_t kept = 0;
    for (auto _ : state) {
        std::vector<bool> keep(points.size() / 2, false);
        keep.front() = keep.back() = true;
        std::vector<std::pair<std::size_t, std::size_t>> runs{{0, keep.size() - 1}};
        kept = 2;
        while (!runs.empty()) {
            const auto [first, last] = runs.back();
            runs.pop_back();
            const double ax = points[2 * first], ay = points[2 * first + 1];
            const double dx = points[2 * last] - ax, dy = points[2 * last + 1] - ay;
            double greatest = std::sqrt(dx * dx + dy * dy);
            std::size_t position = 0;
            for (std::size_t k = first + 1; k < last; ++k) {
                const double product = std::abs((points[2 * k] - ax) * dy - (points[2 * k + 1] - ay) * dx);
                if (product > greatest) {
                    greatest = product;
                    position = k;
                }
            }
            if (position > 0) {
                keep[position] = true;
                ++kept;
                runs.emplace_back(first, position);
                runs.emplace_back(position, last);
            }
        }
        benchmark::DoNotOptimize(keep);
    }
    state.counters["kept"] = double(kept);
}

void selfIntersects(benchmark::State& state) {
    const Curve<int> contour = contourCurve(int(state.range(0)), 1e6);
    for (auto _ : state)
        benchmark::DoNotOptimize(contour.selfIntersects(0, 1));
}

/// All pairs of edges.
void selfIntersectsReference(benchmark::State& state) {
    std::vector<int> p = contourPoints(int(state.range(0)), 1e6);
    const int n = int(p.size() / 2);
    p.push_back(p[0]);
    p.push_back(p[1]);
    const auto side = [&p](int a, int b, int c) {
        const double x = p[2 * a], y = p[2 * a + 1];
        return (p[2 * b] - x) * (p[2 * c + 1] - y) - (p[2 * b + 1] - y) * (p[2 * c] - x);
    };
    for (auto _ : state) {
        bool crosses = false;
        for (int k = 0; k < n; ++k)
            for (int l = k + 2; l < n - (k == 0 ? 1 : 0); ++l)
                crosses |=
                    side(k, k + 1, l) * side(k, k + 1, l + 1) <= 0 && side(l, l + 1, k) * side(l, l + 1, k + 1) <= 0;
        benchmark::DoNotOptimize(crosses);
    }
}

constexpr int numFileVertices = 300000;

const Vertices<float>& fileVertices() {
    static const std::unique_ptr<Vertices<float>> vertices = [] {
        const std::vector<float> points = inputs::points(numFileVertices);
        auto result = std::make_unique<Vertices<float>>(3, numFileVertices, numFileVertices, numFileVertices);
        for (int i = 0; i < numFileVertices; ++i)
            for (int k = 0; k < 3; ++k)
                (*result)[i][k] = 1000 * points[3 * std::size_t(i) + std::size_t(k)];
        return result;
    }();
    return *vertices;
}

std::string scratchFile() {
    return "/tmp/vorlen-bench-" + std::to_string(::getpid()) + ".vx";
}

void read(benchmark::State& state) {
    const std::string file = scratchFile();
    fileVertices().save(file, true);
    for (auto _ : state) {
        const Vertices<float> vertices(file);
        benchmark::DoNotOptimize(vertices[0][0]);
    }
    std::remove(file.c_str());
}

/// The file in one gulp and its numbers into one array.
void readReference(benchmark::State& state) {
    const std::string file = scratchFile();
    fileVertices().save(file, true);
    for (auto _ : state) {
        std::ifstream stream(file, std::ios::binary | std::ios::ate);
        std::string text(std::size_t(stream.tellg()), '\0');
        stream.seekg(0);
        stream.read(text.data(), std::streamsize(text.size()));
        std::vector<float> numbers;
        const char* const end = text.data() + text.size();
        for (const char* next = text.data(); next != end;) {
            float value = 0;
            const auto result = std::from_chars(next, end, value);
            if (result.ec == std::errc()) {
                numbers.push_back(value);
                next = result.ptr;
            } else {
                ++next;
            }
        }
        benchmark::DoNotOptimize(numbers.data());
    }
    std::remove(file.c_str());
}

void write(benchmark::State& state) {
    const std::string file = scratchFile();
    for (auto _ : state) {
        std::ofstream stream(file, std::ios::binary);
        fileVertices().write(stream);
    }
    std::remove(file.c_str());
}

void writeReference(benchmark::State& state) {
    const std::string file = scratchFile();
    const Vector<float> all = fileVertices().toVector();
    for (auto _ : state) {
        std::string text = "# 6\n# 3\n# " + std::to_string(numFileVertices) + "\n";
        char digits[32];
        for (int i = 0; i < all.getSize(); ++i) {
            const auto result = std::to_chars(digits, digits + sizeof digits, all[i], std::chars_format::general, 6);
            text.append(digits, result.ptr);
            text += i % 3 == 2 ? '\n' : ' ';
        }
        std::ofstream(file, std::ios::binary).write(text.data(), std::streamsize(text.size()));
    }
    std::remove(file.c_str());
}

/// A comb of long teeth, simple, and with its last vertex between two of them.
std::vector<double> comb(int n) {
    std::vector<double> coordinates;
    coordinates.reserve(2 * std::size_t(n));
    for (int i = 0; i < n - 2; ++i)
        coordinates.insert(coordinates.end(), {double(i), i / 2 % 2 == 0 ? 0.0 : double(n)});
    coordinates.insert(coordinates.end(), {double(n - 2), -10, 0, -10});
    return coordinates;
}

void selfContact(benchmark::State& state) {
    const std::vector<double> coordinates = comb(int(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(findSelfContact(coordinates, true));
}

/// All pairs of edges that are not neighbours.
void selfContactReference(benchmark::State& state) {
    const std::vector<double> p = comb(int(state.range(0)));
    const std::size_t n = p.size() / 2;
    const auto side = [&](std::size_t a, std::size_t b, std::size_t c) {
        return (p[2 * b] - p[2 * a]) * (p[2 * c + 1] - p[2 * a + 1]) -
               (p[2 * b + 1] - p[2 * a + 1]) * (p[2 * c] - p[2 * a]);
    };
    for (auto _ : state) {
        bool meets = false;
        for (std::size_t i = 0; i < n; ++i)
            for (std::size_t j = i + 2; j < n - (i == 0 ? 1 : 0); ++j) {
                const std::size_t k = (i + 1) % n, l = (j + 1) % n;
                meets |= side(i, k, j) * side(i, k, l) <= 0 && side(j, l, i) * side(j, l, k) <= 0;
            }
        benchmark::DoNotOptimize(meets);
    }
}

[[maybe_unused]] const bool registered = [] {
    compare("curvestack_resample", resample, resampleReference, {{500}, {1000}, {2000}});
    compare("douglas_peucker", douglasPeucker, douglasPeuckerReference, {});
    compare("shapefile_read", read, readReference, {});
    compare("self_contact", selfContact, selfContactReference, {{1000}, {4000}});
    compare("shapefile_write", write, writeReference, {});
    return true;
}();

} // namespace

BENCHMARK(selfIntersects)
    ->Name("curve_selfintersects/vorlen")
    ->Arg(4000)
    ->Arg(8000)
    ->Arg(1000000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(selfIntersectsReference)
    ->Name("curve_selfintersects/reference")
    ->Arg(4000)
    ->Arg(8000)
    ->Unit(benchmark::kMillisecond);

} // namespace vorlen
