#include "ui/models/vrlmodelpropertieseditor.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include "ui/models/vrlattributecontrols.h"
#include "ui/models/vrlattributespinbox.h"

namespace vorlen {

using attributecontrols::addRow;
using attributecontrols::optionalValue;

VRLModelPropertiesEditor::VRLModelPropertiesEditor(QWidget* parent) : QWidget(parent) {
    auto* box = new QGroupBox("Model properties", this);
    auto* form = new QFormLayout(box);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(box);

    __geometry = new QComboBox(box);
    __geometry->addItems({"Polygon", "Polyline", "Polypoint"});
    addRow(*form, "Geometry", *__geometry, "What is drawn on the slices: closed outlines, open lines, or points",
           "What is drawn on the slices: closed outlines (Polygon), open lines (Polyline), or points (Polypoint). It "
           "is chosen when the model is made and stays.");
    __renderingMode = new QComboBox(box);
    __renderingMode->addItems({"Vertex", "Curve", "Wireframe", "Surface"});
    addRow(*form, "Rendering mode", *__renderingMode, "How the model is drawn in space",
           "How the model is drawn in space: its vertices, its curves, the edges of its surface, or its surface.");
    __opacity = new VRLAttributeSpinBox(255, box);
    addRow(*form, "Surface opacity", *__opacity, "From 0, invisible, to 255, opaque",
           "How much of what lies behind the surface it hides: from 0, an invisible surface, to 255, an opaque one.");
    __shininess = new VRLAttributeSpinBox(255, box);
    addRow(*form, "Surface shininess", *__shininess, "How small and sharp the highlights are",
           "How small and sharp the highlights on the surface are: small numbers give a dull surface, large ones a "
           "polished one.");
    __quadMeshWidth = new VRLAttributeSpinBox(1000, box);
    addRow(*form, "Quadmesh width", *__quadMeshWidth, "Number of vertices around the surface on each level",
           "The surface is drawn as a regular mesh. This is the number of vertices around it, on each level: more give "
           "a finer surface and take longer.");
    __quadMeshHeight = new VRLAttributeSpinBox(1000, box);
    addRow(*form, "Quadmesh height", *__quadMeshHeight, "Number of levels of the surface along the cutting axis",
           "The surface is drawn as a regular mesh. This is the number of its levels along the cutting axis: more give "
           "a finer surface and take longer.");
    __beginCap = new QCheckBox("Begin cap", box);
    __beginCap->setTristate(true);
    addRow(*form, *__beginCap, "Closes the surface at its first contour",
           "Whether the surface is closed at its first contour, or open like a tube.");
    __endCap = new QCheckBox("End cap", box);
    __endCap->setTristate(true);
    addRow(*form, *__endCap, "Closes the surface at its last contour",
           "Whether the surface is closed at its last contour, or open like a tube.");
    __economicRendering = new QCheckBox("Economic rendering", box);
    __economicRendering->setTristate(true);
    addRow(
        *form, *__economicRendering, "A mark that is kept with the model",
        "A mark that is kept with the model and saved in the stack's file. The 3D view draws a model the same way with "
        "it and without.");

    connect(__geometry, &QComboBox::currentIndexChanged, this, &VRLModelPropertiesEditor::modified);
    connect(__renderingMode, &QComboBox::currentIndexChanged, this, &VRLModelPropertiesEditor::modified);
    for (VRLAttributeSpinBox* spinBox : {__opacity, __shininess, __quadMeshWidth, __quadMeshHeight})
        connect(spinBox, &QSpinBox::valueChanged, this, &VRLModelPropertiesEditor::modified);
    for (QCheckBox* checkBox : {__beginCap, __endCap, __economicRendering})
        connect(checkBox, &QCheckBox::stateChanged, this, &VRLModelPropertiesEditor::modified);
    clear();
}

void VRLModelPropertiesEditor::setProperties(const ModelProperties& properties) {
    using P = ModelProperties;
    {
        const QSignalBlocker blocker(this); // the controls tell this editor, which keeps quiet
        __geometry->setCurrentIndex(properties.definesGeometry() ? properties.getGeometry() : -1);
        __renderingMode->setCurrentIndex(properties.definesRenderingMode() ? properties.getRenderingMode() : -1);
        __opacity->setAttribute(optionalValue(properties, &P::definesSurfaceOpacity, &P::getSurfaceOpacity));
        __shininess->setAttribute(optionalValue(properties, &P::definesSurfaceShininess, &P::getSurfaceShininess));
        __quadMeshWidth->setAttribute(optionalValue(properties, &P::definesQuadMeshWidth, &P::getQuadMeshWidth));
        __quadMeshHeight->setAttribute(optionalValue(properties, &P::definesQuadMeshHeight, &P::getQuadMeshHeight));
        attributecontrols::setState(*__beginCap, optionalValue(properties, &P::hasBeginCapFlag, &P::getBeginCapFlag));
        attributecontrols::setState(*__endCap, optionalValue(properties, &P::hasEndCapFlag, &P::getEndCapFlag));
        attributecontrols::setState(*__economicRendering,
                                    optionalValue(properties, &P::definesEconomicRendering, &P::getEconomicRendering));
    }
    emit modified();
}

ModelProperties VRLModelPropertiesEditor::properties() const {
    ModelProperties properties;
    if (__geometry->currentIndex() >= 0)
        properties.setGeometry(static_cast<MPrimitive>(__geometry->currentIndex()));
    if (__renderingMode->currentIndex() >= 0)
        properties.setRenderingMode(static_cast<RenderingMode>(__renderingMode->currentIndex()));
    if (const auto opacity = __opacity->attribute())
        properties.setSurfaceOpacity(*opacity);
    if (const auto shininess = __shininess->attribute())
        properties.setSurfaceShininess(*shininess);
    if (const auto width = __quadMeshWidth->attribute())
        properties.setQuadMeshWidth(static_cast<unsigned int>(*width));
    if (const auto height = __quadMeshHeight->attribute())
        properties.setQuadMeshHeight(static_cast<unsigned int>(*height));
    if (const auto cap = attributecontrols::state(*__beginCap))
        properties.setBeginCapFlag(*cap);
    if (const auto cap = attributecontrols::state(*__endCap))
        properties.setEndCapFlag(*cap);
    if (const auto economic = attributecontrols::state(*__economicRendering))
        properties.setEconomicRendering(*economic);
    return properties;
}

void VRLModelPropertiesEditor::clear() {
    setProperties(ModelProperties());
}

void VRLModelPropertiesEditor::setGeometryBoxEnabled(bool enabled) {
    __geometry->setEnabled(enabled);
}

} // namespace vorlen
