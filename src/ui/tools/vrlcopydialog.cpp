#include "ui/tools/vrlcopydialog.h"

#include <algorithm>
#include <utility>

#include <QCheckBox>
#include <QLabel>

#include "ui/widgets/qinputbox.h"

namespace vorlen {

VRLCopyDialog::VRLCopyDialog(QWidget* parent, std::vector<Slice> slices, int rank)
    : VRLContourToolDialog(parent, "Copy to slices"), __slices(std::move(slices)), __rank(rank) {
    const int behind = int(__slices.size()) - 1 - rank;
    __before = addBox("Slices before", 0, rank, QString(), "How many slices below this one in the list get a copy");
    __behind = addBox("Slices after", 0, behind, QString(), "How many slices above this one in the list get a copy");
    __passOver = new QCheckBox("Pass over slices that are outlined there already", this);
    __passOver->setToolTip("Else they have two outlines of the model at one place then");
    __passOver->setChecked(true);
    __passOver->setVisible(
        std::any_of(__slices.begin(), __slices.end(), [](const Slice& slice) { return slice.outlined; }));
    addWidget(__passOver);
    __summary = new QLabel(this);
    __summary->setTextFormat(Qt::PlainText);
    __summary->setWordWrap(true);
    addWidget(__summary);
    addButtons("Copies nothing", "Copies what is selected to these slices");
    connect(__before, &QInputBox::valueChanged, this, &VRLCopyDialog::tell);
    connect(__behind, &QInputBox::valueChanged, this, &VRLCopyDialog::tell);
    connect(__passOver, &QCheckBox::toggled, this, &VRLCopyDialog::tell);
    (behind > 0 ? __behind : __before)->setValue(1);
    tell();
}

void VRLCopyDialog::setNumBefore(int number) {
    __before->setValue(number);
    tell();
}

void VRLCopyDialog::setNumBehind(int number) {
    __behind->setValue(number);
    tell();
}

std::vector<int> VRLCopyDialog::targets() const {
    std::vector<int> ranks;
    for (int i = __rank - __before->getValue(); i <= __rank + __behind->getValue(); ++i)
        if (i != __rank && !(__passOver->isChecked() && __slices[std::size_t(i)].outlined))
            ranks.push_back(i);
    return ranks;
}

QString VRLCopyDialog::summary() const {
    const std::vector<int> ranks = targets();
    const auto name = [this](int rank) { return __slices[std::size_t(rank)].name; };
    const int passedOver = __before->getValue() + __behind->getValue() - int(ranks.size());
    QString text = ranks.empty() ? QString("To no slice")
                   : ranks.size() == 1
                       ? "To " + name(ranks[0])
                       : QString("To %1 slices, from %2 to %3")
                             .arg(QString::number(ranks.size()), name(ranks.front()), name(ranks.back()));
    if (passedOver > 0)
        text += QString("; %1 %2 passed over").arg(passedOver).arg(passedOver == 1 ? "is" : "are");
    return text + '.';
}

void VRLCopyDialog::tell() {
    __summary->setText(summary());
    setAcceptable(!targets().empty());
}

} // namespace vorlen
