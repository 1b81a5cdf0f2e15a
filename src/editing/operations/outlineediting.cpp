#include "editing/operations/outlineediting.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <utility>

#include <polyclipping/clipper.hpp>

#include "document/model.h"
#include "document/stackslice.h"
#include "editing/actions/vrlitemdeletionaction.h"
#include "editing/actions/vrlitemverticeschangeaction.h"
#include "editing/operations/onestep.h"

namespace vorlen {

namespace {

using ClipperLib::Clipper;
using ClipperLib::IntPoint;
using ClipperLib::Path;
using ClipperLib::Paths;

constexpr double fine = 1024; // steps of a pixel
constexpr double largest = 1e9;

Path pathOf(const Outline& outline) {
    Path path;
    path.reserve(outline.size());
    for (const OutlinePoint& point : outline) {
        const double x = std::clamp(point.x, -largest, largest), y = std::clamp(point.y, -largest, largest);
        path.push_back(IntPoint(std::llround(x * fine), std::llround(y * fine)));
    }
    return path;
}

Outline outlineOf(const Path& path) {
    Outline outline;
    outline.reserve(path.size());
    for (const IntPoint& point : path)
        outline.push_back({double(point.X) / fine, double(point.Y) / fine});
    return outline;
}

/// The pieces of the first areas joined with, or cut by, the second; outer borders alone.
Paths combined(const Paths& subjects, const Paths& clips, ClipperLib::ClipType how) {
    Clipper clipper;
    clipper.AddPaths(subjects, ClipperLib::ptSubject, true);
    clipper.AddPaths(clips, ClipperLib::ptClip, true);
    Paths pieces;
    clipper.Execute(how, pieces, ClipperLib::pftNonZero, ClipperLib::pftNonZero);
    pieces.erase(
        std::remove_if(pieces.begin(), pieces.end(), [](const Path& piece) { return !ClipperLib::Orientation(piece); }),
        pieces.end());
    return pieces;
}

/// Turned so that areas of several outlines add up.
Path areaOf(const ModelItem& item) {
    Path path = pathOf(vorlen::outlineOf(item.getVertices()));
    if (!ClipperLib::Orientation(path))
        ClipperLib::ReversePath(path);
    return path;
}

bool overlap(const Path& one, const Paths& other) {
    return !combined({one}, other, ClipperLib::ctIntersection).empty();
}

/// Around the stroke, in columns and rows; its arcs keep within a twentieth of a pixel.
Paths covered(const BrushStroke& stroke) {
    const double aspect = stroke.aspect > 0 && std::isfinite(stroke.aspect) ? stroke.aspect : 1;
    Outline square = stroke.points;
    for (OutlinePoint& point : square)
        point.y *= aspect;
    ClipperLib::ClipperOffset offset(2, fine / 20);
    offset.AddPath(pathOf(square), ClipperLib::jtRound, ClipperLib::etOpenRound);
    Paths cover;
    offset.Execute(cover, stroke.radius * fine);
    for (Path& path : cover)
        for (IntPoint& point : path)
            point.Y = std::llround(double(point.Y) / aspect);
    return combined(cover, {}, ClipperLib::ctUnion);
}

bool isPolygon(const Model& model) {
    return model.getProperties().definesGeometry() && model.getProperties().getGeometry() == PolygonPrimitive;
}

Outcome require(const Model& model, const BrushStroke& stroke) {
    if (!isPolygon(model))
        return Outcome::refused("The brush paints models of closed outlines alone");
    bool finite = stroke.radius > 0 && std::isfinite(stroke.radius);
    for (const OutlinePoint& point : stroke.points)
        finite = finite && std::isfinite(point.x) && std::isfinite(point.y);
    if (stroke.points.empty() || !finite)
        return Outcome::refused("The stroke covers nothing");
    return Outcome::done();
}

/// The closed outlines of the model on the slice that the areas overlap.
template <class Slice>
auto touchedItems(Slice& slice, const Model& model, const Paths& areas) {
    std::vector<decltype(&slice.getItem(0))> touched;
    for (int i = 0; i < slice.getNumItems(); ++i) {
        auto& item = slice.getItem(i);
        if (item.getModel() == &model && item.getSize() > 2 && overlap(areaOf(item), areas))
            touched.push_back(&item);
    }
    return touched;
}

void change(EditStep& step, ModelItem& item, const ItemVertices& vertices) {
    auto action = std::make_unique<VRLItemVerticesChangeAction>(item);
    action->setVertices(vertices);
    step.apply(std::move(action));
}

/// With the look of the item that it comes from; null for none.
void create(EditStep& step, StackSlice& slice, Model& model, const ItemVertices& vertices, const ModelItem* origin) {
    auto item = std::make_unique<ModelItem>();
    item->setModel(&model);
    item->setSlice(&slice);
    if (origin != nullptr)
        item->setProperties(origin->getProperties());
    item->setVertices(vertices);
    item->setClockwise(false);
    applyCreation(step, std::move(item));
}

void remove(EditStep& step, ModelItem& item) {
    step.apply(std::make_unique<VRLItemDeletionAction>(item));
}

/// What is left of the pieces in coordinates of items, the largest first.
std::vector<ItemVertices> verticesOfPieces(Paths pieces) {
    std::stable_sort(pieces.begin(), pieces.end(), [](const Path& a, const Path& b) {
        return std::abs(ClipperLib::Area(a)) > std::abs(ClipperLib::Area(b));
    });
    std::vector<ItemVertices> results;
    for (const Path& piece : pieces)
        if (ItemVertices vertices = verticesOf(outlineOf(piece), true); vertices.getNumVertices() > 2)
            results.push_back(std::move(vertices));
    return results;
}

double squared(const OutlinePoint& a, const OutlinePoint& b) {
    return (a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y);
}

OutlinePoint nearestOn(const OutlinePoint& a, const OutlinePoint& b, const OutlinePoint& point) {
    const double length = squared(a, b);
    const double share = length > 0 ? ((point.x - a.x) * (b.x - a.x) + (point.y - a.y) * (b.y - a.y)) / length : 0;
    const double t = std::clamp(share, 0.0, 1.0);
    return {a.x + t * (b.x - a.x), a.y + t * (b.y - a.y)};
}

/// Where two outlines that do not touch come nearest to each other: at a vertex of one of them.
std::pair<OutlinePoint, OutlinePoint> narrowest(const Outline& one, const Outline& other) {
    std::pair<OutlinePoint, OutlinePoint> best{one.front(), other.front()};
    double least = std::numeric_limits<double>::infinity();
    const auto look = [&](const Outline& vertices, const Outline& edges, bool swapped) {
        for (const OutlinePoint& vertex : vertices)
            for (std::size_t k = 0; k < edges.size(); ++k) {
                const OutlinePoint foot = nearestOn(edges[k], edges[(k + 1) % edges.size()], vertex);
                if (const double distance = squared(vertex, foot); distance < least) {
                    least = distance;
                    best = swapped ? std::make_pair(foot, vertex) : std::make_pair(vertex, foot);
                }
            }
    };
    look(one, other, false);
    look(other, one, true);
    return best;
}

/// A strip two pixels wide over a gap, that reaches a pixel into both sides.
Path bridge(const OutlinePoint& from, const OutlinePoint& to) {
    const double length = std::sqrt(squared(from, to));
    const OutlinePoint along =
        length > 0 ? OutlinePoint{(to.x - from.x) / length, (to.y - from.y) / length} : OutlinePoint{1, 0};
    const OutlinePoint a{from.x - along.x, from.y - along.y}, b{to.x + along.x, to.y + along.y};
    return pathOf({{a.x - along.y, a.y + along.x},
                   {b.x - along.y, b.y + along.x},
                   {b.x + along.y, b.y - along.x},
                   {a.x + along.y, a.y - along.x}});
}

/// One area of all; empty where rounding leaves a gap open.
Path joined(const Paths& areas) {
    Paths pieces = combined(areas, {}, ClipperLib::ctUnion);
    for (std::size_t rounds = pieces.size(); pieces.size() > 1 && rounds > 0; --rounds) {
        const Outline first = outlineOf(pieces.front());
        std::optional<std::pair<OutlinePoint, OutlinePoint>> best;
        for (std::size_t k = 1; k < pieces.size(); ++k)
            if (const auto gap = narrowest(first, outlineOf(pieces[k]));
                !best || squared(gap.first, gap.second) < squared(best->first, best->second))
                best = gap;
        pieces = combined(pieces, {bridge(best->first, best->second)}, ClipperLib::ctUnion);
    }
    return pieces.size() == 1 ? pieces.front() : Path();
}

} // namespace

std::vector<Outline> paintedOutlines(const StackSlice& slice, const Model& model, const BrushStroke& stroke,
                                     bool erasing) {
    if (!require(model, stroke))
        return {};
    const Paths cover = covered(stroke);
    Paths before;
    for (const ModelItem* const item : touchedItems(slice, model, cover))
        before.push_back(areaOf(*item));
    std::vector<Outline> outlines;
    for (const Path& piece : combined(before, cover, erasing ? ClipperLib::ctDifference : ClipperLib::ctUnion))
        outlines.push_back(outlineOf(piece));
    return outlines;
}

Outcome paintOutline(VRLStack& stack, StackSlice& slice, Model& model, const BrushStroke& stroke) {
    if (const Outcome sound = require(model, stroke); !sound)
        return sound;
    const Paths cover = covered(stroke);
    const std::vector<ModelItem*> touched = touchedItems(slice, model, cover);
    Paths areas = cover;
    for (const ModelItem* const item : touched)
        areas.push_back(areaOf(*item));
    const std::vector<ItemVertices> pieces = verticesOfPieces(combined(areas, {}, ClipperLib::ctUnion));
    return inOneStep(stack, "The stroke is too thin to be an outline", [&](EditStep& step) {
        for (std::size_t k = 0; k < pieces.size(); ++k)
            if (k < touched.size())
                change(step, *touched[k], pieces[k]);
            else
                create(step, slice, model, pieces[k], nullptr);
        for (std::size_t k = pieces.size(); !pieces.empty() && k < touched.size(); ++k)
            remove(step, *touched[k]);
    });
}

Outcome eraseOutline(VRLStack& stack, StackSlice& slice, Model& model, const BrushStroke& stroke) {
    if (const Outcome sound = require(model, stroke); !sound)
        return sound;
    const Paths cover = covered(stroke);
    return inOneStep(stack, "There is no outline of the model under the brush", [&](EditStep& step) {
        for (ModelItem* const item : touchedItems(slice, model, cover)) {
            const Paths whole = combined({areaOf(*item)}, {}, ClipperLib::ctUnion);
            const Paths after = combined(whole, cover, ClipperLib::ctDifference);
            double areaBefore = 0, areaAfter = 0;
            for (const Path& piece : whole)
                areaBefore += ClipperLib::Area(piece);
            for (const Path& piece : after)
                areaAfter += ClipperLib::Area(piece);
            if (areaAfter >= areaBefore) // a hole, which is filled
                continue;
            const std::vector<ItemVertices> pieces = verticesOfPieces(after);
            for (std::size_t k = 1; k < pieces.size(); ++k)
                create(step, slice, model, pieces[k], item);
            if (pieces.empty())
                remove(step, *item);
            else
                change(step, *item, pieces.front());
        }
    });
}

Outcome joinSelection(VRLStack& stack, StackSlice& slice) {
    std::vector<ModelItem*> items;
    for (ModelItem* const item : slice.getSelectedItems())
        if (item->isClosed() && item->getSize() > 2)
            items.push_back(item);
    if (items.size() < 2)
        return Outcome::refused("Select two or more closed outlines to join them");
    Paths areas;
    for (const ModelItem* const item : items) {
        if (item->getModel() != items.front()->getModel())
            return Outcome::refused("Only outlines of one model can be joined");
        areas.push_back(areaOf(*item));
    }
    const ItemVertices vertices = verticesOf(outlineOf(joined(areas)), true);
    if (vertices.getNumVertices() < 3)
        return Outcome::refused("The outlines cannot be joined");
    return inOneStep(stack, {}, [&](EditStep& step) {
        change(step, *items.front(), vertices);
        for (std::size_t k = 1; k < items.size(); ++k)
            remove(step, *items[k]);
    });
}

OutlinePoint OutlineMotion::of(const OutlinePoint& point) const {
    const double x = point.x - centre.x, y = (point.y - centre.y) * aspect;
    return {centre.x + shift.x + growth * (x * std::cos(angle) - y * std::sin(angle)),
            centre.y + shift.y + growth * (x * std::sin(angle) + y * std::cos(angle)) / aspect};
}

Outline moved(const Outline& outline, const OutlineMotion& motion) {
    Outline result;
    result.reserve(outline.size());
    for (const OutlinePoint& point : outline)
        result.push_back(motion.of(point));
    return result;
}

Outcome moveItem(VRLStack& stack, ModelItem& item, const OutlineMotion& motion) {
    if (!(motion.growth > 0) || !(motion.aspect > 0))
        return Outcome::refused("An outline cannot be made that small");
    const Outline outline = moved(outlineOf(item.getVertices()), motion);
    ItemVertices vertices(2, 0, 0, 64);
    for (const OutlinePoint& point : outline) {
        if (!(std::abs(point.x) < largest && std::abs(point.y) < largest))
            return Outcome::refused("An outline cannot be moved that far");
        vertices.append(itemVertex(point)); // every vertex keeps its number
    }
    return inOneStep(stack, {}, [&](EditStep& step) { change(step, item, vertices); });
}

OutlinePoint middleOf(const Outline& outline, bool closed) {
    OutlinePoint sum;
    double twice = 0;
    const std::size_t n = outline.size();
    for (std::size_t k = 0; closed && k < n; ++k) {
        const OutlinePoint a{outline[k].x - outline[0].x, outline[k].y - outline[0].y};
        const OutlinePoint& next = outline[(k + 1) % n];
        const OutlinePoint b{next.x - outline[0].x, next.y - outline[0].y};
        const double cross = a.x * b.y - b.x * a.y;
        twice += cross;
        sum.x += cross * (a.x + b.x);
        sum.y += cross * (a.y + b.y);
    }
    if (twice != 0)
        return {outline[0].x + sum.x / (3 * twice), outline[0].y + sum.y / (3 * twice)};
    sum = {};
    for (const OutlinePoint& point : outline) {
        sum.x += point.x / double(n);
        sum.y += point.y / double(n);
    }
    return sum;
}

bool isInside(const Outline& outline, const OutlinePoint& point) {
    int winding = 0;
    for (std::size_t k = 0; k < outline.size(); ++k) {
        const OutlinePoint& a = outline[k];
        const OutlinePoint& b = outline[(k + 1) % outline.size()];
        const double side = (b.x - a.x) * (point.y - a.y) - (point.x - a.x) * (b.y - a.y);
        if (a.y <= point.y && b.y > point.y && side > 0)
            ++winding;
        else if (a.y > point.y && b.y <= point.y && side < 0)
            --winding;
    }
    return winding != 0;
}

} // namespace vorlen
