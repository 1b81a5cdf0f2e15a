#include "ui/fusion/vrlfusionstrategypanel.h"

#include <algorithm>

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QVBoxLayout>

#include "editing/stacks/vrlstack.h"
#include "normalization/vrlfusionconfig.h"

namespace vorlen {

VRLFusionStrategyPanel::VRLFusionStrategyPanel(QWidget* parent) : QGroupBox("Algorithm", parent) {
    auto* layout = new QVBoxLayout(this);
    auto* row = new QGridLayout;
    __correspondence = new QComboBox(this);
    __correspondence->addItems({"Surfaces", "Levels"});
    __correspondence->setToolTip(
        "Surfaces: the closest places of the surfaces correspond. Finds the orientation of each\n"
        "specimen by itself, and bears tilted cutting, another first end and missing parts.\n"
        "Levels: sections and vertices of equal rank correspond.");
    __mirrors = new QCheckBox("Specimens may be mirrored", this);
    __mirrors->setToolTip("For left and right organs: a specimen that lies better as its mirror image is mirrored");
    row->addWidget(new QLabel("Correspondence", this), 0, 0);
    row->addWidget(__correspondence, 0, 1);
    row->addWidget(__mirrors, 1, 0, 1, 2);
    row->setColumnStretch(1, 1);
    layout->addLayout(row);
    layout->addWidget(addAlignment());
    layout->addWidget(addRegistration());
    layout->addWidget(addWarping());
    layout->addStretch(1);

    connect(__correspondence, &QComboBox::currentIndexChanged, this, &VRLFusionStrategyPanel::updateControls);
    connect(__pairwise, &QRadioButton::toggled, this, &VRLFusionStrategyPanel::pairwiseRegistrationToggled);
    connect(__template, &QComboBox::currentIndexChanged, this, &VRLFusionStrategyPanel::referenceStackChanged);
    connect(__template, &QComboBox::currentIndexChanged, this, &VRLFusionStrategyPanel::strategyChanged);
    for (QGroupBox* group : {__alignment, __registration, __warping})
        connect(group, &QGroupBox::toggled, this, &VRLFusionStrategyPanel::updateControls);
    for (QRadioButton* button : {__pairwise, __polynomials})
        connect(button, &QRadioButton::toggled, this, &VRLFusionStrategyPanel::updateControls);
    updateControls();
}

QGroupBox* VRLFusionStrategyPanel::addAlignment() {
    __alignment = new QGroupBox("Step 1. Initialization", this);
    __alignment->setCheckable(true);
    __alignment->setChecked(false);
    __axes = new QCheckBox("Align shape centers and axes", __alignment);
    __axes->setChecked(true);
    __axes->setToolTip("Performs a rough spatial normalization by superposing\nthe centers and principal axes of all "
                       "reference shapes.\nGenerally used for initialization before registration (Step 2)");
    (new QVBoxLayout(__alignment))->addWidget(__axes);
    return __alignment;
}

QGroupBox* VRLFusionStrategyPanel::addRegistration() {
    __registration = new QGroupBox("Step 2. Registration", this);
    __registration->setCheckable(true);
    __registration->setChecked(false);
    __global = new QRadioButton("Global", __registration);
    __global->setChecked(true);
    __global->setToolTip("Performs a global registration using an iterative\nregistration/averaging algorithm (see "
                         "Holvet et al., 2006).\nThis algorithm generally provides better registration results\nthan "
                         "the pairwise approach but is computationnally more expensive.");
    __pairwise = new QRadioButton("Pairwise", __registration);
    __pairwise->setToolTip("Registers all stacks on an arbitrarily selected one\n(select the template stack in the "
                           "list below).\nThis algorithm is faster than the global approach but\ngenerally yields "
                           "poorer registration results.\n");
    __templateLabel = new QLabel("Template stack", __registration);
    __template = new QComboBox(__registration);
    auto* layout = new QGridLayout(__registration);
    layout->addWidget(__global, 0, 0, 1, 2);
    layout->addWidget(__pairwise, 1, 0, 1, 2);
    layout->addWidget(__templateLabel, 2, 0);
    layout->addWidget(__template, 2, 1);
    layout->setColumnStretch(1, 1);
    return __registration;
}

QGroupBox* VRLFusionStrategyPanel::addWarping() {
    __warping = new QGroupBox("Step 3. Warping", this);
    __warping->setCheckable(true);
    __warping->setChecked(false);
    __polynomials = new QRadioButton("Polynomials", __warping);
    __polynomials->setChecked(true);
    __splines = new QRadioButton("Thin-plate splines", __warping);
    __degreeLabel = new QLabel("Degree", __warping);
    __degree = new QSpinBox(__warping);
    __degree->setRange(1, 9);
    __degree->setValue(2);
    __refuseFolds = new QCheckBox("Refuse warps that fold", __warping);
    __refuseFolds->setToolTip("A specimen whose warp turns space inside out somewhere stays as registered; it is named "
                              "in any case");
    auto* layout = new QGridLayout(__warping);
    layout->addWidget(__polynomials, 0, 0, 1, 2);
    layout->addWidget(__degreeLabel, 1, 0);
    layout->addWidget(__degree, 1, 1);
    layout->addWidget(__splines, 2, 0, 1, 2);
    layout->addWidget(__refuseFolds, 3, 0, 1, 2);
    layout->setColumnStretch(1, 1);
    return __warping;
}

void VRLFusionStrategyPanel::updateControls() {
    const bool surfaces = __correspondence->currentIndex() == 0;
    __mirrors->setEnabled(surfaces && __alignment->isChecked());
    const bool pairwise = __registration->isChecked() && __pairwise->isChecked();
    __templateLabel->setEnabled(pairwise);
    __template->setEnabled(pairwise);
    const bool polynomials = __warping->isChecked() && __polynomials->isChecked();
    __degreeLabel->setEnabled(polynomials);
    __degree->setEnabled(polynomials);
    emit strategyChanged();
}

void VRLFusionStrategyPanel::setStacks(const std::vector<VRLStack*>& stacks) {
    const QString current = __template->currentText();
    {
        const QSignalBlocker quiet(__template);
        __template->clear();
        for (const std::string& name : VRLFusionConfig<float>::specimenNames({stacks.begin(), stacks.end()}))
            __template->addItem(QString::fromStdString(name));
        const int place = __template->findText(current);
        __template->setCurrentIndex(place >= 0 ? place : std::min(0, __template->count() - 1));
    }
    emit strategyChanged();
}

VRLFusionStrategy VRLFusionStrategyPanel::getFusionStrategy() const {
    VRLFusionStrategy strategy;
    strategy.setAlignment(__alignment->isChecked() && __axes->isChecked());
    strategy.setRegistration(__registration->isChecked());
    strategy.setRegistrationAlgorithm(__pairwise->isChecked() ? TemplateRegistration : GlobalRegistration);
    strategy.setReferenceStack(__template->currentText().toStdString());
    strategy.setWarping(__warping->isChecked());
    strategy.setWarpingModel(__splines->isChecked() ? ThinPlateSplineWarping : PolynomialWarping);
    strategy.setPolynomialDegree(static_cast<unsigned int>(__degree->value()));
    strategy.setCorrespondence(__correspondence->currentIndex() == 0 ? SurfaceCorrespondence : LevelCorrespondence);
    strategy.setMirrored(__mirrors->isChecked() && strategy.isAlignment() &&
                         strategy.getCorrespondence() == SurfaceCorrespondence);
    strategy.setFoldsRefused(__refuseFolds->isChecked());
    return strategy;
}

void VRLFusionStrategyPanel::setFusionStrategy(const VRLFusionStrategy& strategy) {
    __correspondence->setCurrentIndex(strategy.getCorrespondence() == SurfaceCorrespondence ? 0 : 1);
    __mirrors->setChecked(strategy.isMirrored());
    __alignment->setChecked(strategy.isAlignment());
    __axes->setChecked(true);
    __registration->setChecked(strategy.isRegistration());
    (strategy.getRegistrationAlgorithm() == TemplateRegistration ? __pairwise : __global)->setChecked(true);
    const int place = __template->findText(QString::fromStdString(strategy.getReferenceStack()));
    if (place >= 0)
        __template->setCurrentIndex(place);
    __warping->setChecked(strategy.isWarping());
    (strategy.getWarpingModel() == ThinPlateSplineWarping ? __splines : __polynomials)->setChecked(true);
    __degree->setValue(int(std::min(strategy.getPolynomialDegree(), 9u)));
    __refuseFolds->setChecked(strategy.isFoldsRefused());
}

} // namespace vorlen
