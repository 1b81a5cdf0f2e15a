#include "ui/app/vrlrootmediator.h"

#include <memory>

#include "document/stackslice.h"
#include "editing/stacks/vrlstack.h"
#include "ui/app/vrlrootwindow.h"
#include "ui/exchange/filtermarks.h"
#include "ui/exchange/vrlmodelexchangedialog.h"
#include "ui/exchange/vrlmodelfilterdialog.h"
#include "ui/models/modelviews.h"
#include "ui/models/vrlmodeldialog.h"
#include "ui/models/vrlpreferencesdialog.h"
#include "ui/models/vrlslicelistwidget.h"
#include "ui/models/vrlslicepropertiesdialog.h"
#include "ui/models/vrlstackannotationdialog.h"
#include "ui/models/vrlstacklistwidget.h"
#include "ui/models/vrlstackpropertiesdialog.h"
#include "ui/panorama/vrlpanorama.h"
#include "ui/slices/vrlrootsliceeditwidget.h"
#include "ui/slices/vrlrootsliceeditwidgetmediator.h"

namespace vorlen {

// The dialogs for what the document holds, and for the preferences.

namespace {

/// Gives the dialog what is selected, when that is one and no more.
template <class Dialog, class Selected, class Set>
void runDialogOfOne(QWidget& parent, const Selected& selected, Set set) {
    if (selected.size() != 1)
        return;
    Dialog dialog(&parent);
    (dialog.*set)(*selected[0]);
    dialog.exec();
}

} // namespace

void VRLRootMediator::runStackModelsDialog() {
    if (__stack == nullptr)
        return;
    VRLModelDialog dialog(&__window);
    dialog.setStack(*__stack);
    if (const Model* const current = __sliceWidget->getMediator().modelViews().getCurrent())
        dialog.selectModel(*current);
    dialog.exec();
}

void VRLRootMediator::runStackModelExchangeDialog() {
    VRLModelExchangeDialog dialog(&__window);
    dialog.exec();
}

/// What will go is marked in the picture of the slice and in space, until the dialog closes.
void VRLRootMediator::runModelFilterDialog() {
    if (__stack == nullptr)
        return;
    if (!__panorama->isHidden())
        showPlainview();
    FilterSceneMarks inSpace(*__stack);
    const auto marks = std::make_unique<FilterMarks>(*__sliceWidget);
    VRLModelFilterDialog dialog(&__window);
    connect(&dialog, &VRLModelFilterDialog::planChanged, marks.get(), &FilterMarks::setPlan);
    connect(&dialog, &VRLModelFilterDialog::planChanged, &inSpace, &FilterSceneMarks::setPlan);
    connect(&dialog, &VRLModelFilterDialog::sliceRequested, this, &VRLRootMediator::setSlice);
    dialog.setStack(*__stack);
    dialog.exec();
}

void VRLRootMediator::runStackPropertiesDialog() {
    runDialogOfOne<VRLStackPropertiesDialog>(__window, __stackList->selectedStacks(),
                                             &VRLStackPropertiesDialog::setStack);
}

void VRLRootMediator::runSlicePropertiesDialog() {
    runDialogOfOne<VRLSlicePropertiesDialog>(__window, __sliceList->selectedSlices(),
                                             &VRLSlicePropertiesDialog::setSlice);
}

void VRLRootMediator::runStackAnnotationDialog() {
    runDialogOfOne<VRLStackAnnotationDialog>(__window, __stackList->selectedStacks(),
                                             &VRLStackAnnotationDialog::setStack);
}

void VRLRootMediator::runSliceAnnotationDialog() {
    runDialogOfOne<VRLStackAnnotationDialog>(__window, __sliceList->selectedSlices(),
                                             &VRLStackAnnotationDialog::setSlice);
}

void VRLRootMediator::runPreferencesDialog() {
    VRLPreferencesDialog dialog(&__window);
    dialog.exec();
}

} // namespace vorlen
