#include "ui/tools/vrlsnakeconfigdialog.h"

#include <QPushButton>
#include <QVBoxLayout>

#include "ui/tools/vrlsnakeconfigeditor.h"

namespace vorlen {

namespace {

constexpr int spaceOfTitleButtons = 150; // of a window, beside its title

} // namespace

VRLSnakeConfigDialog::VRLSnakeConfigDialog(QWidget* parent) : QDialog(parent) {
    setWindowTitle("Snake parameters");
    setMinimumWidth(fontMetrics().horizontalAdvance("Snake parameters") + spaceOfTitleButtons);
    auto* const contents = new QWidget(this);
    __editor = new VRLSnakeConfigEditor(contents);
    auto* const contentsLayout = new QVBoxLayout(contents);
    contentsLayout->setContentsMargins(0, 0, 0, 0);
    contentsLayout->addWidget(__editor);

    auto* const cancel = new QPushButton("Cancel", this);
    auto* const ok = new QPushButton("OK", this);
    cancel->setAutoDefault(false);
    ok->setDefault(true);
    auto* const buttons = new QHBoxLayout;
    buttons->setSpacing(5);
    buttons->addStretch(1);
    buttons->addWidget(cancel);
    buttons->addWidget(ok);
    buttons->addStretch(1);

    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(5, 5, 5, 5);
    layout->setSpacing(5);
    layout->addWidget(contents, 1);
    layout->addLayout(buttons);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);
}

void VRLSnakeConfigDialog::setConfig(const VRLSnakeConfig& config) {
    __editor->setConfig(config);
}

VRLSnakeConfig VRLSnakeConfigDialog::getConfig() const {
    return __editor->getConfig();
}

} // namespace vorlen
