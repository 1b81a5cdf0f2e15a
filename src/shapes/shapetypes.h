#pragma once

namespace vorlen {

/// Type codes of the shapes, as the first record of a shape file tells them.
enum ShapeType : int {
    ClosedCurveType = 0,
    OpenCurveType = 1,
    ClosedCurveStackType = 2,
    OpenCurveStackType = 3,
    ClosedQuadMeshType = 4,
    OpenQuadMeshType = 5,
    VerticesType = 6,
    VertexStackType = 7,
    TriMeshType = 8
};

} // namespace vorlen
