#include "editing/operations/splitcontour.h"

#include <algorithm>

#include "document/modelitem.h"
#include "editing/actions/vrlitemdeletionaction.h"
#include "editing/operations/onestep.h"

namespace vorlen {

namespace {

bool canSplitAt(const std::vector<int>& ranks) {
    return ranks.size() >= 2 && ranks.size() % 2 == 0;
}

} // namespace

std::vector<int> splittingEdges(const Curve<int>& contour, const Curve<int>& line) {
    const int n = contour.getSize();
    const auto side = [&](int k) {
        const Vector<int>& vertex = contour[k % n];
        const double product = (double(line[1][0]) - line[0][0]) * (double(vertex[1]) - line[0][1]) -
                               (double(line[1][1]) - line[0][1]) * (double(vertex[0]) - line[0][0]);
        return (product > 0) - (product < 0);
    };
    std::vector<int> ranks = contour.intersectionIndexes(line, 0, 1);
    // Where vertices lie on the line, the edge that leads there stands for the crossing.
    std::erase_if(ranks, [&](int rank) {
        int next = rank + 1;
        while (next < rank + n && side(next) == 0)
            ++next;
        return side(rank) == 0 || side(next) == side(rank);
    });
    return ranks;
}

bool isSplitBy(const ModelItem& item, const Curve<int>& line) {
    return canSplitAt(splittingEdges(Curve<int>(item.getVertices(), false), line));
}

Outcome splitContour(VRLStack& stack, ModelItem& item, const Curve<int>& line) {
    const Curve<int> contour(item.getVertices(), false);
    const std::vector<int> ranks = splittingEdges(contour, line);
    if (!canSplitAt(ranks))
        return Outcome::refused("Nothing was split: the line has to enter the contour and to leave it again.");
    const std::vector<Curve<int>> pieces = contour.split(ranks);
    if (std::any_of(pieces.begin(), pieces.end(), [](const Curve<int>& piece) { return piece.getSize() < 3; }))
        return Outcome::refused("Cannot split the contour there: a piece of less than 3 vertices would remain.\n\n"
                                "Resample the contour to more vertices first, or draw the line elsewhere.");
    return inOneStep(stack, {}, [&](EditStep& step) {
        for (const Curve<int>& piece : pieces) {
            auto part = std::make_unique<ModelItem>();
            part->setModel(item.getModel());
            part->setSlice(item.getSlice());
            part->setProperties(item.getProperties());
            part->setVertices(piece);
            applyCreation(step, std::move(part));
        }
        step.apply(std::make_unique<VRLItemDeletionAction>(item));
    });
}

} // namespace vorlen
