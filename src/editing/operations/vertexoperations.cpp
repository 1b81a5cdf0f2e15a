#include "editing/operations/vertexoperations.h"

#include "editing/actions/vrlinsertvertexaction.h"
#include "editing/actions/vrlmovevertexaction.h"
#include "editing/actions/vrlremovevertexaction.h"
#include "editing/operations/itemoperations.h"
#include "editing/operations/onestep.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

const char* const noSuchVertex = "There is no vertex of this number";
const char* const vertexStays = "The vertex stays where it is";

bool hasVertex(const ModelItem& item, int index) {
    return index >= 0 && index < item.getSize();
}

} // namespace

Outcome moveVertex(VRLStack& stack, ModelItem& item, int index, const Vector<double>& point) {
    if (!hasVertex(item, index))
        return Outcome::refused(noSuchVertex);
    VertexDrag drag(stack, item, index);
    drag.moveTo(point);
    return drag.finish();
}

Outcome insertVertex(VRLStack& stack, ModelItem& item, int index, const Vector<double>& point) {
    if (index != item.getSize() && !hasVertex(item, index))
        return Outcome::refused(noSuchVertex);
    return inOneStep(stack, {}, [&](EditStep& step) {
        auto insertion = std::make_unique<VRLInsertVertexAction>(item);
        insertion->setIndex(index);
        insertion->setPoint(point);
        step.apply(std::move(insertion));
    });
}

Outcome removeVertex(VRLStack& stack, ModelItem& item, int index) {
    if (!hasVertex(item, index))
        return Outcome::refused(noSuchVertex);
    if (item.getSize() <= leastNumVertices(item.getGeometry())) {
        const std::string refusal = "You cannot remove any vertex from this contour.\n\nReason: cannot make ";
        if (item.isClosed())
            return Outcome::refused(refusal + "a closed contour with less than 3 vertices.");
        if (item.isConnected())
            return Outcome::refused(refusal + "an open contour with less than 2 vertices.");
        return Outcome::refused("You cannot remove this vertex.\n\nReason: it is the last one.");
    }
    return inOneStep(stack, {}, [&](EditStep& step) {
        auto removal = std::make_unique<VRLRemoveVertexAction>(item);
        removal->setIndex(index);
        step.apply(std::move(removal));
    });
}

VertexDrag::VertexDrag(VRLStack& stack, ModelItem& item, int index) : __stack(stack) {
    if (!hasVertex(item, index))
        throw RangeError("VertexDrag::VertexDrag(VRLStack&, ModelItem&, int)", noSuchVertex);
    __move = std::make_unique<VRLMoveVertexAction>(item);
    __move->setIndex(index);
}

VertexDrag::~VertexDrag() {
    if (!__move || __move->isNull())
        return;
    try {
        __move->revert();
    } catch (...) { // of a client of the bus; the vertex is back
    }
}

void VertexDrag::moveTo(const Vector<double>& point) {
    if (!__move)
        return;
    __move->setPoint(point);
    __move->apply();
}

Outcome VertexDrag::finish() {
    if (!__move || __move->isNull()) {
        __move.reset();
        return Outcome::refused(vertexStays);
    }
    return inOneStep(__stack, vertexStays, [this](EditStep& step) { step.record(std::move(__move)); });
}

void VertexDrag::release() {
    __move.reset();
}

} // namespace vorlen
