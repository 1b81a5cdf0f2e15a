#include "ui/widgets/vrlprogressdialog.h"

#include <QCoreApplication>

#include "progress/progresssubject.h"

namespace vorlen {

VRLProgressDialog::VRLProgressDialog(QWidget* parent) : QProgressDialog(parent) {
    setRange(0, 100);
    setModal(true);
    setMinimumDuration(0);
    connect(this, &QProgressDialog::canceled, this, &VRLProgressDialog::cancelCurrentSubject);
}

void VRLProgressDialog::subjectProgressed(const std::string& text) {
    setLabelText(QString::fromStdString(text));
    QCoreApplication::processEvents();
}

void VRLProgressDialog::subjectProgressed(unsigned int current, unsigned int total) {
    if (total > 0) {
        const int value = static_cast<int>(100.0 * current / total);
        if (value != this->value())
            setValue(value);
    }
    QCoreApplication::processEvents();
}

void VRLProgressDialog::cancelCurrentSubject() {
    if (hasSubject())
        currentSubject()->cancel();
}

} // namespace vorlen
