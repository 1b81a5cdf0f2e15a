#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

#include <benchmark/benchmark.h>

#include "images/rasters/pixelmatrix.h"
#include "inputs.h"
#include "shapes/curve.h"
#include "snake/snake.h"
#include "snake/snakedriver.h"

namespace vorlen {

namespace {

// A bright wavy shape on a noisy ground, which ends before the border of the image; a contour of the same form lies
// outside it.
struct Scene {
    PixelMatrix<float> image;
    Curve<float> contour;
};

double wavyRadius(double angle, int side) {
    return side * (0.3 + 0.04 * std::sin(3 * angle) + 0.01 * std::sin(11 * angle));
}

const Scene& scene(int side) {
    static std::map<int, Scene> scenes;
    Scene& made = scenes[side];
    if (made.image.getSize1() > 0)
        return made;
    made.image.setSize(side, side);
    const double centre = 0.5 * side;
    for (int i = 0; i < side; ++i)
        for (int j = 0; j < side; ++j) {
            const double radius = std::hypot(i - centre, j - centre);
            const double inside = wavyRadius(std::atan2(i - centre, j - centre), side) - radius;
            const float noise = 10.0f * inputs::unit(std::uint32_t(i * side + j));
            made.image[i][j] = float(150.0 * std::fmin(std::fmax(inside + 0.5, 0.0), 1.0)) + noise;
        }
    Vector<float> vertex(2);
    for (int k = 0; k < 200; ++k) {
        const double angle = 6.283185307179586 * k / 200;
        const double radius = wavyRadius(angle, side) + 0.04 * side;
        vertex[0] = float(centre + radius * std::cos(angle));
        vertex[1] = float(centre + radius * std::sin(angle));
        made.contour.append(vertex);
    }
    return made;
}

SnakeConfig config() {
    SnakeConfig made;
    made.setDistance(100);
    return made;
}

// A hundred steps of the driver from the contour.
void steps(benchmark::State& state) {
    const Scene& made = scene(int(state.range(0)));
    Snake<float, float> snake;
    snake.setPixelMatrix(made.image);
    snake.setConfig(config(), true);
    SnakeDriver<float, float> driver;
    for (auto _ : state) {
        state.PauseTiming();
        snake.setCurve(made.contour);
        snake.init();
        state.ResumeTiming();
        driver.run(snake, 100);
        benchmark::DoNotOptimize(snake.getDataDistance());
    }
    state.counters["vertices"] = snake.getCurve().getSize();
    state.counters["distance"] = snake.getDataDistance();
}

struct Point {
    float x, y;
};

// How many steps of (dx, dy) lead to an edge, limit where none is found.
int search(const PixelMatrix<float>& map, Point q, float dx, float dy, int k, int limit, float threshold) {
    for (; k < limit; ++k, q.x += dx, q.y += dy) {
        const int ix = int(q.x), iy = int(q.y);
        if (ix < 0 || iy < 0 || ix >= map.getSize2() || iy >= map.getSize1())
            return limit;
        if (map[iy][ix] >= threshold)
            return k;
    }
    return k;
}

// The cyclic system with 1 + 2 r on the diagonal and -r beside it, by elimination with the last column carried along.
void solve(std::vector<float>& x, float r) {
    const std::size_t n = x.size();
    std::vector<float> upper(n), last(n);
    float pivot = 1.0f + 2.0f * r;
    upper[0] = -r / pivot;
    last[0] = -r / pivot;
    x[0] /= pivot;
    for (std::size_t i = 1; i + 1 < n; ++i) {
        pivot = 1.0f + 2.0f * r + r * upper[i - 1];
        upper[i] = -r / pivot;
        last[i] = (i + 2 == n ? -r + r * last[i - 1] : r * last[i - 1]) / pivot;
        x[i] = (x[i] + r * x[i - 1]) / pivot;
    }
    // x[i] = given[i] - last[i] * x[n - 1] with all other unknowns put in, from the last but one up.
    for (std::size_t i = n - 2; i-- > 0;) {
        x[i] -= upper[i] * x[i + 1];
        last[i] -= upper[i] * last[i + 1];
    }
    x[n - 1] = (x[n - 1] + r * (x[0] + x[n - 2])) / (1.0f + 2.0f * r + r * (last[0] + last[n - 2]));
    for (std::size_t i = 0; i + 1 < n; ++i)
        x[i] -= last[i] * x[n - 1];
}

std::vector<Point> resample(const std::vector<Point>& points) {
    const std::size_t n = points.size();
    std::vector<double> lengths(n + 1, 0.0);
    for (std::size_t i = 0; i < n; ++i) {
        const Point& a = points[i];
        const Point& b = points[(i + 1) % n];
        lengths[i + 1] = lengths[i] + std::hypot(double(b.x - a.x), double(b.y - a.y));
    }
    const auto m = std::size_t(lengths[n]);
    std::vector<Point> even;
    std::size_t end = 1;
    for (std::size_t k = 0; k < m; ++k) {
        const double target = double(k) * lengths[n] / double(m);
        while (end < n && lengths[end] < target)
            ++end;
        const Point& a = points[end - 1];
        const Point& b = points[end % n];
        const double width = lengths[end] - lengths[end - 1];
        const auto t = float(width > 0 ? (target - lengths[end - 1]) / width : 0.0);
        even.push_back({a.x + t * (b.x - a.x), a.y + t * (b.y - a.y)});
    }
    return even;
}

// The same steps on plain arrays, with both searches to their ends.
void plainSteps(benchmark::State& state) {
    const Scene& made = scene(int(state.range(0)));
    Snake<float, float> snake;
    snake.setPixelMatrix(made.image);
    snake.setConfig(config(), true);
    snake.computeGradient();
    const PixelMatrix<float>& map = *snake.getGradNorm();
    const SnakeConfig parameters = config();
    std::vector<Point> start, points;
    for (int k = 0; k < made.contour.getSize(); ++k)
        start.push_back({made.contour[k][0], made.contour[k][1]});
    float distance = 0.0f;
    for (auto _ : state) {
        points = resample(start);
        for (int step = 0; step < 100; ++step) {
            const std::size_t n = points.size();
            std::vector<float> x(n), y(n);
            distance = 0.0f;
            for (std::size_t i = 0; i < n; ++i) {
                const Point& before = points[(i + n - 1) % n];
                const Point& behind = points[(i + 1) % n];
                const float tx = behind.x - before.x, ty = behind.y - before.y;
                const float norm = std::sqrt(tx * tx + ty * ty);
                const float nx = norm > 0 ? -ty / norm : 0.0f, ny = norm > 0 ? tx / norm : 0.0f;
                const Point p = points[i];
                const int limit = parameters.getDistance();
                const float threshold = parameters.getGradThreshold();
                const int forward = search(map, p, nx, ny, 0, limit, threshold);
                const int backward = search(map, {p.x - nx, p.y - ny}, -nx, -ny, 1, limit, threshold);
                const bool still = forward == backward || forward == 0;
                const float sign = still ? 0.0f : forward < backward ? 0.5f : -0.5f;
                distance += float(std::min(forward, backward));
                x[i] = p.x + sign * nx;
                y[i] = p.y + sign * ny;
            }
            solve(x, parameters.getRegMax());
            solve(y, parameters.getRegMax());
            for (std::size_t i = 0; i < n; ++i)
                points[i] = {x[i], y[i]};
            distance /= float(n);
            points = resample(points);
        }
        benchmark::DoNotOptimize(points.data());
    }
    state.counters["vertices"] = double(points.size());
    state.counters["distance"] = distance;
}

} // namespace

BENCHMARK(steps)->Name("snake_steps/vorlen")->Arg(512)->Arg(1024)->Unit(benchmark::kMillisecond);
BENCHMARK(plainSteps)->Name("snake_steps/reference")->Arg(512)->Arg(1024)->Unit(benchmark::kMillisecond);

} // namespace vorlen
