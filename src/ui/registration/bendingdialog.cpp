#include "ui/registration/bendingdialog.h"

#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "editing/stacks/vrlstack.h"
#include "editing/stacks/vrlstackserver.h"
#include "files/fileinfo.h"
#include "ui/session/vrlsettings.h"

namespace vorlen {

namespace {

/// Beside the stack's own file or, without one, in the folder that was last written to.
QString proposedFile(const VRLStack& stack) {
    const QFileInfo own(QFile::decodeName(stack.getFilename().c_str()));
    if (!stack.getFilename().empty())
        return own.absolutePath() + "/" + own.completeBaseName() + "-bent.sdf";
    return VRLSettings::settings.getOutputDirectory().absoluteFilePath(
        QString::fromStdString(stack.getName()).replace('/', '-') + "-bent.sdf");
}

bool isOpen(const std::string& file) {
    VRLStackServer& server = VRLStackServer::stackServer;
    for (int i = 0; i < server.getNumStacks(); ++i)
        if (server.getStack(i).getFilename() == file)
            return true;
    return false;
}

} // namespace

BendingDialog::BendingDialog(const VRLStack& stack, QWidget* parent) : QDialog(parent), __stack(stack) {
    setWindowTitle("Bend slices");
    auto* const what =
        new QLabel("Bends squeezed or torn slices onto each other, beginning where they lie now. It makes a "
                   "new stack, with new images beside it and the outlines carried along; this one stays "
                   "as it is. Locked slices are not bent.",
                   this);
    what->setWordWrap(true);
    what->setMinimumWidth(420);
    __reach = new QDoubleSpinBox(this);
    __reach->setObjectName("reach");
    __reach->setRange(2, 128);
    __reach->setDecimals(0);
    __reach->setSuffix(" pixels");
    __reach->setValue(ElasticOptions().reach);
    __reach->setToolTip("How far a piece of a slice may lie off, in pixels of an image of at most 1024 a side");
    __stiffness = new QDoubleSpinBox(this);
    __stiffness->setObjectName("stiffness");
    __stiffness->setRange(0.001, 1000);
    __stiffness->setDecimals(3);
    __stiffness->setValue(ElasticOptions().stiffness);
    __stiffness->setToolTip("The greater the smoother the slices are bent");
    __file = new QLineEdit(proposedFile(stack), this);
    __file->setObjectName("bentFile");
    auto* const choose = new QPushButton("Browse...", this);
    choose->setAutoDefault(false);
    auto* const row = new QHBoxLayout;
    row->addWidget(__file, 1);
    row->addWidget(choose);
    auto* const form = new QFormLayout;
    form->addRow("Reach", __reach);
    form->addRow("Stiffness", __stiffness);
    form->addRow("New stack", row);
    __refusal = new QLabel(this);
    __refusal->setWordWrap(true);
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, this);
    __bend = buttons->addButton("Bend", QDialogButtonBox::AcceptRole);
    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(what);
    layout->addLayout(form);
    layout->addWidget(__refusal);
    layout->addWidget(buttons);
    connect(choose, &QPushButton::clicked, this, &BendingDialog::browse);
    connect(__file, &QLineEdit::textChanged, this, &BendingDialog::check);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    check();
}

ElasticOptions BendingDialog::options() const {
    ElasticOptions options;
    options.reach = __reach->value();
    options.stiffness = __stiffness->value();
    return options;
}

std::string BendingDialog::file() const {
    QString name = __file->text().trimmed();
    if (!name.endsWith(".sdf"))
        name += ".sdf";
    return QFile::encodeName(QFileInfo(name).absoluteFilePath()).toStdString();
}

void BendingDialog::browse() {
    QFileDialog dialog(this, "New stack", __file->text(), "*.sdf");
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setOption(QFileDialog::DontConfirmOverwrite); // a file that is there is refused here
    if (dialog.exec() == QDialog::Accepted && !dialog.selectedFiles().isEmpty())
        __file->setText(dialog.selectedFiles().first());
}

/// Nothing is overwritten: neither a stack nor, later, images.
void BendingDialog::check() {
    QString refusal;
    if (__file->text().trimmed().isEmpty() || QFileInfo(__file->text()).fileName().isEmpty())
        refusal = "Name a file for the new stack.";
    else if (const std::string name = file(); name == __stack.getFilename() || isOpen(name))
        refusal = "A stack of this file is open: name another one.";
    else if (FileInfo::isTaken(name))
        refusal = "There is a file of this name already: name another one.";
    else if (!QFileInfo(QFileInfo(QFile::decodeName(name.c_str())).absolutePath()).isDir())
        refusal = "There is no such folder.";
    __refusal->setText(refusal);
    __bend->setEnabled(refusal.isEmpty());
}

} // namespace vorlen
