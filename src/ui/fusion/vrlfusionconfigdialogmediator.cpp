#include "ui/fusion/vrlfusionconfigdialogmediator.h"

#include <algorithm>

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include "editing/stacks/vrlstack.h"
#include "normalization/resamplingsearch.h"
#include "normalization/vrlfusionconfig.h"
#include "shapes/curvestack.h"
#include "ui/fusion/vrlfusionstrategypanel.h"
#include "ui/fusion/vrlfusionstructuretable.h"
#include "ui/models/guarded.h"
#include "ui/models/vrlstacklistwidget.h"
#include "ui/widgets/waitcursor.h"

namespace vorlen {

namespace {

std::vector<const Stack*> asStacks(const std::vector<VRLStack*>& selected) {
    return {selected.begin(), selected.end()};
}

} // namespace

VRLFusionConfigDialogMediator::VRLFusionConfigDialogMediator(QLineEdit& name, VRLStackListWidget& stacks,
                                                             VRLFusionConfigDialogStructurePanel& structures,
                                                             VRLFusionStrategyPanel& strategy, QPushButton& ok,
                                                             QObject* parent)
    : QObject(parent), __name(name), __stacks(stacks), __structures(structures), __strategy(strategy), __ok(ok) {
    VRLFusionStructureTable& table = structures.getTable();
    using Mediator = VRLFusionConfigDialogMediator;
    connect(&name, &QLineEdit::textChanged, this, &Mediator::updateOkButton);
    connect(&stacks, &VRLStackListWidget::selectionChanged, this, &Mediator::selectedStacksChange);
    connect(&table, &VRLFusionStructureTable::referenceFlagChanged, this, &Mediator::referenceFlagChange);
    connect(&table, &VRLFusionStructureTable::resamplingValuesChanged, this, &Mediator::resamplingValuesChange);
    connect(&table, &VRLFusionStructureTable::resamplingErrorChanged, this,
            &Mediator::computeResamplingValuesFromError);
    connect(&structures, &VRLFusionConfigDialogStructurePanel::errorButtonClicked, this,
            &Mediator::computeResamplingErrors);
    connect(&strategy, &VRLFusionStrategyPanel::strategyChanged, this, &Mediator::updateOkButton);
    updateOkButton();
}

const std::vector<VRLFusionSurfaceStructure<float>>& VRLFusionConfigDialogMediator::structures() const {
    return __structures.getTable().structures();
}

std::vector<std::unique_ptr<CurveStack<float>>>
VRLFusionConfigDialogMediator::surfaceStructureInstances(const VRLFusionSurfaceStructure<float>& structure) const {
    return VRLFusionConfig<float>::surfaceStructureInstances(asStacks(__stacks.selectedStacks()), structure.getName());
}

void VRLFusionConfigDialogMediator::updateOkButton() {
    const VRLFusionStrategy strategy = __strategy.getFusionStrategy();
    const std::size_t numStacks = __stacks.selectedStacks().size();
    const bool noTemplate = strategy.isRegistration() && strategy.getRegistrationAlgorithm() == TemplateRegistration &&
                            strategy.getReferenceStack().empty();
    __ok.setEnabled(!__name.text().simplified().isEmpty() && numStacks > 0 &&
                    (!__strategy.isEnabled() || (numStacks > 1 && !noTemplate)));
    if (__hint != nullptr)
        __hint->setText(advice());
}

void VRLFusionConfigDialogMediator::setHint(QLabel& hint) {
    __hint = &hint;
    hint.setText(advice());
}

QString VRLFusionConfigDialogMediator::advice() const {
    if (__stacks.selectedStacks().size() < 2)
        return "Choose the stacks: Ctrl or Shift for several.";
    if (structures().empty())
        return "No closed structure is in all of these stacks.";
    if (!__strategy.isEnabled())
        return "Tick the structures to align and register by.";
    const VRLFusionStrategy strategy = __strategy.getFusionStrategy();
    if (!strategy.isAlignment() && !strategy.isRegistration() && !strategy.isWarping())
        return "Without a step, the specimens are averaged as they lie.";
    return QString();
}

void VRLFusionConfigDialogMediator::selectedStacksChange() {
    const std::vector<VRLStack*> selected = __stacks.selectedStacks();
    std::vector<VRLFusionSurfaceStructure<float>> shared;
    if (selected.size() > 1) {
        shared = VRLFusionConfig<float>::sharedStructures(asStacks(selected));
        for (VRLFusionSurfaceStructure<float>& structure : shared) {
            structure.setResamplingHeight(std::clamp(structure.getResamplingHeight(), 2, 1000));
            structure.setResamplingWidth(std::clamp(structure.getResamplingWidth(), 3, 1000));
        }
    }
    __structures.getTable().setStructures(shared);
    __structures.setEnabled(!shared.empty());
    __strategy.setStacks(selected);
    updateStrategyPanel();
    updateOkButton();
}

void VRLFusionConfigDialogMediator::updateStrategyPanel() {
    __strategy.setEnabled(std::any_of(structures().begin(), structures().end(),
                                      [](const auto& structure) { return structure.isReference(); }));
}

void VRLFusionConfigDialogMediator::referenceFlagChange(VRLFusionSurfaceStructure<float>&) {
    updateStrategyPanel();
    updateOkButton();
}

void VRLFusionConfigDialogMediator::resamplingValuesChange(VRLFusionSurfaceStructure<float>&) {
}

void VRLFusionConfigDialogMediator::computeResamplingErrorFromValues(VRLFusionSurfaceStructure<float>& structure) {
    ResamplingSearch<float> search(surfaceStructureInstances(structure));
    search.computeErrorFromValues(structure);
}

void VRLFusionConfigDialogMediator::computeResamplingErrors() {
    guarded(&__structures, "The resampling error cannot be computed.", [this] {
        const WaitCursor cursor;
        for (VRLFusionSurfaceStructure<float>* structure : __structures.getTable().selectedStructures()) {
            if (structure->getResamplingError() < 0) {
                computeResamplingErrorFromValues(*structure);
                __structures.getTable().updateStructure(*structure);
            }
        }
    });
}

void VRLFusionConfigDialogMediator::computeResamplingValuesFromError(VRLFusionSurfaceStructure<float>& structure) {
    guarded(&__structures, "The sizes cannot be found.", [&] {
        const WaitCursor cursor;
        ResamplingSearch<float> search(surfaceStructureInstances(structure));
        search.computeValuesFromError(structure);
    });
    __structures.getTable().updateStructure(structure);
}

} // namespace vorlen
