#include "ui/models/vrlpreferenceseditor.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QSignalBlocker>
#include <QSpinBox>

#include "ui/models/vrlattributecontrols.h"
#include "ui/session/vrlpreferences.h"
#include "ui/widgets/colorselector.h"

namespace vorlen {

using attributecontrols::addRow;

VRLPreferencesEditor::VRLPreferencesEditor(QWidget* parent) : QWidget(parent) {
    auto* form = new QFormLayout(this);
    form->setContentsMargins(0, 0, 0, 0);
    __autoDecimation = new QCheckBox("Automatic contour decimation", this);
    __autoDecimation->setToolTip("Removes vertices that are not needed from contours that were found automatically");
    __panoramaLabels = new QCheckBox("Display image labels in panoramas", this);
    __panoramaLabels->setToolTip("Writes the name of each slice into its picture in the panorama");
    for (QCheckBox* box : {__autoDecimation, __panoramaLabels}) {
        box->setAccessibleName(box->text());
        form->addRow(box);
    }
    __maxNumBackups = new QSpinBox(this);
    __maxNumBackups->setRange(0, 10);
    addRow(*form, "Maximum number of backup files", *__maxNumBackups,
           "How many earlier versions of a stack's file are kept beside it");
    __clickTolerance = new QSpinBox(this);
    __clickTolerance->setRange(1, 50);
    __clickTolerance->setSuffix(" px");
    addRow(*form, "Mouse click tolerance", *__clickTolerance,
           "How far from a vertex or a line a click may be to mean it, in screen pixels");
    __backgroundColor = new ColorSelector(this);
    __backgroundColor->setAutoDefault(false);
    addRow(*form, "Background color", *__backgroundColor, "Color around the images: click to choose another");
    load();

    connect(__autoDecimation, &QCheckBox::toggled, this, &VRLPreferencesEditor::preferencesChanged);
    connect(__panoramaLabels, &QCheckBox::toggled, this, &VRLPreferencesEditor::preferencesChanged);
    connect(__maxNumBackups, &QSpinBox::valueChanged, this, &VRLPreferencesEditor::preferencesChanged);
    connect(__clickTolerance, &QSpinBox::valueChanged, this, &VRLPreferencesEditor::preferencesChanged);
    connect(__backgroundColor, &ColorSelector::valueChanged, this, &VRLPreferencesEditor::preferencesChanged);
}

void VRLPreferencesEditor::load() {
    const QSignalBlocker blocker(this);
    __autoDecimation->setChecked(VRLPreferences::autoDecimationEnabled());
    __panoramaLabels->setChecked(VRLPreferences::isPanoramaLabelEnabled());
    __maxNumBackups->setValue(VRLPreferences::getMaxNumBackups());
    __clickTolerance->setValue(VRLPreferences::getClickTolerance());
    __backgroundColor->setColor(VRLPreferences::getImageCanvasBackgroundColor());
}

void VRLPreferencesEditor::store() const {
    VRLPreferences::enableAutoDecimation(__autoDecimation->isChecked());
    VRLPreferences::setPanoramaLabelEnabled(__panoramaLabels->isChecked());
    VRLPreferences::setMaxNumBackups(__maxNumBackups->value());
    VRLPreferences::setClickTolerance(__clickTolerance->value());
    VRLPreferences::setImageCanvasBackgroundColor(__backgroundColor->getColor());
}

} // namespace vorlen
