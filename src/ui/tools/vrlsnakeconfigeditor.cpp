#include "ui/tools/vrlsnakeconfigeditor.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QSpinBox>

#include "ui/widgets/vrldecimalbox.h"

namespace vorlen {

namespace {

void addRow(QGridLayout& grid, int row, const QString& text, QAbstractSpinBox& box, const QString& toolTip) {
    box.setFixedSize(50, 25);
    box.setAccessibleName(text);
    auto* const label = new QLabel(text, grid.parentWidget());
    label->setBuddy(&box);
    label->setToolTip(toolTip);
    box.setToolTip(toolTip);
    grid.addWidget(label, row, 0);
    grid.addWidget(&box, row, 1, Qt::AlignRight);
}

VRLDecimalBox* newBox(double minimum, double maximum, double step, QWidget* parent) {
    auto* const box = new VRLDecimalBox(parent);
    box->setRange(minimum, maximum);
    box->setSingleStep(step);
    box->setDecimals(1);
    return box;
}

QCheckBox* newCheckBox(QGridLayout& grid, int row, const QString& text, const QString& toolTip) {
    auto* const box = new QCheckBox(text, grid.parentWidget());
    box->setToolTip(toolTip);
    grid.addWidget(box, row, 0, 1, 2);
    return box;
}

} // namespace

VRLSnakeConfigEditor::VRLSnakeConfigEditor(QWidget* parent) : QFrame(parent) {
    auto* const grid = new QGridLayout(this);
    grid->setColumnStretch(0, 1);
    __alpha = newBox(0.5, 5, 0.5, this);
    addRow(*grid, 0, "Alpha", *__alpha,
           "How sharply edges are looked for: greater values follow finer detail, smaller ones ignore more noise.");
    __threshold = newBox(1, 50, 0.5, this);
    addRow(*grid, 1, "Threshold", *__threshold,
           "How strong an edge must be to draw the contour. Raise it when the contour stops at noise.");
    __regMax = newBox(0.1, 10, 0.1, this);
    addRow(*grid, 2, "Reg. max", *__regMax,
           "How stiff the contour is. Raise it for a smoother contour, lower it to follow narrow bays.");
    __adaptive =
        newCheckBox(*grid, 3, "Adaptive snake",
                    "The contour gets less stiff, and the edges get sharper, when it no longer comes nearer to them.");
    __replaces = newCheckBox(*grid, 4, "Replace the outline",
                             "The outline that the snake begins with takes the course that is found. Otherwise it "
                             "stays, and what is found is one more.");
    __allSlices =
        newCheckBox(*grid, 5, "Run on every slice", "Check this option to run the snake on every slice of the stack.");
    __reach = new QSpinBox(this);
    __reach->setRange(0, 100);
    __reach->setSpecialValueText("All");
    __reach->setEnabled(false);
    addRow(*grid, 6, "Slices on each side", *__reach,
           "How many slices before and behind the current one to run on; 0: all slices of the stack.");
    __propagation = newCheckBox(
        *grid, 7, "Use propagation",
        "This option is relevant only when running the snake on every slice of the stack.\n- If this option is "
        "checked, the snake will be propagated from the current slice to the next/previous one and so on.\n- "
        "Otherwise, the snake will be run independently on each slice, taking the current contour for "
        "initialization.");
    __propagation->setEnabled(false);
    __passesOver = newCheckBox(*grid, 8, "Pass over outlined slices",
                               "Slices that have an outline of the model there already are left alone. Otherwise they "
                               "have two outlines of it at one place then.");
    __passesOver->setEnabled(false);
    __scale = new QSpinBox(this);
    __scale->setRange(1, 10);
    addRow(*grid, 9, "Scale", *__scale,
           "The image is reduced so many times before the run: faster, and with a longer reach, but less exact.");
    connect(__allSlices, &QCheckBox::stateChanged, this, &VRLSnakeConfigEditor::allSliceBoxChanged);
    for (QDoubleSpinBox* const box : {__alpha, __threshold, __regMax})
        connect(box, &QDoubleSpinBox::valueChanged, this, &VRLSnakeConfigEditor::changed);
    for (QSpinBox* const box : {__reach, __scale})
        connect(box, &QSpinBox::valueChanged, this, &VRLSnakeConfigEditor::changed);
    for (QCheckBox* const box : {__adaptive, __replaces, __allSlices, __propagation, __passesOver})
        connect(box, &QCheckBox::toggled, this, &VRLSnakeConfigEditor::changed);
    setConfig(VRLSnakeConfig());
}

void VRLSnakeConfigEditor::setConfig(const VRLSnakeConfig& config) {
    const QSignalBlocker quiet(this);
    __alpha->setValue(double(config.getAlpha()));
    __threshold->setValue(double(config.getGradThreshold()));
    __regMax->setValue(double(config.getRegMax()));
    __adaptive->setChecked(config.isAdaptive());
    __replaces->setChecked(config.isReplacing());
    __allSlices->setChecked(config.getRunOverStack());
    __reach->setValue(config.getReach());
    __propagation->setChecked(config.isPropagationEnabled());
    __passesOver->setChecked(config.isPassingOver());
    __scale->setValue(int(qMin(config.getScale(), 10u)));
}

VRLSnakeConfig VRLSnakeConfigEditor::getConfig() const {
    VRLSnakeConfig config;
    config.setAlpha(float(__alpha->value()));
    config.setGradThreshold(float(__threshold->value()));
    config.setRegMax(float(__regMax->value()));
    config.setAdaptive(__adaptive->isChecked());
    config.setReplacing(__replaces->isChecked());
    config.setRunOverStack(__allSlices->isChecked());
    config.setReach(__reach->value());
    config.setPropagationEnabled(__propagation->isChecked());
    config.setPassingOver(__passesOver->isChecked());
    config.setScale(static_cast<unsigned int>(__scale->value()));
    return config;
}

void VRLSnakeConfigEditor::allSliceBoxChanged(int state) {
    __reach->setEnabled(state == Qt::Checked);
    __propagation->setEnabled(state == Qt::Checked);
    __passesOver->setEnabled(state == Qt::Checked);
}

} // namespace vorlen
