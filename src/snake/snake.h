#pragma once

#include <memory>
#include <vector>

#include "images/rasters/pixelmatrix.h"
#include "numerics/vector.h"
#include "shapes/curve.h"
#include "snake/snakeconfig.h"

namespace vorlen {

/// Active contour: one closed curve that moves over an image, step by step, until it lies on edges.
///
/// The vertices are (x, y) = (column, row) of the image. In each step every vertex is drawn half a pixel along its
/// normal towards the nearest edge on that normal, the whole curve is smoothed as an elastic membrane (the
/// semi-implicit scheme of M. Kass, A. Witkin and D. Terzopoulos, IJCV 1, 1988, with the term of first order alone),
/// and is resampled to about one vertex for each pixel of its length.
///
/// A run begins with setPixelMatrix(), setConfig(), setCurve() and init(); SnakeDriver repeats the steps. The image
/// belongs to the caller and must outlive the run; configuration, edge map and curve belong to the snake. An object can
/// be used for one run after the other.
///
/// Decisions. An open curve is closed. A curve that has left the image feels no force there and shrinks until it is
/// back or has collapsed. A collapsed snake keeps the curve that was too short to be resampled.
///
/// T is the type of the pixels, U that of the coordinates. Compiled for float with float and double with double.
template <class T, class U>
class Snake {
public:
    Snake() = default;
    Snake(const Snake&) = delete;
    Snake& operator=(const Snake&) = delete;
    ~Snake() = default;

    /// The edge map stays that of the image before until computeGradient() or init().
    void setPixelMatrix(const PixelMatrix<T>& image) { __imageMatrix = &image; }
    /// Null before an image is set.
    const PixelMatrix<T>* getImageMatrix() const { return __imageMatrix; }
    /// The edge map: the norm of the gradient on pixels of an edge, 0 elsewhere. Null before it is computed.
    const PixelMatrix<T>* getGradNorm() const { return __gradNorm.get(); }

    /// With updateGradient an edge map that exists is computed anew when alpha changes. Throws as computeGradient(),
    /// and keeps the old configuration then.
    void setConfig(const SnakeConfig& config, bool updateGradient);
    const SnakeConfig& getConfig() const { return __config; }

    /// The snake has vertices of its own. Throws SizeError when they have another dimension than 2.
    void setCurve(const Curve<U>& curve);
    const Curve<U>& getCurve() const { return __curve; }

    /// Computes the edge map and resamples the curve. Throws as both.
    void init();

    /// So many steps. Throws as runStep().
    void run(unsigned int steps);

    /// Forces, regularizations, new positions, resampling. Throws UsageError without an edge map, ValueError when the
    /// regularization is no number or below 0, and as resampleCurve().
    void runStep();

    /// The force of each vertex, and the mean distance to the edges.
    void computeForces();

    /// Sets the weight of each vertex to the upper regularization.
    void computeRegularizations();

    /// Solves the membrane's equations for the vertices, in time linear in their number. Throws UsageError unless
    /// forces and regularizations have been computed for these vertices.
    void computeNewPositions();

    /// Spaces the vertices one pixel or a little more apart. Throws SizeError "The snake has collapsed." for a length
    /// below 3 pixels, and when the length is not finite or above 2^24 pixels.
    void resampleCurve();

    /// Computes the edge map: gradient of R. Deriche, IJCV 1, 1987, thinned to its ridges. Throws UsageError without an
    /// image or with an empty one, ValueError when alpha is not a number above 0.
    void computeGradient();

    /// Half the unit normal, in the sense in which an edge is nearer, and null when there is none within the distance
    /// of the configuration and the image, when both are equally far, and on an edge. The distance to that edge is
    /// added to the sum that becomes getDataDistance(). Both senses are searched in turn, so that the cost is that of
    /// the nearer edge. Throws UsageError without an edge map, ValueError when the normal is longer than one of unit
    /// length can be by rounding, or not a number.
    Vector<U> computeForce(const Vector<U>& position, const Vector<U>& normal);

    /// Makes room for a weight for each vertex.
    void allocateArrays();

    /// Mean distance from the vertices to their edges, in pixels, at the last step.
    float getDataDistance() const { return __dataDistance; }

private:
    void __setGradNorm(float alpha);
    void __markEdges();

    SnakeConfig __config;
    const PixelMatrix<T>* __imageMatrix = nullptr;
    std::unique_ptr<PixelMatrix<T>> __gradNorm;
    std::vector<unsigned char> __marks; // where the edge map reaches the threshold
    bool __marksAreUpToDate = false;
    Curve<U> __curve;
    Vertices<U> __forces;
    Vector<U> __regularizations;
    float __dataDistance = 0.0f;
};

} // namespace vorlen
