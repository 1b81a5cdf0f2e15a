#include "ui/files/vrlrecoverydialog.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QLocale>
#include <QPushButton>
#include <QVBoxLayout>

namespace vorlen {

VRLRecoveryDialog::VRLRecoveryDialog(const QList<VRLRecovery::Leftover>& leftovers, QWidget* parent)
    : QDialog(parent), __leftovers(leftovers) {
    setWindowTitle("Recover stacks");
    auto* text = new QLabel("Vorlen did not end in the proper way the last time. These stacks had changes that were "
                            "not saved. What you recover opens as it was then, with its undo history; your own files "
                            "stay as they are until you save. \"Later\" asks again at the next start, \"Delete\" drops "
                            "what was kept of the ticked stacks.",
                            this);
    text->setWordWrap(true);
    __list = new QListWidget(this);
    __list->setAccessibleName("Stacks to recover");
    for (const VRLRecovery::Leftover& leftover : leftovers) {
        const QString where = leftover.stackFile.isEmpty() ? "never saved" : leftover.stackFile;
        auto* item = new QListWidgetItem(leftover.stackName + "  (" + where + ")\n" +
                                             QLocale().toString(leftover.time, QLocale::ShortFormat),
                                         __list);
        item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
        item->setCheckState(Qt::Checked);
    }

    auto* recover = new QPushButton("Recover", this);
    recover->setDefault(true);
    recover->setToolTip("Open the ticked stacks as they were");
    auto* discard = new QPushButton("Delete", this);
    discard->setToolTip("Delete what was kept of the ticked stacks");
    auto* later = new QPushButton("Later", this);
    later->setToolTip("Ask again at the next start");
    const auto close = [this](Answer answer) {
        __answer = answer;
        accept();
    };
    connect(
        recover, &QPushButton::clicked, this, [close] { close(Answer::Recover); });
    connect(
        discard, &QPushButton::clicked, this, [close] { close(Answer::Discard); });
    connect(later, &QPushButton::clicked, this, [close] { close(Answer::Later); });
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(discard);
    buttons->addStretch(1);
    buttons->addWidget(later);
    buttons->addWidget(recover);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(text);
    layout->addWidget(__list, 1);
    layout->addLayout(buttons);
    resize(520, 300);
}

QList<VRLRecovery::Leftover> VRLRecoveryDialog::chosen() const {
    QList<VRLRecovery::Leftover> result;
    for (int i = 0; i < __list->count(); ++i)
        if (__list->item(i)->checkState() == Qt::Checked)
            result += __leftovers[i];
    return result;
}

} // namespace vorlen
