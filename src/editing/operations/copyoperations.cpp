#include "editing/operations/copyoperations.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <set>
#include <utility>

#include "document/model.h"
#include "document/stackslice.h"
#include "document/subpixel.h"
#include "editing/actions/vrlitemappendpointsaction.h"
#include "editing/operations/onestep.h"
#include "reconstruction/stackreconstruction.h"
#include "shapes/boundingbox.h"
#include "shapes/curve.h"

namespace vorlen {

namespace {

/// The vertices, moved from one slice of the reconstruction to another; none when they have no place there.
std::optional<Vertices<double>> carried(const Vertices<double>& vertices, const StackReconstruction<double>& space,
                                        int from, int to) {
    constexpr double largest = std::numeric_limits<int>::max() / 2.0;
    Vertices<double> result = vertices;
    result.detach();
    for (int i = 0; i < result.getNumVertices(); ++i) {
        const Vector<double> world = space.toWorld(from, vertices[i][0], vertices[i][1]);
        const Vector<double> place = space.toPixels(to, world[0], world[1]);
        for (const int axis : {0, 1}) {
            if (!(std::abs(place[axis]) < largest))
                return std::nullopt;
            result[i][axis] = subpixel(place[axis]);
        }
    }
    return result;
}

void deselectAll(StackSlice& slice) {
    for (int i = 0; i < slice.getNumItems(); ++i)
        slice.getItem(i).getSelection().set(false);
}

/// Items, with the number of vertices that they had before.
using MadeItems = std::vector<std::pair<ModelItem*, int>>;

/// Adds an item, or its points to those of the model that the slice has already.
void add(EditStep& step, StackSlice& slice, Model& model, const ModelItemProperties& look, const ItemVertices& vertices,
         MadeItems& made) {
    auto copy = std::make_unique<ModelItem>();
    copy->setModel(&model);
    copy->setSlice(&slice);
    copy->setProperties(look);
    copy->setVertices(vertices);
    ModelItem* const buddy = copy->isConnected() ? nullptr : slice.buddyItem(*copy);
    if (buddy != nullptr) {
        auto append = std::make_unique<VRLItemAppendPointsAction>(*buddy);
        append->setVertices(vertices);
        made.emplace_back(buddy, buddy->getSize());
        step.apply(std::move(append));
    } else {
        copy->setClockwise(false);
        made.emplace_back(copy.get(), 0);
        applyCreation(step, std::move(copy));
    }
}

void selectMade(const std::vector<StackSlice*>& slices, const MadeItems& made) {
    for (StackSlice* const slice : slices)
        deselectAll(*slice);
    for (const auto& [item, first] : made)
        for (int i = first; i < item->getSize(); ++i)
            item->getSelection().set(true, i, false);
}

} // namespace

Outcome copySelection(VRLStack& stack, StackSlice& slice, const std::vector<StackSlice*>& targets) {
    std::vector<ModelItem*> selected;
    for (int i = 0; i < slice.getNumItems(); ++i)
        if (!slice.getItem(i).getSelection().isEmpty())
            selected.push_back(&slice.getItem(i));
    if (selected.empty())
        return Outcome::refused("Nothing is selected that could be copied");
    std::vector<StackSlice*> others;
    others.reserve(targets.size());
    for (StackSlice* const target : targets)
        if (target != &slice && std::find(others.begin(), others.end(), target) == others.end())
            others.push_back(target);
    if (others.empty())
        return Outcome::refused("There is no other slice to copy to");

    // All places first: a refusal changes nothing.
    const StackReconstruction<double> space(stack);
    const int from = stack.findSlice(slice);
    std::vector<std::vector<Vertices<double>>> copies(others.size());
    for (std::size_t k = 0; k < others.size(); ++k)
        for (const ModelItem* const item : selected) {
            const Vertices<double> vertices = item->isConnected() ? item->getVertices() : item->selectedVertices();
            auto moved = carried(vertices, space, from, stack.findSlice(*others[k]));
            if (!moved)
                return Outcome::refused("The size of a pixel is not known on slice " + others[k]->getName());
            copies[k].push_back(std::move(*moved));
        }

    MadeItems made;
    const Outcome outcome = inOneStep(stack, {}, [&](EditStep& step) {
        for (std::size_t k = 0; k < others.size(); ++k)
            for (std::size_t i = 0; i < selected.size(); ++i)
                add(step, *others[k], *selected[i]->getModel(), selected[i]->getProperties(), copies[k][i], made);
    });
    if (outcome)
        selectMade(others, made);
    return outcome;
}

Outcome copySelectionAround(VRLStack& stack, StackSlice& slice, int before, int behind) {
    const int rank = stack.findSlice(slice);
    std::vector<StackSlice*> targets;
    for (int i = std::max(rank - std::max(before, 0), 0);
         i <= std::min(rank + std::clamp(behind, 0, stack.getNumSlices()), stack.getNumSlices() - 1); ++i)
        if (i != rank)
            targets.push_back(&stack.getSlice(i));
    return copySelection(stack, slice, targets);
}

namespace {

bool isClosed(const ModelItem& item) {
    return item.getModel() != nullptr && item.getSize() > 2 && item.getModel()->getProperties().definesGeometry() &&
           item.getModel()->getProperties().getGeometry() == PolygonPrimitive;
}

bool meet(const Curve<double>& one, const Curve<double>& other) {
    const BoundingBox<double> box = one.boundingBox(), otherBox = other.boundingBox();
    for (const int axis : {0, 1})
        if (box.max(axis) < otherBox.min(axis) || otherBox.max(axis) < box.min(axis))
            return false;
    return one.intersects(other, 0, 1) || one.contains(other[0], 0, 1) || other.contains(one[0], 0, 1);
}

} // namespace

const ModelItem* outlineAt(const StackSlice& slice, const Model& model, const Curve<double>& curve) {
    for (int i = 0; i < slice.getNumItems(); ++i) {
        const ModelItem& item = slice.getItem(i);
        if (item.getModel() == &model && isClosed(item) && meet(curve, Curve<double>(item.getVertices(), false)))
            return &item;
    }
    return nullptr;
}

std::vector<bool> outlinedAlready(const VRLStack& stack, const StackSlice& slice) {
    std::vector<bool> outlined(static_cast<std::size_t>(stack.getNumSlices()), false);
    const StackReconstruction<double> space(stack);
    const int from = stack.findSlice(slice);
    for (int i = 0; i < slice.getNumItems(); ++i) {
        const ModelItem& item = slice.getItem(i);
        if (item.getSelection().isEmpty() || !isClosed(item))
            continue;
        for (int k = 0; k < stack.getNumSlices(); ++k) {
            const StackSlice& target = stack.getSlice(k);
            if (k == from || target.getNumItems() == 0 || outlined[static_cast<std::size_t>(k)])
                continue;
            const auto place = carried(item.getVertices(), space, from, k);
            outlined[static_cast<std::size_t>(k)] =
                place && outlineAt(target, *item.getModel(), Curve<double>(*place, false)) != nullptr;
        }
    }
    return outlined;
}

namespace {

std::optional<OutlinePoint> finitePoint(const Vector<double>& place) {
    constexpr double largest = std::numeric_limits<int>::max() / 2.0;
    if (!(std::abs(place[0]) < largest && std::abs(place[1]) < largest))
        return std::nullopt;
    return OutlinePoint{place[0], place[1]};
}

/// None when a point has no place there.
std::optional<Outline> toWorld(const Outline& pixels, const StackReconstruction<double>& space, int slice) {
    Outline world;
    world.reserve(pixels.size());
    for (const OutlinePoint& pixel : pixels) {
        const auto point = finitePoint(space.toWorld(slice, pixel.x, pixel.y));
        if (!point)
            return std::nullopt;
        world.push_back(*point);
    }
    return world;
}

std::optional<Outline> toPixels(const Outline& world, const StackReconstruction<double>& space, int slice,
                                double unit = 1) {
    Outline pixels;
    pixels.reserve(world.size());
    for (const OutlinePoint& place : world) {
        const auto point = finitePoint(space.toPixels(slice, unit * place.x, unit * place.y));
        if (!point)
            return std::nullopt;
        pixels.push_back(*point);
    }
    return pixels;
}

MPrimitive geometryOf(const Model& model) {
    return model.getProperties().definesGeometry() ? model.getProperties().getGeometry() : UnknownPrimitive;
}

} // namespace

std::vector<CopiedItem> copiedSelection(const VRLStack& stack, const StackSlice& slice) {
    std::vector<CopiedItem> copied;
    const StackReconstruction<double> space(stack);
    const int rank = stack.findSlice(slice);
    for (int i = 0; i < slice.getNumItems(); ++i) {
        const ModelItem& item = slice.getItem(i);
        if (item.getSelection().isEmpty() || item.getModel() == nullptr)
            continue;
        CopiedItem copy;
        copy.model = item.getModel()->getName();
        copy.geometry = geometryOf(*item.getModel());
        copy.properties = item.getProperties();
        copy.pixels = outlineOf(item.isConnected() ? item.getVertices() : item.selectedVertices());
        copy.world = toWorld(copy.pixels, space, rank);
        copy.unit = stack.getLengthUnit().getScale();
        copied.push_back(std::move(copy));
    }
    return copied;
}

Outcome pasteItems(VRLStack& stack, StackSlice& slice, const std::vector<CopiedItem>& items) {
    if (items.empty())
        return Outcome::refused("Nothing was copied that could be pasted");
    const StackReconstruction<double> space(stack);
    const int rank = stack.findSlice(slice);
    std::vector<Model*> models;
    std::vector<ItemVertices> places;
    for (const CopiedItem& item : items) {
        const int index = stack.findModel(item.model);
        if (index < 0 || geometryOf(stack.getModel(index)) != item.geometry)
            return Outcome::refused("This stack has no model " + item.model + " of that kind");
        models.push_back(&stack.getModel(index));
        const double unit = std::pow(10.0, item.unit - stack.getLengthUnit().getScale());
        const auto carriedOver = item.world ? toPixels(*item.world, space, rank, unit) : std::nullopt;
        ItemVertices vertices(2, 0, 0, 64);
        for (const OutlinePoint& point : carriedOver ? *carriedOver : item.pixels)
            vertices.append(itemVertex(point));
        places.push_back(std::move(vertices));
    }
    MadeItems made;
    const Outcome outcome = inOneStep(stack, {}, [&](EditStep& step) {
        for (std::size_t k = 0; k < items.size(); ++k)
            add(step, slice, *models[k], items[k].properties, places[k], made);
    });
    if (outcome)
        selectMade({&slice}, made);
    return outcome;
}

std::vector<NeighbourOutline> neighbourOutlines(const Stack& stack, const StackSlice& slice) {
    std::vector<NeighbourOutline> outlines;
    const int rank = stack.findSlice(slice);
    if (rank < 0)
        return outlines;
    const StackReconstruction<double> space(stack);
    for (const int other : {rank - 1, rank + 1}) {
        if (other < 0 || other >= stack.getNumSlices())
            continue;
        const StackSlice& neighbour = stack.getSlice(other);
        for (int i = 0; i < neighbour.getNumItems(); ++i) {
            const ModelItem& item = neighbour.getItem(i);
            if (item.getModel() == nullptr || item.getSize() == 0)
                continue;
            const auto world = toWorld(outlineOf(item.getVertices()), space, other);
            auto points = world ? toPixels(*world, space, rank) : std::nullopt;
            if (points)
                outlines.push_back({item.getModel(), geometryOf(*item.getModel()), other < rank, std::move(*points)});
        }
    }
    return outlines;
}

} // namespace vorlen
