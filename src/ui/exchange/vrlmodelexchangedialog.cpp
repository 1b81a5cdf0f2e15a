#include "ui/exchange/vrlmodelexchangedialog.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QSettings>
#include <QVBoxLayout>

#include "ui/exchange/vrlmodelexchangedialogmediator.h"
#include "ui/models/vrlmodellistwidget.h"
#include "ui/models/vrlstacklistwidget.h"

namespace vorlen {

namespace {

QPushButton* newButton(const QString& text, const QString& tip, QWidget* parent) {
    auto* const button = new QPushButton(text, parent);
    button->setToolTip(tip);
    button->setAutoDefault(false);
    return button;
}

} // namespace

VRLModelExchangeDialog::VRLModelExchangeDialog(QWidget* parent) : QDialog(parent) {
    setWindowTitle("Model transfer");
    auto* const leftStacks = new VRLStackListWidget(this);
    auto* const rightStacks = new VRLStackListWidget(this);
    auto* const leftLabel = new QLabel("Models:", this);
    auto* const rightLabel = new QLabel("Models:", this);
    auto* const leftModels = new VRLModelListWidget(this);
    auto* const rightModels = new VRLModelListWidget(this);
    leftModels->setAccessibleName("Models of the left stack");
    rightModels->setAccessibleName("Models of the right stack");
    leftLabel->setBuddy(leftModels);
    rightLabel->setBuddy(rightModels);
    auto* const toRight = newButton(">", "Copy the selected models to the stack on the right", this);
    auto* const toLeft = newButton("<", "Copy the selected models to the stack on the left", this);
    toRight->setAccessibleName("Copy to the right");
    toLeft->setAccessibleName("Copy to the left");
    auto* const notice = new QLabel(this);
    notice->setWordWrap(true);
    notice->setTextFormat(Qt::RichText); // of fixed words
    notice->setAccessibleName("Notice");
    auto* const world = new QCheckBox("Keep the place in space (world coordinates)", this);
    world->setToolTip("Contours are moved to where they lie in space, as registrations and pixel sizes of both stacks "
                      "tell; otherwise they keep their pixels");
    auto* const undo = newButton("Undo", "Take back the last transfer", this);
    auto* const redo = newButton("Redo", "Do again the transfer that was taken back", this);
    auto* const close = newButton("Close", "Close this window", this);
    connect(close, &QPushButton::clicked, this, &QDialog::accept);

    auto* const arrows = new QVBoxLayout;
    arrows->addStretch(1);
    arrows->addWidget(toRight);
    arrows->addWidget(toLeft);
    arrows->addStretch(1);
    auto* const lists = new QGridLayout;
    lists->addWidget(leftStacks, 0, 0);
    lists->addWidget(rightStacks, 0, 2);
    lists->addWidget(leftLabel, 1, 0);
    lists->addWidget(rightLabel, 1, 2);
    lists->addWidget(leftModels, 2, 0);
    lists->addLayout(arrows, 2, 1);
    lists->addWidget(rightModels, 2, 2);
    lists->setRowStretch(0, 2);
    lists->setRowStretch(2, 3);
    auto* const buttons = new QHBoxLayout;
    buttons->addWidget(undo);
    buttons->addWidget(redo);
    buttons->addStretch(1);
    buttons->addWidget(close);
    auto* const layout = new QVBoxLayout(this);
    layout->addLayout(lists, 1);
    layout->addWidget(notice);
    layout->addWidget(world);
    layout->addLayout(buttons);

    __mediator = new VRLModelExchangeDialogMediator(*this);
    __mediator->setStackLists(*leftStacks, *rightStacks);
    __mediator->setModelLists(*leftModels, *rightModels);
    __mediator->setLabels(*leftLabel, *rightLabel);
    __mediator->setButtons(*toRight, *toLeft, *undo, *redo);
    __mediator->setPlaces(*notice, *world);
    __mediator->initialize();

    const QSettings settings;
    const QSize third = QGuiApplication::primaryScreen()->size() / 3;
    resize(settings.value("modelTransferDialog/size", third).toSize().expandedTo(minimumSizeHint()));
    if (settings.contains("modelTransferDialog/pos"))
        move(settings.value("modelTransferDialog/pos").toPoint());
}

// The mediator works on the other children and goes before them.
VRLModelExchangeDialog::~VRLModelExchangeDialog() {
    delete __mediator;
}

void VRLModelExchangeDialog::moveEvent(QMoveEvent* event) {
    QDialog::moveEvent(event);
    QSettings().setValue("modelTransferDialog/pos", pos());
}

void VRLModelExchangeDialog::resizeEvent(QResizeEvent* event) {
    QDialog::resizeEvent(event);
    QSettings().setValue("modelTransferDialog/size", size());
}

} // namespace vorlen
