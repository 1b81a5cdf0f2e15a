#include "ui/registration/vrlautomaticregistrationpanel.h"

#include <algorithm>

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

#include "document/stack.h"

namespace vorlen {

namespace {

/// Fills a list of slices, with the choice kept by its name; without one the place that is given.
void fillSlices(QComboBox& list, const QStringList& names, int otherwise) {
    const int kept = list.count() > 0 ? int(names.indexOf(list.currentText())) : -1;
    list.clear();
    list.addItems(names);
    list.setCurrentIndex(kept >= 0 ? kept : otherwise);
}

} // namespace

VRLAutomaticRegistrationPanel::VRLAutomaticRegistrationPanel(QWidget* parent) : QFrame(parent) {
    setFrameStyle(QFrame::WinPanel | QFrame::Raised);
    auto* const group = new QGroupBox("Automatic registration (beta)", this);
    __allSlices = new QCheckBox("Register all slices", group);
    __allSlices->setToolTip("All slices from the second to the last, not only the one that is shown");
    __method = addChoice("method", "How two slices are matched: by what fits best, by features that both show, by\n"
                                   "their intensities, by what one grey tells of the other (for different stains, or\n"
                                   "contrast that is inverted in part), or by the centres and main axes of what is\n"
                                   "bright on them");
    __method->addItem("Automatic", int(AlignmentMethod::Auto));
    __method->addItem("Features", int(AlignmentMethod::Features));
    __method->addItem("Intensity", int(AlignmentMethod::Intensity));
    __method->addItem("Mutual information", int(AlignmentMethod::MutualInformation));
    __method->addItem("Principal axes", int(AlignmentMethod::PrincipalAxes));
    __reference = addChoice("reference", "What the slices are brought onto: each other; the median of their\n"
                                         "neighbours; each other, but with the slow course of the stack kept,\n"
                                         "for bent specimens; or one slice");
    __reference->addItem("Neighbours", int(AlignmentReference::Neighbours));
    __reference->addItem("Template", int(AlignmentReference::Template));
    __reference->addItem("Smoothed path", int(AlignmentReference::SmoothedPath));
    __reference->addItem("One slice", int(AlignmentReference::FixedSlice));
    __fixed = addChoice("fixedSlice", "The slice that the others are brought onto");
    __first = addChoice("firstSlice", "The first slice that may move");
    __last = addChoice("lastSlice", "The last slice that may move");
    __run = new QPushButton("Run", group);
    __run->setToolTip("Look for the place of the slice on the one before it");
    __cancel = new QPushButton("Cancel", group);
    __cancel->setToolTip("Stop here, and keep the slices that are done");
    auto* const buttons = new QHBoxLayout;
    buttons->addWidget(__run);
    buttons->addWidget(__cancel);
    __bend = new QPushButton("Bend slices...", group);
    __bend->setToolTip("Bend squeezed or torn slices onto each other, into a new stack");
    auto* const inside = new QVBoxLayout(group);
    auto* const form = new QFormLayout;
    form->addRow("Method", __method);
    inside->addLayout(form);
    inside->addWidget(__allSlices);
    auto* const ofAll = new QFormLayout;
    ofAll->setContentsMargins(12, 0, 0, 0);
    ofAll->addRow("Onto", __reference);
    ofAll->addRow("Slice", __fixed);
    ofAll->addRow("From", __first);
    ofAll->addRow("To", __last);
    inside->addLayout(ofAll);
    inside->addLayout(buttons);
    inside->addWidget(__bend);
    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(group);
    connect(__run, &QPushButton::clicked, this, qOverload<>(&VRLAutomaticRegistrationPanel::runClicked));
    connect(__cancel, &QPushButton::clicked, this, &VRLAutomaticRegistrationPanel::cancelClicked);
    connect(__bend, &QPushButton::clicked, this, &VRLAutomaticRegistrationPanel::bendClicked);
    connect(__allSlices, &QCheckBox::toggled, this, &VRLAutomaticRegistrationPanel::updateUse);
    connect(__reference, &QComboBox::currentIndexChanged, this, &VRLAutomaticRegistrationPanel::updateUse);
    updateUse();
}

/// Long names of slices don't widen the panel.
QComboBox* VRLAutomaticRegistrationPanel::addChoice(const char* name, const QString& toolTip) {
    auto* const choice = new QComboBox(this);
    choice->setObjectName(name);
    choice->setToolTip(toolTip);
    choice->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    choice->setMinimumContentsLength(10);
    return choice;
}

void VRLAutomaticRegistrationPanel::setSlices(const Stack& stack) {
    QStringList names;
    for (int i = 0; i < stack.getNumSlices(); ++i)
        names += QString::fromStdString(stack.getSlice(i).getName());
    const bool wasAll = __last->currentIndex() == __last->count() - 1;
    fillSlices(*__fixed, names, 0);
    fillSlices(*__first, names, std::min(1, int(names.size()) - 1));
    fillSlices(*__last, names, int(names.size()) - 1);
    if (wasAll)
        __last->setCurrentIndex(int(names.size()) - 1);
}

VRLAutomaticRegistrationConfig VRLAutomaticRegistrationPanel::config() const {
    VRLAutomaticRegistrationConfig config;
    config.registerAllSlices = __allSlices->isChecked();
    config.method = AlignmentMethod(__method->currentData().toInt());
    config.reference = AlignmentReference(__reference->currentData().toInt());
    config.fixedSlice = std::max(0, __fixed->currentIndex());
    const int first = std::max(0, __first->currentIndex());
    // Ends that are the wrong way round are taken the right way.
    config.first = __last->currentIndex() < 0 ? first : std::min(first, __last->currentIndex());
    config.last = __last->currentIndex() < 0 ? -1 : std::max(first, __last->currentIndex());
    return config;
}

void VRLAutomaticRegistrationPanel::updateUse() {
    const bool all = __allSlices->isChecked() && !__running;
    __allSlices->setEnabled(!__running);
    __method->setEnabled(!__running);
    for (QWidget* widget : {__reference, __first, __last})
        widget->setEnabled(all);
    __fixed->setEnabled(all && __reference->currentData().toInt() == int(AlignmentReference::FixedSlice));
    __run->setEnabled(!__running);
    __bend->setEnabled(!__running);
    __cancel->setEnabled(__running);
}

void VRLAutomaticRegistrationPanel::setRunning(bool running) {
    __running = running;
    updateUse();
}

void VRLAutomaticRegistrationPanel::runClicked() {
    emit runClicked(config());
}

} // namespace vorlen
