#include "ui/models/vrlpreferencesdialog.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "ui/models/sectioncachepanel.h"
#include "ui/models/vrlpreferencesdialogmediator.h"
#include "ui/models/vrlpreferenceseditor.h"
#include "ui/session/vrlrecovery.h"

namespace vorlen {

namespace {

/// Where the program keeps what leads back: to be looked at, and copied.
QLabel* newFolders(QWidget* parent) {
    auto* text = new QLabel("Kept against crashes, until the stack is closed:\n" + VRLRecovery::userDirectory() +
                                "\nUndo histories of stacks that are closed, for 60 days, 500 MB in all:\n" +
                                VRLRecovery::userHistoryDirectory(),
                            parent);
    text->setTextFormat(Qt::PlainText);
    text->setWordWrap(true);
    text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    text->setAccessibleName("Folders");
    text->setToolTip("Edit > Clear undo history deletes the history of a stack");
    return text;
}

} // namespace

VRLPreferencesDialog::VRLPreferencesDialog(QWidget* parent) : QDialog(parent) {
    setWindowTitle("Preferences");
    auto* contents = new QWidget(this);
    auto* editor = new VRLPreferencesEditor(contents);
    auto* contentsLayout = new QVBoxLayout(contents);
    contentsLayout->setContentsMargins(0, 0, 0, 0);
    contentsLayout->addWidget(editor);
    contentsLayout->addWidget(newFolders(contents));
    contentsLayout->addWidget(new SectionCachePanel(contents));
    contentsLayout->addStretch(1);
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
    layout->addWidget(contents, 1);
    layout->addLayout(buttons);
    constexpr int wide = 620; // the folders in one line each
    resize(wide, layout->totalHeightForWidth(wide));
    __mediator = new VRLPreferencesDialogMediator(*this, *editor, *apply, *cancel, *ok);
}

} // namespace vorlen
