#include "ui/fusion/vrlfusionwindow.h"

#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QMenuBar>
#include <QScreen>
#include <QScrollArea>
#include <QStyle>
#include <QTabWidget>
#include <QTextEdit>
#include <QVBoxLayout>

#include "ui/density/vrldensitymappingwidget.h"
#include "ui/fusion/fusioncommands.h"
#include "ui/fusion/fusionresidualview.h"
#include "ui/fusion/vrlfusionwindowmediator.h"
#include "ui/fusion/vrlfusionwindowshapetable.h"
#include "ui/viewer/shapeviewerattributeseditor.h"
#include "ui/viewer/viewercanvasgl.h"
#include "ui/viewer/viewerposepanel.h"
#include "ui/widgets/placedwindow.h"
#include "ui/widgets/vrlstatusbar.h"

namespace vorlen {

VRLFusionSummaryDialog::VRLFusionSummaryDialog(const QString& name, const QString& log, QWidget* parent)
    : QDialog(parent) {
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(name + " - Summary");
    auto* text = new QTextEdit(this);
    text->setReadOnly(true);
    text->setHtml(log);
    auto* buttons = new QDialogButtonBox(this);
    buttons->addButton("OK", QDialogButtonBox::AcceptRole);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::close);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(text);
    layout->addWidget(buttons);
    keepPlace(*this, "fusionSummaryDialog", QSize(760, 620));
}

VRLFusionWindow::VRLFusionWindow(QWidget* parent) : QWidget(parent, Qt::Window) {
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle("Normalization");
    __canvas = new ViewerCanvasGL(this);
    __scaleBar = new FusionScaleBar(this);
    __scaleBar->hide();
    __panel = new ViewerPosePanel;
    __panelArea = new QScrollArea(this);
    __panelArea->setFrameShape(QFrame::NoFrame);
    __panelArea->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    __panelArea->setWidgetResizable(true);
    __panelArea->setWidget(__panel);
    __panelArea->setFixedWidth(__panel->sizeHint().width() + style()->pixelMetric(QStyle::PM_ScrollBarExtent));
    auto* tabs = new QTabWidget(this);
    auto* shapes = new QWidget;
    __table = new VRLFusionWindowShapeTable(shapes);
    __editor = new ShapeViewerAttributesEditor(shapes);
    __editor->setImmediate(true);
    auto* shapesLayout = new QVBoxLayout(shapes);
    shapesLayout->addWidget(__table, 1);
    shapesLayout->addWidget(__editor, 0);
    tabs->addTab(shapes, "Shapes");
    __residuals = new FusionResidualView;
    tabs->addTab(__residuals, "Residuals");
    __density = new VRLDensityMappingWidget;
    __density->setCanvas(__canvas);
    tabs->addTab(__density, "Density maps");
    __statusBar = new VRLStatusBar(this);

    __mediator =
        new VRLFusionWindowMediator(*this, *__table, *__editor, *__residuals, *__scaleBar, *__density, *__statusBar);
    __mediator->setCanvas(__canvas);
    __mediator->setPosePanel(__panel);
    __mediator->initialize();
    buildMenus();

    auto* centre = new QVBoxLayout;
    centre->setSpacing(2);
    centre->addWidget(__canvas, 1);
    centre->addWidget(__scaleBar, 0);
    auto* row = new QHBoxLayout;
    row->setContentsMargins(5, 5, 5, 5);
    row->setSpacing(5);
    row->addWidget(__panelArea);
    row->addLayout(centre, 1);
    row->addWidget(tabs);
    tabs->setMinimumWidth(320);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->setMenuBar(__menuBar);
    layout->addLayout(row, 1);
    layout->addWidget(__statusBar);
    connect(qApp, &QCoreApplication::aboutToQuit, this, &QWidget::close);
    const QSize screen = QGuiApplication::primaryScreen()->size();
    const QSize usual(screen.width() * 2 / 3, screen.height() * 2 / 3);
    keepPlace(*this, "fusionWindow", usual.expandedTo(QSize(1060, 640))); // the scene has room beside the panels
    __mediator->setStatusReady();
    setWindowTitle("Normalization");
}

// The mediator takes its painters off the canvas, so it goes first.
VRLFusionWindow::~VRLFusionWindow() {
    delete __mediator;
    __density->setCanvas(nullptr);
}

void VRLFusionWindow::buildMenus() {
    CommandRegistry& commands = __mediator->commands();
    const std::pair<const char*, QWidget*> parts[] = {
        {"show.panel", __panelArea}, {"show.table", __table}, {"show.attributes", __editor}};
    for (const auto& part : parts) {
        const char* const id = part.first;
        QWidget* const widget = part.second;
        commands.action(id).setChecked(true);
        commands.bind(id, [&commands, id, widget] { widget->setVisible(commands.action(id).isChecked()); });
    }
    __menuBar = new QMenuBar(this);
    for (const CommandMenu& menu : fusionCommands().menus)
        commands.addMenu(*__menuBar, menu);
    commands.update();
}

void VRLFusionWindow::showSummary(const QString& name, const QString& log) {
    auto* dialog = new VRLFusionSummaryDialog(name, log, this); // deletes itself when it is closed
    __summaries.emplace_back(dialog);
    dialog->show();
}

void VRLFusionWindow::closeSummaries() {
    for (const QPointer<VRLFusionSummaryDialog>& dialog : __summaries)
        if (dialog)
            dialog->close();
    __summaries.clear();
}

} // namespace vorlen
