#include "normalization/shapefilenames.h"

#include <algorithm>

#include "shapes/shape.h"

namespace vorlen {

template <class T>
std::string ShapeFileNames::nameOf(const std::string& specimen, const Shape<T>& shape) {
    std::string base = specimen + "-" + shape.getName();
    std::replace_if(
        base.begin(), base.end(), [](char c) { return c == '/' || c == '\0'; }, '_');
    const std::string ending = shape.getShapeType() == VertexStackType ? ".vs" : ".qm";
    if (base.size() > ending.size() && base.ends_with(ending))
        base.resize(base.size() - ending.size());
    std::string name = base + ending;
    for (int k = 2; !__taken.insert(name).second; ++k) {
        name = base;
        name.append("-").append(std::to_string(k)).append(ending);
    }
    return name;
}

template std::string ShapeFileNames::nameOf(const std::string&, const Shape<float>&);
template std::string ShapeFileNames::nameOf(const std::string&, const Shape<double>&);
template std::string ShapeFileNames::nameOf(const std::string&, const Shape<long double>&);

} // namespace vorlen
