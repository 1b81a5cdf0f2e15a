#include "ui/viewer/shapeviewerattributeseditor.h"

#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QPixmap>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSpinBox>

#include <algorithm>

namespace vorlen {

namespace {

constexpr int undefinedNumber = -1;

/// What the spin box shows of a value. Fractions go, but nothing defined shows as undefined.
int shownNumber(const QSpinBox& spin, bool defined, float value) {
    return defined ? std::clamp(int(std::clamp(value, 0.0f, 1e6f)), 0, spin.maximum()) : undefinedNumber;
}

Qt::CheckState shownState(bool defined, bool value) {
    return !defined ? Qt::PartiallyChecked : value ? Qt::Checked : Qt::Unchecked;
}

void sayState(QCheckBox& check) {
    const Qt::CheckState state = check.checkState();
    check.setText(state == Qt::PartiallyChecked ? "(undefined)" : state == Qt::Checked ? "On" : "Off");
}

} // namespace

ShapeViewerAttributesEditor::ShapeViewerAttributesEditor(QWidget* parent) : QWidget(parent) {
    auto* grid = new QGridLayout(this);
    QStringList modes, symbols;
    for (int code = 0; code < numDisplayModesGL; ++code)
        modes += QString::fromStdString(toString(DisplayModeGL(code)));
    for (int code = 0; code < numVertexSymbolsGL; ++code)
        symbols += QString::fromStdString(toString(VertexSymbolGL(code)));
    __displayMode = __addCombo(*grid, "Display mode", modes);
    __vertexSymbol = __addCombo(*grid, "Vertex symbol", symbols);
    __symbolSize = __addSpin(*grid, "Symbol size", 1000);
    __lineWidth = __addSpin(*grid, "Line width", 100);
    __opacity = __addSpin(*grid, "Opacity", 255);
    __shininess = __addSpin(*grid, "Shininess", 128);
    __smoothing = __addSpin(*grid, "Smoothing", 25);
    __color = new QPushButton("Select...", this);
    __addRow(*grid, "Color", *__color);
    connect(__color, &QPushButton::clicked, this, &ShapeViewerAttributesEditor::runColorSelection);
    __beginCap = __addCheck(*grid, "Begin cap", Qt::Unchecked);
    __endCap = __addCheck(*grid, "End cap", Qt::Unchecked);
    __visible = __addCheck(*grid, "Visible", Qt::Checked);

    __applyButton = new QPushButton("Apply", this);
    __cancelButton = new QPushButton("Cancel", this);
    __cancelButton->setToolTip("Show the attributes as they are");
    grid->addWidget(__applyButton, grid->rowCount(), 0);
    grid->addWidget(__cancelButton, grid->rowCount() - 1, 1);
    grid->setRowStretch(grid->rowCount(), 1);
    connect(__applyButton, &QPushButton::clicked, this, &ShapeViewerAttributesEditor::apply);
    connect(__cancelButton, &QPushButton::clicked, this, &ShapeViewerAttributesEditor::cancel);
    setEnabled(false);
}

void ShapeViewerAttributesEditor::setAttributes(const ShapePainterAttributesGL& attributes) {
    const QSignalBlocker quiet(this);
    __applied = attributes;
    __show(attributes);
}

ShapePainterAttributesGL ShapeViewerAttributesEditor::getAttributes() const {
    ShapePainterAttributesGL attributes;
    attributes.clear();
    if (__shownColor)
        attributes.setColor(*__shownColor);
    if (__displayMode->currentIndex() > 0)
        attributes.setDisplayMode(DisplayModeGL(__displayMode->currentIndex()));
    if (__vertexSymbol->currentIndex() > 0)
        attributes.setVertexSymbol(VertexSymbolGL(__vertexSymbol->currentIndex()));
    // A control that still shows the applied value stands for this value with its fraction.
    const auto number = [](const QSpinBox& spin, bool defined, float applied) {
        return defined && spin.value() == shownNumber(spin, true, applied) ? applied : float(spin.value());
    };
    if (__symbolSize->value() != undefinedNumber)
        attributes.setSymbolSize(number(*__symbolSize, __applied.useSymbolSize(),
                                        __applied.useSymbolSize() ? __applied.getSymbolSize() : 0));
    if (__lineWidth->value() != undefinedNumber)
        attributes.setLineWidth(
            number(*__lineWidth, __applied.useLineWidth(), __applied.useLineWidth() ? __applied.getLineWidth() : 0));
    if (__opacity->value() != undefinedNumber)
        attributes.setTransparency(number(*__opacity, __applied.useTransparency(),
                                          __applied.useTransparency() ? __applied.getTransparency() : 0));
    if (__shininess->value() != undefinedNumber)
        attributes.setShininess(
            number(*__shininess, __applied.useShininess(), __applied.useShininess() ? __applied.getShininess() : 0));
    if (__smoothing->value() != undefinedNumber)
        attributes.setSmoothing(__smoothing->value());
    if (__beginCap->checkState() != Qt::PartiallyChecked)
        attributes.setBeginCapFlag(__beginCap->isChecked());
    if (__endCap->checkState() != Qt::PartiallyChecked)
        attributes.setEndCapFlag(__endCap->isChecked());
    if (__visible->checkState() != Qt::PartiallyChecked)
        attributes.setVisibility(__visible->isChecked());
    return attributes;
}

void ShapeViewerAttributesEditor::clear() {
    ShapePainterAttributesGL undefined;
    undefined.clear();
    setAttributes(undefined);
}

void ShapeViewerAttributesEditor::setImmediate(bool immediate) {
    __immediate = immediate;
    __applyButton->setVisible(!immediate);
    __cancelButton->setVisible(!immediate);
}

void ShapeViewerAttributesEditor::runColorSelection() {
    const Vector<int> present = __shownColor.value_or(Vector<int>());
    const QColor start = __shownColor ? QColor(present[0], present[1], present[2]) : QColor(Qt::white);
    const QColor chosen = QColorDialog::getColor(start, this, "Color");
    if (!chosen.isValid())
        return;
    Vector<int> color(3);
    color[0] = chosen.red();
    color[1] = chosen.green();
    color[2] = chosen.blue();
    __shownColor = color;
    __showColor();
    processChange();
}

void ShapeViewerAttributesEditor::processChange() {
    if (__immediate && !__showing)
        apply();
}

void ShapeViewerAttributesEditor::apply() {
    __applied = getAttributes();
    emit attributesChanged();
}

void ShapeViewerAttributesEditor::cancel() {
    __show(__applied);
}

QComboBox* ShapeViewerAttributesEditor::__addCombo(QGridLayout& grid, const QString& label,
                                                   const QStringList& entries) {
    auto* combo = new QComboBox(this);
    combo->addItems(entries);
    __addRow(grid, label, *combo);
    connect(combo, &QComboBox::currentIndexChanged, this, &ShapeViewerAttributesEditor::processChange);
    return combo;
}

QSpinBox* ShapeViewerAttributesEditor::__addSpin(QGridLayout& grid, const QString& label, int maximum) {
    auto* spin = new QSpinBox(this);
    spin->setRange(undefinedNumber, maximum);
    spin->setSpecialValueText(" ");
    __addRow(grid, label, *spin);
    connect(spin, &QSpinBox::valueChanged, this, &ShapeViewerAttributesEditor::processChange);
    return spin;
}

QCheckBox* ShapeViewerAttributesEditor::__addCheck(QGridLayout& grid, const QString& label, Qt::CheckState start) {
    auto* check = new QCheckBox(this);
    check->setTristate(true);
    check->setCheckState(start);
    sayState(*check);
    __addRow(grid, label, *check);
    connect(check, &QCheckBox::stateChanged, this, [this, check] {
        sayState(*check);
        processChange();
    });
    return check;
}

void ShapeViewerAttributesEditor::__addRow(QGridLayout& grid, const QString& label, QWidget& control) {
    auto* text = new QLabel(label, this);
    text->setBuddy(&control);
    control.setAccessibleName(label);
    const int row = grid.rowCount();
    grid.addWidget(text, row, 0);
    grid.addWidget(&control, row, 1);
}

void ShapeViewerAttributesEditor::__show(const ShapePainterAttributesGL& a) {
    __showing = true;
    __displayMode->setCurrentIndex(a.useDisplayMode() ? a.getDisplayMode() : UndefinedDisplayGL);
    __vertexSymbol->setCurrentIndex(a.useVertexSymbol() ? a.getVertexSymbol() : UndefinedSymbolGL);
    const auto show = [](QSpinBox& spin, bool defined, float value) {
        spin.setValue(shownNumber(spin, defined, value));
    };
    show(*__symbolSize, a.useSymbolSize(), a.useSymbolSize() ? a.getSymbolSize() : 0);
    show(*__lineWidth, a.useLineWidth(), a.useLineWidth() ? a.getLineWidth() : 0);
    show(*__opacity, a.useTransparency(), a.useTransparency() ? a.getTransparency() : 0);
    show(*__shininess, a.useShininess(), a.useShininess() ? a.getShininess() : 0);
    show(*__smoothing, a.useSmoothing() && a.getSmoothing() >= 0, a.useSmoothing() ? float(a.getSmoothing()) : 0);
    __beginCap->setCheckState(shownState(a.hasBeginCapFlag(), a.hasBeginCapFlag() && a.getBeginCapFlag()));
    __endCap->setCheckState(shownState(a.hasEndCapFlag(), a.hasEndCapFlag() && a.getEndCapFlag()));
    __visible->setCheckState(shownState(a.useVisibility(), a.useVisibility() && a.getVisibility()));
    __shownColor = a.useColor() ? std::optional<Vector<int>>(a.getColor()) : std::nullopt;
    __showColor();
    __showing = false;
}

void ShapeViewerAttributesEditor::__showColor() {
    if (!__shownColor) {
        __color->setIcon(QIcon());
        return;
    }
    QPixmap swatch(16, 16);
    swatch.fill(QColor((*__shownColor)[0], (*__shownColor)[1], (*__shownColor)[2]));
    __color->setIcon(swatch);
}

} // namespace vorlen
