#include "ui/analysis/vrlanalysiswindow.h"

#include <cmath>

#include <QCoreApplication>
#include <QGuiApplication>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QScreen>
#include <QTabWidget>
#include <QVBoxLayout>

#include "editing/stacks/vrlstack.h"
#include "ui/analysis/analysiscommands.h"
#include "ui/analysis/vrlanalysiswindowmediator.h"
#include "ui/analysis/vrlmodelanalysiswidget.h"
#include "ui/analysis/vrlmodelitemanalysiswidget.h"
#include "ui/analysis/vrlsliceanalysistable.h"
#include "ui/icons/vrlicons.h"
#include "ui/session/vrlconfig.h"
#include "ui/widgets/placedwindow.h"

namespace vorlen {

namespace {

/// Two thirds of the screen's width and height.
QSize defaultSize() {
    const QSize screen = QGuiApplication::primaryScreen()->size();
    return {int(std::lround(screen.width() * 2 / 3.0)), int(std::lround(screen.height() * 2 / 3.0))};
}

QString counted(int number, const QString& singular) {
    return QString::number(number) + ' ' + singular + (number == 1 ? "" : "s");
}

} // namespace

VRLAnalysisWindow::VRLAnalysisWindow() {
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(QString(appName) + " - Analysis");
    setWindowIcon(VRLIcons::logo());
    __mediator = new VRLAnalysisWindowMediator(this);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    buildSheets();
    buildMenus();
    __mediator->initialize();
    connect(qApp, &QCoreApplication::aboutToQuit, this, &QObject::deleteLater);
    keepPlace(*this, "analysisWindow", defaultSize());
    show();
}

void VRLAnalysisWindow::buildSheets() {
    auto* tabs = new QTabWidget(this);
    auto* items = new VRLModelItemAnalysisWidget(tabs);
    auto* slices = new VRLSliceAnalysisTable(tabs);
    auto* models = new VRLModelAnalysisWidget(tabs);
    tabs->setDocumentMode(true);
    tabs->setTabToolTip(tabs->addTab(items, "Items"), "Displays analysis of 2D individual items");
    tabs->setTabToolTip(tabs->addTab(slices, "Slices"), "Displays analysis of 2D slices contents");
    tabs->setTabToolTip(tabs->addTab(models, "Models"), "Displays analysis of 3D models");
    __stackLabel = new QLabel(tabs);
    __stackLabel->setContentsMargins(8, 0, 8, 6);
    __stackLabel->setTextFormat(Qt::PlainText);
    __stackLabel->setToolTip("The stack as it was when this window was opened");
    tabs->setCornerWidget(__stackLabel);
    layout()->addWidget(tabs);
    __mediator->setModelItemAnalysisWidget(*items);
    __mediator->setSliceAnalysisTable(*slices);
    __mediator->setModelAnalysisWidget(*models);
}

void VRLAnalysisWindow::buildMenus() {
    __commands.setWindow(analysisCommands().window);
    __commands.add(analysisCommands().commands);
    __commands.bind(
        "window.close", [this] { close(); });
    __commands.bind(
        "sheet.save", [this] { __mediator->saveCurrentSheet(); });
    __commands.bind("sheet.copy", [this] { __mediator->copySelection(); });
    __commands.update();
    auto* menuBar = new QMenuBar(this);
    for (const CommandMenu& menu : analysisCommands().menus)
        __commands.addMenu(*menuBar, menu);
    layout()->setMenuBar(menuBar);
}

void VRLAnalysisWindow::setStack(const VRLStack& stack) {
    __stackLabel->setText(QString::fromStdString(stack.getName()) + ": " + counted(stack.getNumSlices(), "slice") +
                          ", " + counted(stack.getNumModels(), "model"));
    __mediator->setStack(stack);
}

} // namespace vorlen
