#include "ui/models/vrlstackpropertieseditor.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

#include "ui/models/vrlfieldmark.h"
#include "ui/models/vrlnumberedit.h"
#include "ui/models/vrlpixelcalibrationeditor.h"

namespace vorlen {

VRLStackPropertiesEditor::VRLStackPropertiesEditor(bool forSlice, QWidget* parent) : QWidget(parent) {
    auto* box = new QGroupBox(forSlice ? "Slice properties" : "Stack properties", this);
    auto* form = new QFormLayout(box);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(box);

    const QString nameText = forSlice ? "Slice name" : "Stack name";
    __name = new QLineEdit(box);
    __name->setMinimumWidth(fontMetrics().averageCharWidth() * 30);
    __name->setAccessibleName(nameText);
    __nameMark = new VRLFieldMark(*__name);
    form->addRow(nameText, __name);

    __lengthUnit = new QComboBox(box);
    for (const int scale : LengthUnit::availableScales()) {
        const LengthUnit unit(scale);
        __lengthUnit->addItem(QString::fromStdString(unit.name() + " (" + unit.symbol() + ")"), scale);
    }
    __lengthUnit->setCurrentIndex(__lengthUnit->findData(-6));
    __lengthUnit->setEnabled(!forSlice);
    __lengthUnit->setAccessibleName("Length unit");
    __lengthUnit->setToolTip(forSlice ? "Unit of all lengths of the stack" : "Unit of all lengths of this stack");
    __lengthUnit->setWhatsThis("The unit of slice spacing, pixel width, pixel height, and of all measurements of the "
                               "stack. Another unit does not change the numbers.");
    form->addRow("Length unit", __lengthUnit);

    __sliceSpacing = new VRLNumberEdit(box);
    __sliceSpacing->setAcceptsOwnValue(forSlice);
    __sliceSpacing->setAccessibleName("Slice spacing");
    __sliceSpacing->setHint(forSlice ? "Distance to the slice before, in the length unit"
                                     : "Distance between neighbouring slices, in the length unit");
    __sliceSpacing->setWhatsThis(forSlice ? "The distance of this slice to the slice before, along the cutting axis, "
                                            "in the length unit of the stack."
                                          : "The distance from each slice to the next along the cutting axis, in the "
                                            "length unit. Single slices may have a spacing of their own.");
    form->addRow("Slice spacing", __sliceSpacing);

    __pixelCalibration = new VRLPixelCalibrationEditor(box);
    auto* calibrationLabel = new QLabel("Pixel calibration", box);
    form->addRow(calibrationLabel, __pixelCalibration);

    __absolutePath = new QCheckBox("Store absolute path to images", box);
    __absolutePath->setToolTip("Whether the stack's file names its images by their full path");
    __absolutePath->setWhatsThis("With the full path the stack's file can be moved and still finds its images. "
                                 "Without it the images are looked for from where the stack's file is, so that both "
                                 "can be moved together.");
    __absolutePath->setVisible(!forSlice);
    form->addRow(__absolutePath);

    connect(__name, &QLineEdit::textChanged, this, [this] {
        checkName();
        emit modified();
    });
    connect(__lengthUnit, &QComboBox::currentIndexChanged, this, &VRLStackPropertiesEditor::modified);
    connect(__sliceSpacing, &QLineEdit::textChanged, this, &VRLStackPropertiesEditor::modified);
    connect(__pixelCalibration, &VRLPixelCalibrationEditor::modified, this, &VRLStackPropertiesEditor::modified);
    connect(__absolutePath, &QCheckBox::toggled, this, &VRLStackPropertiesEditor::modified);
    checkName();
}

void VRLStackPropertiesEditor::setName(const std::string& name, bool select) {
    __name->setText(QString::fromStdString(name));
    if (select)
        __name->selectAll();
}

std::string VRLStackPropertiesEditor::getName() const {
    return __name->text().simplified().toStdString();
}

bool VRLStackPropertiesEditor::showsName(const std::string& name) const {
    return __name->text().simplified() == QString::fromStdString(name).simplified();
}

void VRLStackPropertiesEditor::setLengthUnit(const LengthUnit& unit) {
    int index = __lengthUnit->findData(unit.getScale());
    if (index < 0) {
        index = __lengthUnit->count();
        __lengthUnit->addItem(QString("10^%1 meter").arg(unit.getScale()), unit.getScale());
    }
    __lengthUnit->setCurrentIndex(index);
}

LengthUnit VRLStackPropertiesEditor::getLengthUnit() const {
    return LengthUnit(__lengthUnit->currentData().toInt());
}

void VRLStackPropertiesEditor::setSliceSpacing(double spacing) {
    __sliceSpacing->setValue(spacing);
}

double VRLStackPropertiesEditor::getSliceSpacing() const {
    return __sliceSpacing->getValue();
}

void VRLStackPropertiesEditor::setPixelCalibration(const PixelCalibration& calibration) {
    __pixelCalibration->setPixelCalibration(calibration);
}

PixelCalibration VRLStackPropertiesEditor::getPixelCalibration() const {
    PixelCalibration calibration = __pixelCalibration->getPixelCalibration();
    calibration.setLengthUnit(getLengthUnit());
    return calibration;
}

void VRLStackPropertiesEditor::setAbsoluteImagesPathPolicy(bool absolute) {
    __absolutePath->setChecked(absolute);
}

bool VRLStackPropertiesEditor::getAbsoluteImagesPathPolicy() const {
    return __absolutePath->isChecked();
}

bool VRLStackPropertiesEditor::validName() const {
    return !__name->text().simplified().isEmpty();
}

bool VRLStackPropertiesEditor::validSliceSpacing() const {
    return __sliceSpacing->isValid();
}

bool VRLStackPropertiesEditor::validPixelCalibration() const {
    return __pixelCalibration->validPixelCalibration();
}

bool VRLStackPropertiesEditor::valid() const {
    return validName() && validSliceSpacing() && validPixelCalibration();
}

void VRLStackPropertiesEditor::checkName() {
    __nameMark->setProblem(validName() ? QString() : QString("Please enter a name."));
}

} // namespace vorlen
