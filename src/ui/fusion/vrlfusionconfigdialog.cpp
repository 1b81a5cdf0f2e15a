#include "ui/fusion/vrlfusionconfigdialog.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QVBoxLayout>

#include "editing/stacks/vrlstack.h"
#include "editing/stacks/vrlstackserver.h"
#include "ui/fusion/vrlfusionconfigdialogmediator.h"
#include "ui/fusion/vrlfusionstrategypanel.h"
#include "ui/fusion/vrlfusionstructuretable.h"
#include "ui/models/vrlstacklistwidget.h"
#include "ui/widgets/vrlsplitter.h"

namespace vorlen {

namespace {

const char* const geometryKey = "fusionConfigDialog/geometry";

} // namespace

VRLFusionConfigDialog::VRLFusionConfigDialog(QWidget* parent) : QDialog(parent) {
    setWindowTitle("Spatial normalization configuration");
    __name = new QLineEdit("normalization", this);
    __name->selectAll();
    auto* nameLayout = new QHBoxLayout;
    nameLayout->addWidget(new QLabel("Name", this));
    nameLayout->addWidget(__name, 1);

    auto* splitter = new VRLSplitter("fusionConfigDialogSplitter", Qt::Horizontal, this);
    splitter->setChildrenCollapsible(false);
    __stacks = new VRLStackListWidget;
    __stacks->setSelectionMode(QAbstractItemView::ExtendedSelection);
    for (int k = 0; k < VRLStackServer::stackServer.getNumStacks(); ++k)
        __stacks->addStack(VRLStackServer::stackServer.getStack(k));
    auto* right = new QWidget;
    __structures = new VRLFusionConfigDialogStructurePanel(right);
    __structures->setEnabled(false);
    __strategy = new VRLFusionStrategyPanel(right);
    __strategy->setEnabled(false);
    auto* rightLayout = new QVBoxLayout(right);
    rightLayout->setContentsMargins(0, 0, 0, 0);
    rightLayout->addWidget(__structures, 1);
    rightLayout->addWidget(__strategy, 0);
    splitter->addWidget(__stacks, 200);
    splitter->addWidget(right, 460);
    splitter->restore();

    auto* buttons = new QDialogButtonBox(this);
    QPushButton* ok = buttons->addButton("OK", QDialogButtonBox::AcceptRole);
    buttons->addButton("Cancel", QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(nameLayout);
    layout->addWidget(splitter, 1);
    auto* const hint = new QLabel(this);
    hint->setObjectName("fusion.hint");
    hint->setWordWrap(true);
    auto* const last = new QHBoxLayout;
    last->addWidget(hint, 1);
    last->addWidget(buttons);
    layout->addLayout(last);

    __mediator = new VRLFusionConfigDialogMediator(*__name, *__stacks, *__structures, *__strategy, *ok, this);
    __mediator->setHint(*hint);
    if (!restoreGeometry(QSettings().value(geometryKey).toByteArray()))
        resize(720, 720);
}

void VRLFusionConfigDialog::setConfig(const VRLFusionConfig<float>& config) {
    __name->setText(QString::fromStdString(config.getName()));
    __name->selectAll();
    __strategy->setFusionStrategy(config.getStrategy());
    __mediator->updateOkButton();
}

VRLFusionConfig<float> VRLFusionConfigDialog::fusionConfig() const {
    VRLFusionConfig<float> config;
    config.setName(__name->text().simplified().toStdString());
    std::vector<const Stack*> stacks;
    for (const VRLStack* stack : __stacks->selectedStacks())
        stacks.push_back(stack);
    config.setStacks(stacks);
    config.setStructures(__structures->getTable().structures());
    // Without references no step can be taken, whatever the panel shows.
    VRLFusionStrategy strategy = __strategy->getFusionStrategy();
    if (!__strategy->isEnabled()) {
        strategy.setAlignment(false);
        strategy.setRegistration(false);
        strategy.setWarping(false);
    }
    config.setStrategy(strategy);
    return config;
}

void VRLFusionConfigDialog::done(int result) {
    QSettings().setValue(geometryKey, saveGeometry());
    QDialog::done(result);
}

} // namespace vorlen
