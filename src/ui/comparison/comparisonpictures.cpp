#include "ui/comparison/comparisonpictures.h"

#include <algorithm>
#include <cmath>

#include "numerics/exception.h"
#include "shapes/quadmesh.h"
#include "ui/density/densitycolor.h"
#include "ui/viewer/quadmeshpaintergl.h"
#include "ui/viewer/trimeshpaintergl.h"
#include "ui/viewer/verticespaintergl.h"

namespace vorlen {

namespace {

constexpr float translucence = 60;

Vector<int> colorOf(int red, int green, int blue) {
    Vector<int> color(3);
    color[0] = red;
    color[1] = green;
    color[2] = blue;
    return color;
}

std::unique_ptr<ShapePainterGL<float>> painterFor(const Shape<float>& shape) {
    std::unique_ptr<ShapePainterGL<float>> painter;
    const bool surface = dynamic_cast<const QuadMesh<float>*>(&shape) != nullptr;
    if (surface)
        painter = std::make_unique<QuadMeshPainterGL<float>>();
    else if (shape.getShapeType() == TriMeshType)
        painter = std::make_unique<TriMeshPainterGL<float>>();
    else
        painter = std::make_unique<VerticesPainterGL<float>>();
    painter->setShape(shape);
    if (surface) {
        ShapePainterAttributesGL attributes = painter->getAttributes();
        attributes.setDisplayMode(SurfaceDisplayGL);
        painter->setAttributes(attributes);
    }
    return painter;
}

/// The negative decimal logarithms.
std::vector<float> logarithms(const std::vector<float>& p) {
    std::vector<float> result(p.size());
    std::transform(p.begin(), p.end(), result.begin(), [](float each) { return -std::log10(each); });
    return result;
}

} // namespace

ComparisonPictures::ComparisonPictures(const GroupComparison& comparison, const std::vector<ComparedShape>& around)
    : __comparison(comparison) {
    for (const ComparedShape& each : around)
        addAround(*each.shape);
    if (comparison.getValues().isForm) {
        buildForm();
        return;
    }
    // A mask of a file that has gone since is no reason to show nothing.
    for (const std::string& name : comparison.getSettings().mapping.masks)
        try {
            addAround(*std::unique_ptr<Shape<float>>(Shape<float>::loadFile(name)));
        } catch (const Exception&) {
            continue;
        }
    const auto meshOf = [&comparison](int sign) {
        std::optional<TriMesh<float>> surface = comparison.significantSurface(sign);
        return surface ? std::make_unique<TriMesh<float>>(std::move(*surface)) : nullptr;
    };
    __above = surfaceOf(meshOf(1), colorOf(230, 120, 20));
    if (comparison.getStatistic().isSigned())
        __below = surfaceOf(meshOf(-1), colorOf(40, 110, 220));
    showMap(ComparedMap::P);
}

ComparisonPictures::~ComparisonPictures() = default;

ComparisonPictures::Surface ComparisonPictures::surfaceOf(std::unique_ptr<TriMesh<float>> mesh,
                                                          const Vector<int>& color) {
    Surface surface;
    if (!mesh)
        return surface;
    surface.mesh = std::move(mesh);
    surface.painter = std::make_unique<TriMeshPainterGL<float>>();
    ShapePainterAttributesGL attributes = surface.painter->getAttributes();
    attributes.setColor(color);
    surface.painter->setAttributes(attributes);
    surface.painter->setShape(*surface.mesh);
    return surface;
}

void ComparisonPictures::addAround(const Shape<float>& shape) {
    if (shape.getSpace() != 3 || shape.getNumVertices() == 0)
        return;
    __shapes.emplace_back(shape.clone());
    __shapes.back()->detach();
    __around.push_back(painterFor(*__shapes.back()));
    ShapePainterAttributesGL attributes = __around.back()->getAttributes();
    attributes.setColor(colorOf(170, 170, 185));
    attributes.setTransparency(translucence);
    __around.back()->setAttributes(attributes);
}

/// The first specimen's shape, its vertices at the means.
void ComparisonPictures::buildForm() {
    const SpecimenList& specimens = __comparison.getSettings().specimens;
    const std::vector<std::vector<float>>& values = __comparison.getValues().values;
    std::unique_ptr<Shape<float>> shape;
    if (!specimens.shapes.empty() && specimens.shapes.front()) {
        shape.reset(specimens.shapes.front()->clone());
        shape->detach();
    } else {
        shape.reset(Shape<float>::loadFile(specimens.files.front()));
    }
    std::size_t place = 0;
    for (VertexIterator<float> it(*shape); it.current() != nullptr && place < values.front().size(); ++it)
        for (int a = 0; a < 3; ++a, ++place) {
            double sum = 0;
            for (const std::vector<float>& row : values)
                sum += double(row[place]);
            (*it.current())[a] = float(sum / double(values.size()));
        }
    const std::vector<float> logs = logarithms(__comparison.getResult().p);
    const auto [least, greatest] = std::minmax_element(logs.begin(), logs.end());
    __least = double(*least);
    __greatest = double(*greatest);
    if (auto* mesh = dynamic_cast<QuadMesh<float>*>(shape.get());
        mesh != nullptr && std::size_t(mesh->getHeight()) * std::size_t(mesh->getWidth()) == logs.size()) {
        const double width = __greatest > __least ? __greatest - __least : 1;
        auto colors = std::make_unique<QuadMesh<int>>(3, mesh->getHeight(), mesh->getWidth());
        std::size_t vertex = 0;
        for (int r = 0; r < mesh->getHeight(); ++r)
            for (int c = 0; c < mesh->getWidth(); ++c) {
                const QColor color = densityColor((double(logs[vertex++]) - __least) / width);
                (*colors)[r][c][0] = color.red();
                (*colors)[r][c][1] = color.green();
                (*colors)[r][c][2] = color.blue();
            }
        mesh->setVertexColors(colors.release()); // the mesh deletes them
    }
    __form = painterFor(*shape);
    __shapes.push_back(std::move(shape));
}

std::vector<PainterGL<float>*> ComparisonPictures::painters() const {
    std::vector<PainterGL<float>*> all;
    for (PainterGL<float>* each :
         {static_cast<PainterGL<float>*>(__above.painter.get()), static_cast<PainterGL<float>*>(__below.painter.get()),
          static_cast<PainterGL<float>*>(__form.get()), static_cast<PainterGL<float>*>(__plane.get())})
        if (each != nullptr)
            all.push_back(each);
    for (const auto& each : __around)
        all.push_back(each.get());
    return all;
}

bool ComparisonPictures::hasMap(ComparedMap map) const {
    return !__comparison.getValues().isForm &&
           (map != ComparedMap::Difference || __comparison.getSettings().specimens.groupNames.size() == 2);
}

void ComparisonPictures::showMap(ComparedMap map) {
    if (!hasMap(map))
        return;
    const int axis = __plane ? __plane->getAxis() : 2;
    const int index = __plane ? __plane->getIndex() : __comparison.getValues().lattice->getSize(axis) / 2;
    __plane.reset();
    __map = map;
    const PermutationResult& result = __comparison.getResult();
    __matrix = __comparison.mapOf(map == ComparedMap::P           ? logarithms(result.p)
                                  : map == ComparedMap::Statistic ? result.statistic
                                                                  : __comparison.meanDifferences());
    const Vector<float> range = __matrix.range();
    __least = double(range[0]);
    __greatest = double(range[1]);
    __plane = std::make_unique<DensitySlicePainterGL>(__matrix, *__comparison.getValues().lattice);
    __plane->setPlane(axis, index);
}

QString ComparisonPictures::scaleText(double share) const {
    const double value = __least + share * (__greatest - __least);
    const bool isP = __comparison.getValues().isForm || __map == ComparedMap::P;
    return isP ? "p " + QString::number(std::pow(10, -value), 'g', 2) : QString::number(value, 'g', 3);
}

} // namespace vorlen
