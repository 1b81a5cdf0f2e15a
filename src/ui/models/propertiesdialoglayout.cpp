#include "ui/models/propertiesdialoglayout.h"

#include <QDialog>
#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

#include "ui/models/vrlstackpropertieseditor.h"

namespace vorlen {

PropertiesDialogButtons layOutPropertiesDialog(QDialog& dialog, VRLStackPropertiesEditor& editor) {
    auto* contents = new QWidget(&dialog);
    auto* contentsLayout = new QVBoxLayout(contents);
    contentsLayout->setContentsMargins(0, 0, 0, 0);
    contentsLayout->addWidget(&editor);
    contentsLayout->addStretch(1);

    auto* apply = new QPushButton("Apply", &dialog);
    apply->setToolTip("Stores these properties");
    auto* reset = new QPushButton("Reset", &dialog);
    reset->setToolTip("Shows the stored properties again");
    auto* close = new QPushButton("Close", &dialog);
    close->setToolTip("Closes this window; what is not applied is lost");
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    for (QPushButton* button : {apply, reset, close}) {
        button->setAutoDefault(false);
        buttons->addWidget(button);
    }
    apply->setDefault(true);
    apply->setEnabled(false);
    reset->setEnabled(false);

    auto* layout = new QVBoxLayout(&dialog);
    layout->addWidget(contents, 1);
    layout->addLayout(buttons);
    QObject::connect(close, &QPushButton::clicked, &dialog, &QDialog::accept);
    return {apply, reset};
}

} // namespace vorlen
