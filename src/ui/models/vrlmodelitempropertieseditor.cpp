#include "ui/models/vrlmodelitempropertieseditor.h"

#include <algorithm>
#include <array>

#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include "ui/models/vrlattributecontrols.h"
#include "ui/models/vrlattributespinbox.h"

namespace vorlen {

using attributecontrols::addRow;
using attributecontrols::optionalValue;

namespace {

/// The entries of the combo box, in order.
constexpr std::array<VertexSymbol, 5> symbols = {DotSymbol, SphereSymbol, CubeSymbol, DiamondSymbol, TetrahedronSymbol};

QColor toColor(const Vector<int>& color) {
    const auto level = [&color](int i) { return std::clamp(color[i], 0, 255); };
    return QColor(level(0), level(1), level(2));
}

} // namespace

VRLModelItemPropertiesEditor::VRLModelItemPropertiesEditor(QWidget* parent) : QWidget(parent) {
    auto* box = new QGroupBox("Item properties", this);
    auto* form = new QFormLayout(box);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(box);

    __colorButton = new QPushButton(box);
    __colorButton->setAutoDefault(false);
    __colorButton->setIconSize(QSize(64, 16));
    addRow(*form, "Color", *__colorButton, "Color of contours, points and surface: click to choose another");
    __vertexSymbol = new QComboBox(box);
    for (const VertexSymbol symbol : symbols)
        __vertexSymbol->addItem(QString::fromStdString(ModelItemProperties::toString(symbol)));
    addRow(*form, "Vertex symbol", *__vertexSymbol, "How a vertex is drawn");
    __lineWidth = new VRLAttributeSpinBox(100, box);
    addRow(*form, "Line width", *__lineWidth, "Width of contours in screen pixels");
    __pointSize = new VRLAttributeSpinBox(100, box);
    addRow(*form, "Point size", *__pointSize, "Size of vertices in screen pixels");
    __filling = new QCheckBox("Fill vertex symbols", box);
    __filling->setTristate(true);
    addRow(*form, *__filling, "Draws vertex symbols filled, not as outlines alone");
    __visibility = new QCheckBox("Rendering visible", box);
    __visibility->setTristate(true);
    addRow(*form, *__visibility, "Whether this is drawn in the 3D view");

    connect(__colorButton, &QPushButton::clicked, this, &VRLModelItemPropertiesEditor::runColorSelection);
    connect(__vertexSymbol, &QComboBox::currentIndexChanged, this, &VRLModelItemPropertiesEditor::modified);
    for (VRLAttributeSpinBox* spinBox : {__lineWidth, __pointSize})
        connect(spinBox, &QSpinBox::valueChanged, this, &VRLModelItemPropertiesEditor::modified);
    for (QCheckBox* checkBox : {__filling, __visibility})
        connect(checkBox, &QCheckBox::stateChanged, this, &VRLModelItemPropertiesEditor::modified);
    __vertexSymbol->setCurrentIndex(-1);
    attributecontrols::setState(*__filling, std::nullopt);
    attributecontrols::setState(*__visibility, std::nullopt);
    showColor();
}

VRLModelItemPropertiesEditor::~VRLModelItemPropertiesEditor() = default;

void VRLModelItemPropertiesEditor::setProperties(const ModelItemProperties& properties) {
    using P = ModelItemProperties;
    if (properties == this->properties())
        return;
    {
        const QSignalBlocker blocker(this); // the controls tell this editor, which keeps quiet
        setColor(properties.definesColor() ? std::optional(properties.getColor()) : std::nullopt);
        const auto symbol = properties.definesVertexSymbol()
                                ? std::find(symbols.begin(), symbols.end(), properties.getVertexSymbol())
                                : symbols.end();
        __vertexSymbol->setCurrentIndex(symbol == symbols.end() ? -1 : static_cast<int>(symbol - symbols.begin()));
        __lineWidth->setAttribute(optionalValue(properties, &P::definesLineWidth, &P::getLineWidth));
        __pointSize->setAttribute(optionalValue(properties, &P::definesPointSize, &P::getPointSize));
        attributecontrols::setState(
            *__filling, optionalValue(properties, &P::definesVertexSymbolFilling, &P::getVertexSymbolFilling));
        attributecontrols::setState(
            *__visibility, optionalValue(properties, &P::definesRenderingVisibility, &P::getRenderingVisibility));
    }
    emit modified();
}

ModelItemProperties VRLModelItemPropertiesEditor::properties() const {
    ModelItemProperties properties;
    if (__color)
        properties.setColor(*__color);
    if (__vertexSymbol->currentIndex() >= 0)
        properties.setVertexSymbol(symbols[static_cast<std::size_t>(__vertexSymbol->currentIndex())]);
    if (const auto width = __lineWidth->attribute())
        properties.setLineWidth(*width);
    if (const auto size = __pointSize->attribute())
        properties.setPointSize(*size);
    if (const auto filling = attributecontrols::state(*__filling))
        properties.setVertexSymbolFilling(*filling);
    if (const auto visible = attributecontrols::state(*__visibility))
        properties.setRenderingVisibility(*visible);
    return properties;
}

void VRLModelItemPropertiesEditor::clear() {
    setProperties(ModelItemProperties());
}

void VRLModelItemPropertiesEditor::runColorSelection() {
    const QColor color = QColorDialog::getColor(__color ? toColor(*__color) : QColor(), this);
    if (!color.isValid())
        return;
    ModelItemProperties chosen;
    chosen.setColor(color.red(), color.green(), color.blue());
    setColor(chosen.getColor());
    emit modified();
}

void VRLModelItemPropertiesEditor::setColor(const std::optional<Vector<int>>& color) {
    __color = color;
    showColor();
}

void VRLModelItemPropertiesEditor::showColor() {
    if (!__color) {
        __colorButton->setIcon(QIcon());
        __colorButton->setText("Choose...");
        __colorButton->setAccessibleDescription("No color");
        return;
    }
    const QColor color = toColor(*__color);
    QPixmap swatch(__colorButton->iconSize());
    swatch.fill(color);
    QPainter painter(&swatch);
    painter.setPen(QPen(Qt::black, 1));
    painter.drawRect(swatch.rect().adjusted(0, 0, -1, -1));
    painter.end();
    __colorButton->setIcon(swatch);
    __colorButton->setText(QString());
    __colorButton->setAccessibleDescription(
        QString("Red %1, green %2, blue %3").arg(color.red()).arg(color.green()).arg(color.blue()));
}

} // namespace vorlen
