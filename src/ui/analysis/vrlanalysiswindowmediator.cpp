#include "ui/analysis/vrlanalysiswindowmediator.h"

#include "numerics/exception.h"
#include "ui/analysis/vrlmodelanalysiswidget.h"
#include "ui/analysis/vrlmodelitemanalysiswidget.h"
#include "ui/analysis/vrlsliceanalysistable.h"

namespace vorlen {

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

} // namespace vorlen
