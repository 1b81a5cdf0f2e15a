#include "ui/models/vrlpreferencesdialog.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

#include "ui/models/vrlpreferencesdialogmediator.h"
#include "ui/models/vrlpreferenceseditor.h"

namespace vorlen {

VRLPreferencesDialog::VRLPreferencesDialog(QWidget* parent) : QDialog(parent) {
    setWindowTitle("Preferences");
    auto* frame = new QFrame(this);
    frame->setFrameStyle(QFrame::Box | QFrame::Sunken);
    auto* editor = new VRLPreferencesEditor(frame);
    auto* frameLayout = new QVBoxLayout(frame);
    frameLayout->addWidget(editor);
    frameLayout->addStretch(1);
    auto* apply = new QPushButton("Apply", this);
    apply->setToolTip("Stores these preferences");
    auto* cancel = new QPushButton("Cancel", this);
    cancel->setToolTip("Closes this window; what is not applied is lost");
    auto* ok = new QPushButton("OK", this);
    ok->setToolTip("Stores these preferences and closes this window");
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    for (QPushButton* button : {apply, cancel, ok}) {
        button->setAutoDefault(false);
        buttons->addWidget(button);
    }
    ok->setDefault(true);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(frame, 1);
    layout->addLayout(buttons);
    __mediator = new VRLPreferencesDialogMediator(*this, *editor, *apply, *cancel, *ok);
}

} // namespace vorlen
