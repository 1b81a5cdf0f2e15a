#pragma once

#include <atomic>
#include <cstdint>

#include "document/itemlistings.h"
#include "document/modelitemproperties.h"
#include "document/modelitemselection.h"
#include "document/modelproperties.h"
#include "document/packedbox.h"
#include "document/packedvertices.h"
#include "document/unreadtext.h"
#include "shapes/boundingbox.h"
#include "shapes/vertices.h"

namespace vorlen {

class Model;
class ModelItemOwner;
class StackSlice;

/// One outline, or one set of points, of a model on a slice. Vertices are places (column, row) on the slice's image as
/// it is in its file, in pixels and decimals of them: whole numbers are the middles of pixels.
///
/// An item on a slice or in a model is deleted by whichever of the two goes first; an item that is listed nowhere
/// belongs to its maker. Deletion takes the item off all lists. The vertices belong to the item alone.
///
/// An item that was read from a file keeps its vertices as plain numbers, which take a tenth of the memory, until
/// somebody asks for them as Vertices or changes them. Several threads may ask at once, as for all that is const.
///
/// Vertex numbers and vectors of size 2 are the caller's contract.
class ModelItem : public UnreadText {
public:
    ModelItem();

    /// A copy with the same model, slice, vertices, selection and properties, that is listed nowhere.
    ModelItem(const ModelItem& other);
    ModelItem& operator=(const ModelItem&) = delete;

    ~ModelItem();

    Model* getModel() const { return __model; }

    /// Takes the item off its old model's list and stores the pointer; does not put it on the new model's list.
    void setModel(Model* model);

    StackSlice* getSlice() const { return __slice; }

    /// Stores the pointer; the lists stay as they are.
    void setSlice(StackSlice* slice);

    /// Put the item on the list of its model, its slice, both. Nothing for a null pointer or a listed item.
    void attachToModel();
    void attachToSlice();
    void attach();

    /// Take the item off these lists. The pointers stay, so that it can be attached again.
    void detachFromModel();
    void detachFromSlice();
    void detach();

    /// The item's own look, which goes before its model's.
    void setProperties(const ModelItemProperties& properties);
    ModelItemProperties& getProperties() { return __properties; }
    const ModelItemProperties& getProperties() const { return __properties; }

    /// That of the model; unknown without a model, or when the model defines none.
    MPrimitive getGeometry() const;

    /// Whether successive vertices are joined: polygons and polylines. False without a model.
    bool isConnected() const;

    /// Whether the last vertex is joined to the first: polygons. False without a model.
    bool isClosed() const;

    /// Number of vertices.
    int getSize() const;

    /// The column of a vertex for axis 0, its row for 1. Unlike getVertices() this leaves plain numbers as they are.
    double getCoordinate(int i, int axis) const;

    /// Takes a copy of the vertices, clears the selection, and sets the update box to boundingBox().
    void setVertices(const Vertices<double>& vertices);

    /// The same for the coordinates of n vertices, x and y of one after the other. An item that had no vertices keeps
    /// them as plain numbers.
    void setVertices(const double* coordinates, int n);

    /// The vertices, of space 2, sharing their store with the item: detach() a copy before changing it.
    const Vertices<double>& getVertices() const;

    /// Edits. Each keeps the selection as long as the vertices, and the update box around what changed; appending
    /// clears the selection.
    void appendVertex(const Vector<double>& vertex);
    void appendVertices(const Vertices<double>& vertices);
    void insertVertex(int i, const Vector<double>& vertex);
    void removeVertex(int i);
    void removeVertices(int first, int last);
    void moveVertex(int i, const Vector<double>& vertex);

    ModelItemSelection& getSelection() { return __selection; }
    const ModelItemSelection& getSelection() const { return __selection; }

    /// Throws SizeError unless the selection has a bit for each vertex.
    void setSelection(const ModelItemSelection& selection);

    /// Copies of the selected, or of the other vertices, in vertex order.
    Vertices<double> selectedVertices() const;
    Vertices<double> unselectedVertices() const;

    /// Nothing when no vertex is selected; the selection is cleared.
    void removeSelectedVertices();

    /// Nothing when all vertices are selected; the selection is cleared.
    void removeUnselectedVertices();

    /// The vertex nearest to the point within the tolerance (in pixels, inclusive), the first of several; -1 if none.
    int findNearestVertex(const Vector<double>& point, float tolerance) const;

    /// For points, the first vertex within the tolerance; for polylines and polygons, the end of the first segment
    /// within the tolerance, ends included, beginning with the closing segment of a polygon (whose end is vertex 0).
    /// -1 if none, or without a model.
    int findNearVertex(const Vector<double>& point, float tolerance) const;

    /// Where to insert a vertex at the point: in front of the end of the nearest segment within the tolerance, ends
    /// excluded, at the end for the closing segment of a polygon, and always at the end for points. -1 if none, or
    /// without a model.
    int findInsertion(const Vector<double>& point, float tolerance) const;

    /// How far the point lies, in pixels, from the nearest segment of a polyline or polygon, else from the nearest
    /// vertex; infinite without vertices.
    double distanceTo(const Vector<double>& point) const;

    /// Another number after every change of the vertices. Two items of equal numbers have equal vertices.
    std::uint64_t getRevision() const { return __revision; }

    /// The vertices as plain numbers; empty where they are not held so.
    const PackedVertices& getPacked() const { return __packed; }

    /// The box of the vertices; the default box for an item without any. Constant time until the vertices change.
    BoundingBox<double> extent() const;

    /// The whole numbers around it, grown by rectifyBox().
    BoundingBox<int> boundingBox() const;

    /// The region that the last edit changed, grown by rectifyBox().
    BoundingBox<int> updateBox() const;
    void setUpdateBox(const BoundingBox<int>& box);

    /// The box grown by the painted size: by m on its lower corner and by m + 1 on its upper corner, m being the
    /// larger of line width and point size without their fractions. What the item does not define comes from its
    /// model; what neither defines counts as 0.
    BoundingBox<int> rectifyBox(const BoundingBox<int>& box) const;

    /// Sets the update box from vertex i and the vertices that it is joined to.
    void computeVertexUpdateBox(int i);

    /// True for a polygon of negative signed area in the plane of columns and rows.
    bool isClockwise() const;

    /// Reverses the vertices, and their selection with them, of a polygon that turns the other way.
    void setClockwise(bool clockwise);

    /// True when this item is closed and a vertex of other, on the same slice, lies inside it.
    bool partiallyContains(const ModelItem& other) const;

    /// True when the point lies within the tolerance of the segment from a to b, beside it; with includeEnds also when
    /// it lies within the tolerance of a or b. All comparisons are inclusive.
    static bool pointNearSegment(const Vector<double>& a, const Vector<double>& b, const Vector<double>& point,
                                 float tolerance, bool includeEnds);

private:
    friend class ModelItemOwner;

    using Listing = ItemListings::Listing;

    bool isListedBy(const ModelItemOwner& owner) const { return placeBy(owner) != 0; }
    std::uint64_t placeBy(const ModelItemOwner& owner) const;
    const Vertices<double>& unpack() const;
    Vertices<double>& vertices();
    void takeVertices(const Vertices<double>& vertices);
    void verticesTaken();
    void verticesChanged();
    bool isNear(const Vector<double>& point, float tolerance) const;
    Vertices<double> verticesBySelection(bool selected) const;
    BoundingBox<int> pixelsOf(int i) const;

    Model* __model = nullptr;
    StackSlice* __slice = nullptr;
    PackedVertices __packed;                                     // counts where it is not empty
    mutable std::atomic<Vertices<double>*> __vertices = nullptr; // owned; null as long as nobody asked for them
    std::uint64_t __revision = 0;
    mutable PackedBox<double> __extent;
    mutable bool __extentKnown = true;
    bool __updatesAll = false; // the update box is that of all vertices
    PackedBox<int> __updateBox;
    ModelItemSelection __selection;
    ModelItemProperties __properties;
    ItemListings __owners;
};

} // namespace vorlen
