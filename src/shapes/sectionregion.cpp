#include "shapes/sectionregion.h"

#include <algorithm>

#include "numerics/exception.h"

namespace vorlen {

namespace {

/// The part of an edge in a band between two heights.
struct Strip {
    double bottom, top;

    double at(double t) const { return bottom + t * (top - bottom); }
};

/// Sum of the widths of the odd gaps between strips that do not cross, half way between the positions from and to, by
/// which their order is known. Between the two the widths are linear, so that this is their mean.
double oddWidth(std::vector<Strip>& strips, double from, double to) {
    const double middle = from / 2 + to / 2;
    std::sort(strips.begin(), strips.end(),
              [middle](const Strip& a, const Strip& b) { return a.at(middle) < b.at(middle); });
    double width = 0;
    for (std::size_t k = 0; k + 1 < strips.size(); k += 2)
        width += strips[k + 1].at(middle) - strips[k].at(middle);
    return width;
}

/// Area of a band of height 1. Where strips cross it is cut at all crossings.
double bandArea(std::vector<Strip>& strips) {
    std::sort(
        strips.begin(), strips.end(),
        [](const Strip& a, const Strip& b) { return a.bottom < b.bottom || (a.bottom == b.bottom && a.top < b.top); });
    const auto descends = [](const Strip& a, const Strip& b) { return b.top < a.top; };
    if (std::adjacent_find(strips.begin(), strips.end(), descends) == strips.end()) {
        double width = 0;
        for (std::size_t k = 0; k + 1 < strips.size(); k += 2)
            width += (strips[k + 1].bottom - strips[k].bottom) + (strips[k + 1].top - strips[k].top);
        return width / 2;
    }
    std::vector<double> cuts = {0, 1};
    for (std::size_t i = 0; i < strips.size(); ++i)
        for (std::size_t j = i + 1; j < strips.size(); ++j)
            if (descends(strips[i], strips[j])) {
                const double below = strips[j].bottom - strips[i].bottom, above = strips[i].top - strips[j].top;
                cuts.push_back(below / (below + above));
            }
    std::sort(cuts.begin(), cuts.end());
    double area = 0;
    for (std::size_t k = 1; k < cuts.size(); ++k)
        if (cuts[k] > cuts[k - 1])
            area += (cuts[k] - cuts[k - 1]) * oddWidth(strips, cuts[k - 1], cuts[k]);
    return area;
}

} // namespace

template <class T>
void SectionRegion::add(const Vertices<T>& outline) {
    const int n = outline.getNumVertices();
    if (n < 3)
        return;
    if (outline.getSpace() < 2)
        throw SizeError("void SectionRegion::add(const Vertices<T>&)", "The outline has no two coordinates");
    add(std::size_t(n), [&](std::size_t k) {
        const T* const p = outline[int(k)].data();
        return Point{double(p[0]), double(p[1])};
    });
}

double SectionRegion::area() const {
    std::vector<Edge> edges = __edges;
    std::sort(edges.begin(), edges.end(), [](const Edge& a, const Edge& b) { return a.y1 < b.y1; });
    std::vector<double> heights;
    heights.reserve(2 * edges.size());
    for (const Edge& edge : edges)
        heights.insert(heights.end(), {edge.y1, edge.y2});
    std::sort(heights.begin(), heights.end());
    heights.erase(std::unique(heights.begin(), heights.end()), heights.end());

    // A coordinate that is no number compares with nothing, and leaves its edge out.
    std::vector<Edge> active;
    std::vector<Strip> strips;
    double area = 0;
    std::size_t next = 0;
    for (std::size_t h = 1; h < heights.size(); ++h) {
        const double low = heights[h - 1], high = heights[h];
        std::erase_if(active, [low](const Edge& edge) { return !(edge.y2 > low); });
        for (; next < edges.size() && edges[next].y1 <= low; ++next)
            active.push_back(edges[next]);
        strips.clear();
        for (const Edge& edge : active) {
            const double slope = (edge.x2 - edge.x1) / (edge.y2 - edge.y1);
            const auto at = [&](double y) { return y == edge.y2 ? edge.x2 : edge.x1 + slope * (y - edge.y1); };
            strips.push_back({at(low), at(high)});
        }
        area += bandArea(strips) * (high - low);
    }
    return area;
}

template void SectionRegion::add<int>(const Vertices<int>&);
template void SectionRegion::add<float>(const Vertices<float>&);
template void SectionRegion::add<double>(const Vertices<double>&);
template void SectionRegion::add<long double>(const Vertices<long double>&);

} // namespace vorlen
