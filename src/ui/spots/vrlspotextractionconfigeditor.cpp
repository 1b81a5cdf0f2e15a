#include "ui/spots/vrlspotextractionconfigeditor.h"

#include <algorithm>
#include <cmath>

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QSpinBox>

#include "numerics/maths.h"
#include "ui/widgets/vrldecimalbox.h"

namespace vorlen {

namespace {

/// Of x, y and z in a configuration's sizes.
constexpr int placeOf[3] = {1, 0, 2};
constexpr int leastSizes[3] = {10, 10, 2};
constexpr int mostSizes[3] = {4096, 4096, 250};
constexpr double leastResolution = 0.01, mostResolution = 50;
const char* const axes[3] = {"X", "Y", "Z"};

QSpinBox* newRadius(QGroupBox& group, int most, const QString& name, const QString& tip) {
    auto* const box = new QSpinBox(&group);
    box->setRange(1, most);
    box->setSuffix(" voxels");
    box->setAccessibleName(name);
    box->setToolTip(tip);
    return box;
}

void addRadius(QGridLayout& grid, int row, QSpinBox& box) {
    auto* const label = new QLabel("Radius", grid.parentWidget());
    label->setBuddy(&box);
    label->setToolTip(box.toolTip());
    grid.addWidget(label, row, 0);
    grid.addWidget(&box, row, 1);
    grid.setColumnStretch(2, 1);
}

QGroupBox* newFilterGroup(const QString& title, const QString& tip, QWidget* parent) {
    auto* const group = new QGroupBox(title, parent);
    group->setCheckable(true);
    group->setToolTip(tip);
    return group;
}

QRadioButton* newType(QGridLayout& grid, int column, const QString& text, const QString& tip) {
    auto* const button = new QRadioButton(text, grid.parentWidget());
    button->setToolTip(tip);
    grid.addWidget(button, 0, column);
    return button;
}

} // namespace

VRLSpotExtractionConfigEditor::VRLSpotExtractionConfigEditor(QWidget* parent) : QWidget(parent) {
    __resizing = newResizingGroup();

    __smoothing = newFilterGroup("Smoothing filter", "Takes the noise away", this);
    auto* grid = new QGridLayout(__smoothing);
    __smoothingTypes[0] = newType(*grid, 0, "Average", "The mean of the neighbourhood");
    __smoothingTypes[1] = newType(*grid, 1, "Median", "The middle value of the neighbourhood: keeps edges");
    __smoothingTypes[2] = newType(*grid, 2, "Gaussian", "A weighted mean, of half the radius as deviation");
    __smoothingRadius = newRadius(*__smoothing, 5, "Smoothing radius", "Raise it for noisier images");
    addRadius(*grid, 1, *__smoothingRadius);

    __tophat = newFilterGroup("Top-hat filter", "Takes away all that is larger than the radius", this);
    grid = new QGridLayout(__tophat);
    __tophatTypes[0] = newType(*grid, 0, "Flat", "A cube: fast");
    __tophatTypes[1] = newType(*grid, 1, "Spherical", "Half an ellipsoid: rounder, and slower with large radii");
    __tophatRadius = newRadius(*__tophat, 15, "Top-hat radius", "A little more than the radius of the largest spots");
    addRadius(*grid, 1, *__tophatRadius);

    __isotropy = newFilterGroup("Isotropy filter", "Weakens what is drawn out, as fibres and sheets are", this);
    grid = new QGridLayout(__isotropy);
    __isotropyRadius = newRadius(*__isotropy, 15, "Isotropy radius", "Of the neighbourhood whose roundness counts");
    addRadius(*grid, 0, *__isotropyRadius);

    __suggested = new QCheckBox("Suggest the filters from the images", this);
    __suggested->setToolTip("Smoothing, top-hat and isotropy that suit the noise and the size of the spots; the next "
                            "window tells them");

    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(__resizing);
    layout->addWidget(__suggested);
    for (QGroupBox* group : {__smoothing, __tophat, __isotropy, newResultsGroup()})
        layout->addWidget(group);
    setConfig(VRLSpotExtractionConfig());
    watch();
}

QGroupBox* VRLSpotExtractionConfigEditor::newResizingGroup() {
    auto* const group =
        newFilterGroup("Resizing volume", "Work on a volume of another size: faster where it is smaller", this);
    auto* const grid = new QGridLayout(group);
    grid->addWidget(new QLabel("Size (voxels)", group), 1, 0);
    grid->addWidget(new QLabel("Resolution (units)", group), 2, 0);
    for (int axis = 0; axis < 3; ++axis) {
        grid->addWidget(new QLabel(axes[axis], group), 0, axis + 1, Qt::AlignHCenter);
        __sizes[axis] = new QSpinBox(group);
        __sizes[axis]->setRange(leastSizes[axis], mostSizes[axis]);
        __sizes[axis]->setAccessibleName(QString("Size along ") + axes[axis]);
        grid->addWidget(__sizes[axis], 1, axis + 1);
        __resolutions[axis] = new VRLDecimalBox(group);
        __resolutions[axis]->setDecimals(4);
        __resolutions[axis]->setSingleStep(0.01);
        __resolutions[axis]->setRange(leastResolution, mostResolution);
        __resolutions[axis]->setAccessibleName(QString("Resolution along ") + axes[axis]);
        grid->addWidget(__resolutions[axis], 2, axis + 1);
    }
    return group;
}

QGroupBox* VRLSpotExtractionConfigEditor::newResultsGroup() {
    auto* const group = new QGroupBox("Results", this);
    auto* const grid = new QGridLayout(group);
    __basename = new QLineEdit("spot", group);
    __basename->setAccessibleName("Basename");
    __basename->setMaxLength(200);
    auto* const label = new QLabel("Model(s) basename", group);
    label->setBuddy(__basename);
    grid->addWidget(label, 0, 0);
    grid->addWidget(__basename, 0, 1);
    __separateModels = new QCheckBox("Create one model per spot", group);
    __separateModels->setToolTip("Otherwise all spots are items of one model");
    __equivalentSpheres = new QCheckBox("Represent spots using equivalent spheres", group);
    __equivalentSpheres->setToolTip("One point as large as the spot, in place of all its voxels");
    grid->addWidget(__separateModels, 1, 0, 1, 2);
    grid->addWidget(__equivalentSpheres, 2, 0, 1, 2);
    return group;
}

void VRLSpotExtractionConfigEditor::watch() {
    connect(__sizes[0], &QSpinBox::valueChanged, this, &VRLSpotExtractionConfigEditor::xSizeChange);
    connect(__sizes[1], &QSpinBox::valueChanged, this, &VRLSpotExtractionConfigEditor::ySizeChange);
    connect(__sizes[2], &QSpinBox::valueChanged, this, &VRLSpotExtractionConfigEditor::zSizeChange);
    connect(__resolutions[0], &VRLDecimalBox::valueChanged, this, &VRLSpotExtractionConfigEditor::xResolutionChange);
    connect(__resolutions[1], &VRLDecimalBox::valueChanged, this, &VRLSpotExtractionConfigEditor::yResolutionChange);
    connect(__resolutions[2], &VRLDecimalBox::valueChanged, this, &VRLSpotExtractionConfigEditor::zResolutionChange);
    for (QSpinBox* box : {__smoothingRadius, __tophatRadius, __isotropyRadius})
        connect(box, &QSpinBox::valueChanged, this, &VRLSpotExtractionConfigEditor::configChanged);
    for (QGroupBox* group : {__resizing, __smoothing, __tophat, __isotropy})
        connect(group, &QGroupBox::toggled, this, &VRLSpotExtractionConfigEditor::configChanged);
    for (QSpinBox* box : {__smoothingRadius, __tophatRadius, __isotropyRadius})
        connect(box, &QSpinBox::valueChanged, this, &VRLSpotExtractionConfigEditor::choose);
    for (QGroupBox* group : {__smoothing, __tophat, __isotropy})
        connect(group, &QGroupBox::toggled, this, &VRLSpotExtractionConfigEditor::choose);
    for (QRadioButton* type : findChildren<QRadioButton*>())
        connect(type, &QRadioButton::clicked, this, &VRLSpotExtractionConfigEditor::choose);
    connect(__suggested, &QCheckBox::toggled, this, &VRLSpotExtractionConfigEditor::showSuggested);
    connect(__basename, &QLineEdit::textChanged, this, &VRLSpotExtractionConfigEditor::configChanged);
}

void VRLSpotExtractionConfigEditor::setConfig(const VRLSpotExtractionConfig& config) {
    __config = config;
    __resizing->setChecked(config.getResizeState());
    __smoothing->setChecked(config.isSmoothingFilterEnabled());
    __tophat->setChecked(config.isTophatFilterEnabled());
    __isotropy->setChecked(config.isIsotropyFilterEnabled());
    __smoothingTypes[config.getSmoothingFilterType()]->setChecked(true);
    __tophatTypes[config.getTophatFilterType()]->setChecked(true);
    __smoothingRadius->setValue(config.getSmoothingFilterRadius());
    __tophatRadius->setValue(config.getTophatFilterRadius());
    __isotropyRadius->setValue(config.getIsotropyFilterRadius());
    __suggested->setChecked(config.areFiltersSuggested());
    showSuggested();
    __separateModels->setChecked(config.isSeparateModelsEnabled());
    __equivalentSpheres->setChecked(config.isEquivalentSpheresEnabled());
    const bool isKnown = config.getVolumeSize().getSize() == 3 && config.getResolution().getSize() == 3;
    __resizing->setEnabled(isKnown);
    for (int axis = 0; axis < 3 && isKnown; ++axis) {
        const QSignalBlocker quietSize(__sizes[axis]), quietResolution(__resolutions[axis]);
        const int size = config.getVolumeSize()[placeOf[axis]];
        const double resolution = config.getResolution()[placeOf[axis]];
        __sizes[axis]->setRange(std::min(leastSizes[axis], size), std::max(mostSizes[axis], size));
        __resolutions[axis]->setRange(std::min(leastResolution, resolution / 100),
                                      std::max(mostResolution, resolution * 100));
        __sizes[axis]->setValue(size);
        __resolutions[axis]->setValue(resolution);
    }
    if (isKnown && config.getNewSize().getSize() == 3)
        for (int axis = 0; axis < 3; ++axis)
            __sizes[axis]->setValue(config.getNewSize()[placeOf[axis]]);
    emit configChanged();
}

void VRLSpotExtractionConfigEditor::showSuggested() {
    for (QGroupBox* group : {__smoothing, __tophat, __isotropy})
        group->setEnabled(!__suggested->isChecked());
    emit configChanged();
}

void VRLSpotExtractionConfigEditor::choose() {
    __suggested->setChecked(false);
}

VRLSpotExtractionConfig VRLSpotExtractionConfigEditor::getConfig() const {
    VRLSpotExtractionConfig config = __config;
    config.setResizeState(__resizing->isEnabled() && __resizing->isChecked());
    config.setFiltersSuggested(__suggested->isChecked());
    config.setSmoothingFilterEnabled(__smoothing->isChecked());
    config.setTophatFilterEnabled(__tophat->isChecked());
    config.setIsotropyFilterEnabled(__isotropy->isChecked());
    for (int type = 0; type < 3; ++type)
        if (__smoothingTypes[type]->isChecked())
            config.setSmoothingFilterType(VRLSpotExtractionSmoothing(type));
    config.setTophatFilterType(__tophatTypes[FlatTopHat]->isChecked() ? FlatTopHat : SphericalTopHat);
    config.setSmoothingFilterRadius(__smoothingRadius->value());
    config.setTophatFilterRadius(__tophatRadius->value());
    config.setIsotropyFilterRadius(__isotropyRadius->value());
    Vector<int> size(3);
    for (int axis = 0; axis < 3; ++axis)
        size[placeOf[axis]] = __sizes[axis]->value();
    config.setNewSize(size);
    config.setBasename(__basename->text().trimmed().toStdString());
    config.setSeparateModelsEnabled(__separateModels->isChecked());
    config.setEquivalentSpheresEnabled(__equivalentSpheres->isChecked());
    return config;
}

void VRLSpotExtractionConfigEditor::xSizeChange(int size) {
    sizeChange(0, size);
}

void VRLSpotExtractionConfigEditor::ySizeChange(int size) {
    sizeChange(1, size);
}

void VRLSpotExtractionConfigEditor::zSizeChange(int size) {
    sizeChange(2, size);
}

void VRLSpotExtractionConfigEditor::xResolutionChange(double resolution) {
    resolutionChange(0, resolution);
}

void VRLSpotExtractionConfigEditor::yResolutionChange(double resolution) {
    resolutionChange(1, resolution);
}

void VRLSpotExtractionConfigEditor::zResolutionChange(double resolution) {
    resolutionChange(2, resolution);
}

void VRLSpotExtractionConfigEditor::sizeChange(int axis, int size) {
    if (__resizing->isEnabled() && size > 0) {
        const QSignalBlocker quiet(__resolutions[axis]);
        const double extent = __config.getVolumeSize()[placeOf[axis]] * __config.getResolution()[placeOf[axis]];
        __resolutions[axis]->setValue(extent / size);
    }
    emit configChanged();
}

void VRLSpotExtractionConfigEditor::resolutionChange(int axis, double resolution) {
    if (__resizing->isEnabled() && resolution > 0) {
        const QSignalBlocker quiet(__sizes[axis]);
        const int size = __config.getVolumeSize()[placeOf[axis]];
        const double initial = __config.getResolution()[placeOf[axis]];
        // As the box shows the initial one.
        const bool isInitial = std::abs(resolution - initial) < 0.5e-4;
        __sizes[axis]->setValue(isInitial ? size : int(Maths::fround(size * initial / resolution)));
    }
    emit configChanged();
}

} // namespace vorlen
