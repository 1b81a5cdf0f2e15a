#pragma once

namespace vorlen {

template <class T>
class TriMesh;

/// Closed triangle surface, and the side of it that counts: the inside until told otherwise.
///
/// The mesh is not owned. Instantiated for int, float, double and long double.
template <class T>
class MaskSurface {
public:
    void setTriMesh(TriMesh<T>& mesh);
    /// The mesh, null until set.
    TriMesh<T>* getTriMesh() { return __triMesh; }
    const TriMesh<T>* getTriMesh() const { return __triMesh; }

    void setInsideMask(bool inside);
    bool isInsideMask() const { return __insideMask; }

private:
    bool __insideMask = true;
    TriMesh<T>* __triMesh = nullptr;
};

} // namespace vorlen
