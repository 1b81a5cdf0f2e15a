#pragma once

#include <string>
#include <vector>

#include "numerics/squarematrix.h"
#include "numerics/vector.h"
#include "reconstruction/modelshape.h"
#include "reconstruction/outlinetower.h"
#include "reconstruction/surfaceends.h"
#include "shapes/curvestack.h"
#include "shapes/surfacecertificate.h"

namespace vorlen {

class Model;
class StackSlice;
template <class T>
class ModelSurface;
template <class T>
class StackReconstruction;
template <class T>
class TriMesh;

/// Measures a whole model in world coordinates, in double precision, from the document as it stands at run().
///
/// The area of a polygon or polyline model is that of the surface tiled between successive contours, without caps; it
/// is -1, not available, where ModelSurface finds none. The volume of a polygon model is that of a stack of
/// flat cylinders: the area of what a slice's contours enclose (SectionRegion) reaches up to the next slice that has
/// some, the last one by that slice's relative position. It needs no tiling, so it is reported for models with several
/// contours on a slice as well; it is -1 where all slices lie at one height. The slab volume has slabs between
/// successive sections instead, each that of a frustum, h / 3 (A1 + A2 + sqrt(A1 A2)), and nothing beyond the first and
/// the last.
///
/// Where there is a closed surface its area and its volume by the divergence theorem are told beside these, and what
/// holds of it as a surface. Most models are measured without a mesh of it (OutlineTower). Its ends are those of
/// setEnds(), whatever caps the model shows.
class ModelMorphometry {
public:
    /// Working memory of runWithoutMesh().
    struct Towers {
        OutlineTower whole, smooth, half;
    };

    ModelMorphometry();

    /// Another model than the present one clears the results. The model is seen, not owned.
    void setModel(const Model& model);
    const Model* getModel() const { return __model; }

    /// How the closed surface ends: half a section on, until told otherwise. Counts from the next run() on.
    void setEnds(const SurfaceEnds& ends) { __ends = ends; }

    /// Throws UsageError when no model has been set.
    void run();
    /// The same by a reconstruction of the model's stack, which serves all of its models.
    void run(const StackReconstruction<double>& reconstruction);

    /// The two halves of run(): without a mesh, where that is enough, in the memory of some towers that serve model
    /// after model; and by a mesh, when the first one has said false. Several objects may do the first at once, each
    /// with towers of its own.
    bool runWithoutMesh(const StackReconstruction<double>& reconstruction, Towers& towers);
    void runByMesh(const StackReconstruction<double>& reconstruction);
    void clear();

    int getNumVertices() const { return __numVertices; }
    int getNumContours() const { return __numContours; }
    double getArea() const { return __area; }

    /// The same through the outlines without the steps of the pixel grid (withoutPixelSteps()).
    double getAreaWithoutSteps() const { return __areaWithoutSteps; }
    double getVolume() const { return __volume; }

    /// Length of the path that an open line of one point on each slice is (ModelSurface::path()); -1 for all else.
    double getPathLength() const { return __pathLength; }

    /// Volume of the slabs between successive sections.
    double getSlabVolume() const { return __slabVolume; }

    /// Area and volume of the closed surface, the area without the steps of the pixel grid; -1 where there is none.
    double getClosedArea() const { return __closedArea; }
    double getClosedVolume() const { return __closedVolume; }

    /// The volume that counts: that of the closed surface where it is sound, else that of the sections, or -1.
    double getBestVolume() const;
    bool isBestVolumeOfSurface() const { return __certificate.isSound(); }

    /// Lets run() also estimate errors; three times the work.
    void setErrorsWanted(bool wanted) { __errorsWanted = wanted; }

    /// By how much the measures of the closed surface, and the area of its walls, change when every second section is
    /// left out: the mean of both ways to do so against the whole. Errors fall at least as the spacing does, so that
    /// this is more than the error of the whole; for smooth shapes it is about three times that. -1 where it is not
    /// wanted or there are fewer than four sections.
    double getVolumeError() const { return __volumeError; }
    double getAreaError() const { return __areaError; }
    double getClosedAreaError() const { return __closedAreaError; }

    /// Lets run() also look at the form of the closed surface; about a second for each model.
    void setShapeWanted(bool wanted) { __shapeWanted = wanted; }

    /// Where it is wanted and the surface is closed and encloses something; else all 0.
    const ModelShape& getShape() const { return __shape; }

    /// What holds of the closed surface; that of no triangles where there is none.
    const SurfaceCertificate& getCertificate() const { return __certificate; }

    /// Why there is no area, as a clause for a sentence; empty when there is one.
    const std::string& getReason() const { return __reason; }

    /// Radius of the sphere of the same volume.
    double getEquivRadius() const;

    /// Mean of all vertices.
    const Vector<double>& getIsobarycenter() const { return __isobarycenter; }

    /// Standard deviations of the vertices along the main axes, largest first.
    const Vector<double>& getMainAxesLengths() const { return __mainAxesLengths; }

    /// One main axis in each column.
    const SquareMatrix<double>& getMainAxes() const { return __mainAxes; }

    /// For each main axis the coordinate axis (0, 1, 2) along which its component is largest.
    const Vector<int>& getMatchingCoordinateAxes() const { return __matchingCoordinateAxes; }

    /// True when the stack is not branching.
    bool simpleCurveStack(const CurveStack<double>& stack) const;

private:
    const StackSlice* count();
    void findAxes(const Vector<double>& centre, SquareMatrix<double> scatter, int numVertices);
    bool estimateErrors(const OutlineTower& tower, OutlineTower& half);
    void close(const ModelSurface<double>& surface, const TriMesh<double>& tiles);
    void takeSteps(const ModelSurface<double>& smooth);
    void estimateErrors(const ModelSurface<double>& surface);
    void addSections(const StackReconstruction<double>& reconstruction,
                     const std::vector<OutlineTower::Section>& sections);

    const Model* __model = nullptr;
    SurfaceEnds __ends;
    int __numVertices = 0;
    int __numContours = 0;
    Vector<double> __isobarycenter;
    double __area = 0;
    double __areaWithoutSteps = 0;
    double __volume = 0;
    double __slabVolume = 0;
    double __pathLength = -1;
    double __closedArea = -1;
    double __closedVolume = -1;
    double __volumeError = -1;
    double __areaError = -1;
    double __closedAreaError = -1;
    bool __errorsWanted = false;
    bool __shapeWanted = false;
    ModelShape __shape;
    SurfaceCertificate __certificate;
    std::string __reason;
    Vector<double> __mainAxesLengths;
    SquareMatrix<double> __mainAxes;
    Vector<int> __matchingCoordinateAxes;
};

} // namespace vorlen
