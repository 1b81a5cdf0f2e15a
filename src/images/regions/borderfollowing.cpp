#include <array>
#include <cstdlib>
#include <optional>
#include <vector>

#include "images/rasters/pixelmatrix.h"
#include "images/regions/thresholding.h"
#include "numerics/exception.h"
#include "shapes/curve.h"

namespace vorlen {

// Kept apart from the other operations of the class: only who asks for a curve needs the shapes to link.

namespace {

enum Heading { north, south, east, west };

struct Step {
    int row = 0;
    int column = 0;
    bool operator==(const Step&) const = default;
};

struct Attempt {
    std::array<Step, 3> steps;
    std::array<Heading, 3> headings; // after each of the steps
    Heading turned;                  // when none of them leads to foreground
};

// By heading. A heading whose edge of the matrix is reached finds nothing: all its steps would lead out.
constexpr std::array<Attempt, 4> attempts = {{
    {{{{-1, 1}, {-1, 0}, {-1, -1}}}, {east, north, north}, west},
    {{{{1, -1}, {1, 0}, {1, 1}}}, {west, south, south}, east},
    {{{{1, 1}, {0, 1}, {-1, 1}}}, {south, east, east}, north},
    {{{{-1, -1}, {0, -1}, {1, -1}}}, {north, west, west}, south},
}};

// A place on the border and the heading there. The rest of the walk follows from both.
struct Walker {
    int row;
    int column;
    Heading heading;
    bool operator==(const Walker&) const = default;
};

// One step on, or a turn in place with a step of (0, 0) when three headings found nothing.
template <class T>
Step advance(Walker& walker, const PixelMatrix<T>& matrix, T foreground) {
    for (int turns = 0; turns < 3; ++turns) {
        const Attempt& attempt = attempts[walker.heading];
        for (std::size_t k = 0; k < attempt.steps.size(); ++k) {
            const Step step = attempt.steps[k];
            const int row = walker.row + step.row;
            const int column = walker.column + step.column;
            if (matrix.contains(row, column) && matrix[row][column] == foreground) {
                walker = {row, column, attempt.headings[k]};
                return step;
            }
        }
        walker.heading = attempt.turned;
    }
    return {};
}

// The vertices of a walk so far.
class Trail {
public:
    Trail(const Step& start, int tolerance) : __vertices{start}, __tolerance(tolerance) {}

    const std::vector<Step>& vertices() const { return __vertices; }

    /// A step and where it led; closes tells that it is the last one, to the start.
    void record(const Step& step, const Step& place, bool closes) {
        if (step == __previous) {
            __vertices.back() = place;
            return;
        }
        const bool keepsOneCoordinate = step.row == __previous.row || step.column == __previous.column;
        if (keepsOneCoordinate && __tolerance > 0 && twiceTriangle(place) <= __tolerance)
            __vertices.back() = place;
        else if (!closes)
            __vertices.push_back(place);
        __previous = step;
    }

private:
    // There is a vertex before the last one: the first step keeps no coordinate of the step before it.
    long long twiceTriangle(const Step& place) const {
        const Step& last = __vertices.back();
        const Step& before = __vertices[__vertices.size() - 2];
        const long long firstRow = last.row - before.row, firstColumn = last.column - before.column;
        const long long secondRow = place.row - before.row, secondColumn = place.column - before.column;
        return std::abs(firstRow * secondColumn - firstColumn * secondRow);
    }

    std::vector<Step> __vertices;
    Step __previous = {100, 100};
    int __tolerance;
};

// A walk of so many steps from a place and heading, the last of which leads to the place again.
struct Border {
    Walker from;
    unsigned long long steps;
};

// Goes on until the step that the walker is about to take from the start is one that it has taken from there: a border
// that passes the start more than once is followed to its end. What the walk did before the first such step is left
// out. A loop that the start does not lie on is found by a mark that waits on the walk twice as long each time (R. P.
// Brent, 1980): within three times the length of the way into the loop and once around it. The border then ends where
// the walk came back to the start for the first time, if it did.
template <class T>
std::optional<Border> findBorder(const Walker& start, const PixelMatrix<T>& matrix, T foreground) {
    struct Visit {
        Walker now, next;
        unsigned long long time;
    };
    std::vector<Visit> visits;
    Walker walker = start, mark = start;
    unsigned long long sinceMark = 0, patience = 1;
    for (unsigned long long time = 0;; ++time) {
        Walker next = walker;
        const Step step = advance(next, matrix, foreground);
        const bool atStart = walker.row == start.row && walker.column == start.column;
        if (atStart) {
            if (step == Step())
                return Border{walker, 0};
            for (const Visit& visit : visits)
                if (visit.next == next)
                    return Border{visit.now, time - visit.time};
            visits.push_back({walker, next, time});
        }
        if (walker == mark && !atStart)
            return visits.size() > 1 ? std::optional(Border{start, visits[1].time}) : std::nullopt;
        if (++sinceMark == patience) {
            mark = walker;
            sinceMark = 0;
            patience *= 2;
        }
        walker = next;
    }
}

} // namespace

template <class T>
void Thresholding<T>::extractCurve(Curve<int>& curve, int row, int column, const PixelMatrix<T>& matrix,
                                   int tolerance) const {
    const char* const where = "void Thresholding<T>::extractCurve(...) const";
    if (!matrix.contains(row, column))
        throw RangeError(where, "The starting pixel lies outside the matrix");
    if (!(matrix[row][column] == __foreground))
        throw ValueError(where, "The starting pixel does not belong to the foreground");
    if (curve.getServer() && curve.getSpace() != 2)
        throw SizeError(where, "The vertices of the curve are not planar");

    const std::optional<Border> border = findBorder({row, column, south}, matrix, __foreground);
    if (!border)
        throw ValueError(where, "The border does not come back to the starting pixel");
    Trail trail({row, column}, tolerance);
    Walker walker = border->from;
    for (unsigned long long taken = 1; taken <= border->steps; ++taken) {
        const Step step = advance(walker, matrix, __foreground);
        trail.record(step, {walker.row, walker.column}, taken == border->steps);
    }

    Vector<int> vertex(2);
    for (const Step& place : trail.vertices()) {
        vertex[0] = place.row;
        vertex[1] = place.column;
        curve.append(vertex);
    }
}

template void Thresholding<int>::extractCurve(Curve<int>&, int, int, const PixelMatrix<int>&, int) const;
template void Thresholding<float>::extractCurve(Curve<int>&, int, int, const PixelMatrix<float>&, int) const;
template void Thresholding<double>::extractCurve(Curve<int>&, int, int, const PixelMatrix<double>&, int) const;
template void Thresholding<long double>::extractCurve(Curve<int>&, int, int, const PixelMatrix<long double>&,
                                                      int) const;

} // namespace vorlen
