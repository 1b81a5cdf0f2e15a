#include "registration/sheetrelaxation.h"

#include <algorithm>
#include <cmath>

namespace vorlen {

namespace {

/// Stiffness against stretching, against bending, and what holds a sheet at its place.
constexpr double stretch = 0.02, bend = 0.1, rest = 1e-4;

double product(const std::vector<double>& first, const std::vector<double>& second) {
    double sum = 0;
    for (std::size_t i = 0; i < first.size(); ++i)
        sum += first[i] * second[i];
    return sum;
}

} // namespace

void SheetRelaxation::addSheet(int rows, int columns) {
    Sheet sheet;
    sheet.rows = rows;
    sheet.columns = columns;
    sheet.first = int(__ways.size());
    __sheets.push_back(sheet);
    __ways.resize(__ways.size() + std::size_t(rows) * std::size_t(columns), PlanePoint{0, 0});
}

void SheetRelaxation::anchor(Tie& tie, int from, const Place& place, double sign) const {
    const Sheet& sheet = __sheets[std::size_t(place.sheet)];
    const double r = std::clamp(place.row, 0.0, double(sheet.rows - 1));
    const double c = std::clamp(place.column, 0.0, double(sheet.columns - 1));
    const int top = std::min(int(r), sheet.rows - 2), left = std::min(int(c), sheet.columns - 2);
    for (int k = 0; k < 4; ++k) {
        const int down = k / 2, right = k % 2;
        tie.nodes[from + k] = sheet.first + (top + down) * sheet.columns + left + right;
        tie.shares[from + k] = sign * (down == 1 ? r - top : 1 - (r - top)) * (right == 1 ? c - left : 1 - (c - left));
    }
}

void SheetRelaxation::tie(const Place& place, const Place& other, PlanePoint difference, double weight) {
    Tie made;
    anchor(made, 0, place, 1);
    anchor(made, 4, other, -1);
    made.difference = difference;
    made.sheet = place.sheet;
    made.other = other.sheet;
    made.weight = weight;
    __ties.push_back(made);
}

void SheetRelaxation::removeTies(int sheet) {
    std::erase_if(
        __ties, [sheet](const Tie& tie) { return tie.sheet == sheet || tie.other == sheet; });
}

double SheetRelaxation::agreement(int sheet, double tolerance) const {
    int n = 0, numGood = 0;
    for (const Tie& tie : __ties) {
        if (tie.sheet != sheet && tie.other != sheet)
            continue;
        ++n;
        numGood += disagreement(tie) < tolerance ? 1 : 0;
    }
    return n > 0 ? double(numGood) / n : 1;
}

const PlanePoint& SheetRelaxation::way(int sheet, int row, int column) const {
    const Sheet& own = __sheets[std::size_t(sheet)];
    return __ways[std::size_t(own.first + row * own.columns + column)];
}

double SheetRelaxation::disagreement(const Tie& tie) const {
    PlanePoint left{-tie.difference.x, -tie.difference.y};
    for (int k = 0; k < 8; ++k) {
        left.x += tie.shares[k] * __ways[std::size_t(tie.nodes[k])].x;
        left.y += tie.shares[k] * __ways[std::size_t(tie.nodes[k])].y;
    }
    return std::hypot(left.x, left.y);
}

/// What the springs of a sheet do to its nodes.
void SheetRelaxation::pullSheet(const Sheet& sheet, const Values& ways, Values& sum) const {
    const double alongEdge = __stiffness * stretch, overNode = __stiffness * bend;
    const auto line = [&](int from, int step, int n) {
        for (int i = 0; i + 1 < n; ++i) {
            const std::size_t a = std::size_t(from + i * step), b = std::size_t(from + (i + 1) * step);
            const double difference = alongEdge * (ways[a] - ways[b]);
            sum[a] += difference;
            sum[b] -= difference;
            if (i + 2 >= n)
                continue;
            const std::size_t c = std::size_t(from + (i + 2) * step);
            const double curve = overNode * (ways[a] - 2 * ways[b] + ways[c]);
            sum[a] += curve;
            sum[b] -= 2 * curve;
            sum[c] += curve;
        }
    };
    for (int row = 0; row < sheet.rows; ++row)
        line(sheet.first + row * sheet.columns, 1, sheet.columns);
    for (int column = 0; column < sheet.columns; ++column)
        line(sheet.first + column, sheet.columns, sheet.rows);
}

/// The matrix of the system times these ways; held nodes neither pull nor are pulled.
SheetRelaxation::Values SheetRelaxation::pull(const Values& ways) const {
    Values sum(ways.size());
    for (std::size_t i = 0; i < ways.size(); ++i)
        sum[i] = rest * ways[i];
    for (const Sheet& sheet : __sheets)
        if (!sheet.held)
            pullSheet(sheet, ways, sum);
    for (const Tie& tie : __ties) {
        double left = 0;
        for (int k = 0; k < 8; ++k)
            left += tie.shares[k] * ways[std::size_t(tie.nodes[k])];
        left *= tie.weight * tie.trust;
        for (int k = 0; k < 8; ++k)
            sum[std::size_t(tie.nodes[k])] += tie.shares[k] * left;
    }
    for (const Sheet& sheet : __sheets)
        if (sheet.held)
            std::fill_n(sum.begin() + sheet.first, sheet.rows * sheet.columns, 0.0);
    return sum;
}

void SheetRelaxation::solve(double PlanePoint::*side) {
    Values ways(__ways.size()), wanted(__ways.size(), 0.0);
    for (std::size_t i = 0; i < ways.size(); ++i)
        ways[i] = __ways[i].*side;
    for (const Tie& tie : __ties)
        for (int k = 0; k < 8; ++k)
            wanted[std::size_t(tie.nodes[k])] += tie.weight * tie.trust * tie.shares[k] * (tie.difference.*side);
    for (const Sheet& sheet : __sheets)
        if (sheet.held) {
            std::fill_n(wanted.begin() + sheet.first, sheet.rows * sheet.columns, 0.0);
            std::fill_n(ways.begin() + sheet.first, sheet.rows * sheet.columns, 0.0);
        }
    Values left = pull(ways);
    for (std::size_t i = 0; i < left.size(); ++i)
        left[i] = wanted[i] - left[i];
    Values direction = left;
    double now = product(left, left);
    const double enough = 1e-14 * std::max(product(wanted, wanted), 1e-300);
    for (int step = 0; step < 1000 && now > enough; ++step) {
        const Values pulled = pull(direction);
        const double length = now / product(direction, pulled);
        for (std::size_t i = 0; i < ways.size(); ++i) {
            ways[i] += length * direction[i];
            left[i] -= length * pulled[i];
        }
        const double next = product(left, left);
        for (std::size_t i = 0; i < ways.size(); ++i)
            direction[i] = left[i] + next / now * direction[i];
        now = next;
    }
    for (std::size_t i = 0; i < ways.size(); ++i)
        __ways[i].*side = ways[i];
}

void SheetRelaxation::relax(double tolerance) {
    for (Tie& tie : __ties)
        tie.trust = 1;
    constexpr int rounds = 6;
    for (int round = 0; round < rounds; ++round) {
        solve(&PlanePoint::x);
        solve(&PlanePoint::y);
        if (__ties.empty() || round + 1 == rounds)
            return;
        Values sizes;
        sizes.reserve(__ties.size());
        for (const Tie& tie : __ties)
            sizes.push_back(disagreement(tie));
        Values sorted = sizes;
        const auto middle = sorted.begin() + std::ptrdiff_t(sorted.size() / 2);
        std::nth_element(sorted.begin(), middle, sorted.end());
        const double scale = std::max(tolerance, 3 * *middle);
        for (std::size_t i = 0; i < __ties.size(); ++i) {
            const double share = 1 / (1 + sizes[i] * sizes[i] / (scale * scale));
            __ties[i].trust = share * share;
        }
    }
}

} // namespace vorlen
