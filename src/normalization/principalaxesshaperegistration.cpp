#include "normalization/principalaxesshaperegistration.h"

#include "numerics/exception.h"
#include "shapes/shapeset.h"
#include "shapes/vertexstack.h"

template <class T>
PrincipalAxesShapeRegistration<T>::~PrincipalAxesShapeRegistration() = default;

template <class T>
void PrincipalAxesShapeRegistration<T>::fit(const Shape<T>&, const Shape<T>&) {
}

template <class T>
void PrincipalAxesShapeRegistration<T>::fit(const Shape<T>& shape) {
    if (shape.getSize() == 0) {
        throw SizeError("void PrincipalAxesShapeRegistration<T>::fit(const Shape<T>&)",
                        "This shape contains no vertex");
    }
    Vector<T> centre, values;
    SquareMatrix<T> vectors;
    shape.inertia(centre).eigenJacobi(values, vectors, true);
    this->__rotation = vectors.transpose();
    this->__translation = -(this->__rotation * centre);
}

template <class T>
void PrincipalAxesShapeRegistration<T>::fit(const ShapeSet<T>& set) {
    fit(set.asVertexStack());
}

template class PrincipalAxesShapeRegistration<float>;
template class PrincipalAxesShapeRegistration<double>;
template class PrincipalAxesShapeRegistration<long double>;
