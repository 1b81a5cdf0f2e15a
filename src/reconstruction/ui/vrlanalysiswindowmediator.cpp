#include "reconstruction/ui/vrlanalysiswindowmediator.h"

#include "numerics/exception.h"
#include "reconstruction/ui/vrlmodelanalysiswidget.h"
#include "reconstruction/ui/vrlmodelitemanalysiswidget.h"
#include "reconstruction/ui/vrlsliceanalysistable.h"

VRLAnalysisWindowMediator::VRLAnalysisWindowMediator(QObject* parent) : QObject(parent) {
}

void VRLAnalysisWindowMediator::initialize() {
    if (__itemWidget == nullptr || __sliceTable == nullptr || __modelWidget == nullptr)
        throw UsageError("void VRLAnalysisWindowMediator::initialize()", "A sheet is missing");
}

void VRLAnalysisWindowMediator::setStack(const VRLStack& stack) {
    __itemWidget->setStack(stack);
    __sliceTable->setStack(stack);
    __modelWidget->setStack(stack);
}

template <class Command>
void VRLAnalysisWindowMediator::onVisibleSheet(const Command& command) const {
    if (__itemWidget->isVisible())
        command(*__itemWidget);
    else if (__sliceTable->isVisible())
        command(*__sliceTable);
    else if (__modelWidget->isVisible())
        command(*__modelWidget);
}

void VRLAnalysisWindowMediator::copySelection() const {
    onVisibleSheet([](const auto& sheet) { sheet.copySelection(); });
}

void VRLAnalysisWindowMediator::saveCurrentSheet() const {
    onVisibleSheet([](const auto& sheet) { sheet.save(); });
}
