#include "normalization/shapetransform.h"

#include <gtest/gtest.h>

#include "shapes/shapeset.h"
#include "shapes/vertexstack.h"
#include "shapes/vertices.h"
#include "support/recordingmonitor.h"
#include "support/vectors.h"

namespace vorlen {

namespace {

/// Moves along x by 10; valid where x is below 12.
class Shift : public ShapeTransform<float> {
public:
    using ShapeTransform<float>::apply;
    void apply(Vector<float>& v) const override { v[0] += 10; }
    bool isValidAt(const Vector<float>& v) const override { return v[0] < 12; }
};

/// Vertices at x = 0, 1, ..., size - 1.
void countUp(Vertices<float>& vertices) {
    for (int i = 0; i < vertices.getSize(); ++i) {
        vertices[i].setZeros();
        vertices[i][0] = float(i);
    }
}

std::vector<float> abscissas(const Shape<float>& shape) {
    std::vector<float> result;
    for (ConstVertexIterator<float> it(shape); it.current(); ++it)
        result.push_back((*it.current())[0]);
    return result;
}

} // namespace

// A stack of levels, a shape with an extension, and a null entry in one set: each vertex moves once, and is counted.
TEST(ShapeTransform, movesAndCountsEveryVertexOfASetWithItsExtensionsAndReportsEachEntry) {
    Vertices<float> cap(2, 3, 3, 3), points(2, 2, 2, 2);
    countUp(cap);
    countUp(points);
    points.getExtensions().addShape(&cap, false);
    VertexStack<float> stack(2, 2, 2, 4, 4);
    countUp(stack[0]);
    countUp(stack[1]);
    ShapeSet<float> set;
    set.addShape(&points, true);
    set.addShape(nullptr, true);
    set.addShape(&stack, false);

    Shift shift;
    shift.apply(set);
    EXPECT_EQ((std::vector<float>{10, 11}), abscissas(points));
    EXPECT_EQ((std::vector<float>{10, 11, 12}), abscissas(cap));
    EXPECT_EQ((std::vector<float>{10, 11, 10, 11}), abscissas(stack));

    RecordingMonitor monitor;
    shift.addMonitor(monitor);
    EXPECT_EQ(1u, shift.jacobianErrors(set));
    EXPECT_EQ((std::vector<std::string>{"started ", "1/3", "2/3", "3/3", "finished "}), monitor.heard);
    shift.apply(static_cast<Shape<float>&>(cap));
    EXPECT_EQ(3u + 1u - 1u, shift.jacobianErrors(set));

    points.getExtensions() = ShapeSet<float>();
    monitor.heard.clear();
    shift.apply(set);
    EXPECT_EQ((std::vector<std::string>{"started ", "1/3", "2/3", "3/3", "finished "}), monitor.heard);
    EXPECT_EQ(2u + 4u, shift.jacobianErrors(set));
}

} // namespace vorlen
