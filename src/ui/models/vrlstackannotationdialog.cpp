#include "ui/models/vrlstackannotationdialog.h"

#include <QHBoxLayout>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "document/stackslice.h"
#include "editing/actions/vrlsliceinsertiondeletionaction.h"
#include "editing/bus/vrlstackevent.h"
#include "editing/operations/sliceoperations.h"
#include "editing/operations/stackoperations.h"
#include "editing/stacks/vrlstack.h"
#include "ui/models/guarded.h"
#include "ui/models/refusal.h"

namespace vorlen {

VRLStackAnnotationDialog::VRLStackAnnotationDialog(QWidget* parent) : QDialog(parent) {
    __text = new QPlainTextEdit(this);
    __text->setMinimumSize(__text->sizeHint());
    __text->setTabChangesFocus(true);
    __text->setAccessibleName("Annotation");
    auto* cancel = new QPushButton("Cancel", this);
    cancel->setToolTip("Closes this window and keeps the old text");
    auto* ok = new QPushButton("OK", this);
    ok->setToolTip("Stores the text and closes this window");
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(cancel);
    buttons->addWidget(ok);
    ok->setDefault(true);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(__text, 1);
    layout->addLayout(buttons);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(ok, &QPushButton::clicked, this,
            [this] { guarded(this, "The annotation cannot be stored.", [this] { apply(); }); });
}

void VRLStackAnnotationDialog::setStack(VRLStack& stack) {
    __stack = &stack;
    __slice = nullptr;
    setWindowTitle("Stack annotation");
    __text->setPlainText(QString::fromStdString(stack.getAnnotation()));
}

void VRLStackAnnotationDialog::setSlice(StackSlice& slice) {
    __slice = &slice;
    __stack = nullptr;
    setWindowTitle("Slice annotation");
    __text->setPlainText(QString::fromStdString(slice.getAnnotation()));
}

void VRLStackAnnotationDialog::apply() {
    const std::string text = __text->toPlainText().trimmed().toStdString();
    if (__stack != nullptr) {
        StackChange change;
        change.annotation = text;
        tellRefusal(this, changeStack(*__stack, change));
    } else if (__slice != nullptr) {
        SliceChange change;
        change.annotation = text;
        if (auto* stack = dynamic_cast<VRLStack*>(__slice->getStack()))
            tellRefusal(this, changeSlice(*stack, *__slice, change));
    }
    accept();
}

void VRLStackAnnotationDialog::stackCloseEvent(VRLStackCloseEvent& event) {
    const bool concerned = event.getStack() == __stack;
    if (!concerned && (__slice == nullptr || __slice->getStack() != event.getStack()))
        return;
    __stack = nullptr;
    __slice = nullptr;
    reject();
}

// Undo brings another text. What is being written stays until it is stored or given up.
void VRLStackAnnotationDialog::stackModifyEvent(VRLStackModifyEvent& event) {
    const bool concerned = __stack != nullptr ? event.getStack() == __stack
                                              : __slice != nullptr && event.getStack() == __slice->getStack();
    if (!concerned || __text->document()->isModified())
        return;
    __text->setPlainText(
        QString::fromStdString(__stack != nullptr ? __stack->getAnnotation() : __slice->getAnnotation()));
}

void VRLStackAnnotationDialog::processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) {
    if (__slice == nullptr || action.getSlice() != __slice || action.isInsertion() != action.reverted())
        return;
    __slice = nullptr;
    reject();
}

} // namespace vorlen
