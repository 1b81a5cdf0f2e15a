#include "ui/registration/vrlautomaticregistrationpanel.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

namespace vorlen {

VRLAutomaticRegistrationPanel::VRLAutomaticRegistrationPanel(QWidget* parent) : QFrame(parent) {
    setFrameStyle(QFrame::WinPanel | QFrame::Raised);
    auto* const group = new QGroupBox("Automatic registration (beta)", this);
    __allSlices = new QCheckBox("Register all slices", group);
    __allSlices->setToolTip("All slices from the second to the last, not only the one that is shown");
    __run = new QPushButton("Run", group);
    __run->setToolTip("Look for the place of the slice on the one before it");
    __cancel = new QPushButton("Cancel", group);
    __cancel->setToolTip("Stop here, and keep the slices that are done");
    __cancel->setEnabled(false);
    auto* const buttons = new QHBoxLayout;
    buttons->addWidget(__run);
    buttons->addWidget(__cancel);
    auto* const inside = new QVBoxLayout(group);
    inside->addWidget(__allSlices);
    inside->addLayout(buttons);
    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(group);
    connect(__run, &QPushButton::clicked, this, qOverload<>(&VRLAutomaticRegistrationPanel::runClicked));
    connect(__cancel, &QPushButton::clicked, this, &VRLAutomaticRegistrationPanel::cancelClicked);
}

void VRLAutomaticRegistrationPanel::setRunning(bool running) {
    __allSlices->setEnabled(!running);
    __run->setEnabled(!running);
    __cancel->setEnabled(running);
}

void VRLAutomaticRegistrationPanel::runClicked() {
    VRLAutomaticRegistrationConfig config;
    config.registerAllSlices = __allSlices->isChecked();
    emit runClicked(config);
}

} // namespace vorlen
