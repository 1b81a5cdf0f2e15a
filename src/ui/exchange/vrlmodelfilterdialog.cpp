#include "ui/exchange/vrlmodelfilterdialog.h"

#include <QButtonGroup>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QSettings>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "ui/exchange/vrlmodelfilterdialogmediator.h"
#include "ui/models/vrlmodellistwidget.h"

namespace vorlen {

namespace {

const QString geometryKey = "modelFilterDialog/geometry";

QTreeWidget* newLossList(QWidget* parent) {
    auto* const list = new QTreeWidget(parent);
    list->setAccessibleName("What will go");
    list->setHeaderLabels({"Model, slice", "Whole items", "Vertices"});
    list->header()->setStretchLastSection(false);
    list->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    for (const int column : {1, 2})
        list->header()->setSectionResizeMode(column, QHeaderView::ResizeToContents);
    list->setUniformRowHeights(true);
    list->setToolTip("Choose a slice to see what will go there, marked in the picture");
    return list;
}

} // namespace

VRLModelFilterDialog::VRLModelFilterDialog(QWidget* parent) : QDialog(parent) {
    setWindowTitle("Filtering models");
    setWindowModality(Qt::WindowModal);
    auto* const referenceLabel = new QLabel("<b>Reference model:</b>", this);
    auto* const processLabel = new QLabel("<b>Models to process:</b>", this);
    auto* const removeLabel = new QLabel("<b>Remove:</b>", this);
    for (QLabel* label : {referenceLabel, processLabel, removeLabel})
        label->setTextFormat(Qt::RichText);
    auto* const reference = new VRLModelListWidget(this);
    reference->setSelectionMode(QAbstractItemView::SingleSelection);
    reference->setAccessibleName("Reference model");
    auto* const process = new VRLModelListWidget(this);
    process->setAccessibleName("Models to process");

    auto* const group = new QGroupBox(this);
    auto* const modes = new QButtonGroup(this);
    auto* const groupLayout = new QVBoxLayout(group);
    groupLayout->addWidget(removeLabel);
    const QString texts[] = {"Models not intersecting the reference", "Points not included in the reference"};
    for (const int id : {0, 1}) {
        auto* const choice = new QRadioButton(texts[id], group);
        modes->addButton(choice, id);
        groupLayout->addWidget(choice);
    }
    modes->button(0)->setChecked(true);

    auto* const summary = new QLabel(this);
    summary->setWordWrap(true);
    summary->setTextFormat(Qt::PlainText);
    summary->setAccessibleName("Summary");
    auto* const losses = newLossList(this);
    auto* const apply = new QPushButton("Apply", this);
    apply->setToolTip("Removes what is listed, as one step that can be undone");
    auto* const close = new QPushButton("Close", this);
    for (QPushButton* button : {apply, close})
        button->setAutoDefault(false);

    auto* const lists = new QGridLayout;
    lists->addWidget(referenceLabel, 0, 0);
    lists->addWidget(processLabel, 0, 1);
    lists->addWidget(reference, 1, 0);
    lists->addWidget(process, 1, 1);
    auto* const buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(apply);
    buttons->addWidget(close);
    auto* const layout = new QVBoxLayout(this);
    layout->addLayout(lists, 2);
    layout->addWidget(group);
    layout->addWidget(summary);
    layout->addWidget(losses, 3);
    layout->addLayout(buttons);

    __mediator = new VRLModelFilterDialogMediator(*this);
    __mediator->setLists(*reference, *process, *losses);
    __mediator->setControls(*modes, *summary, *apply, *close);
    __mediator->initialize();

    resize(520, 560);
    restoreGeometry(QSettings().value(geometryKey).toByteArray());
}

// The mediator works on the other children and goes before them.
VRLModelFilterDialog::~VRLModelFilterDialog() {
    QSettings().setValue(geometryKey, saveGeometry());
    delete __mediator;
}

void VRLModelFilterDialog::setStack(VRLStack& stack) {
    __mediator->setStack(stack);
}

} // namespace vorlen
