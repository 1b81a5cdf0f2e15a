#include "ui/comparison/vrlcomparisonwindow.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenuBar>
#include <QMessageBox>
#include <QProgressBar>
#include <QScrollArea>
#include <QSlider>
#include <QStyle>
#include <QThread>
#include <QVBoxLayout>

#include "cli/comparisonreport.h"
#include "files/fileinfo.h"
#include "images/files/niftiwriter.h"
#include "ui/comparison/comparisoncommands.h"
#include "ui/comparison/vrlcomparisonrun.h"
#include "ui/density/densitycolor.h"
#include "ui/density/vrldensitymap.h"
#include "ui/models/guarded.h"
#include "ui/session/vrlconfig.h"
#include "ui/session/vrlsettings.h"
#include "ui/viewer/viewercanvasgl.h"
#include "ui/viewer/viewerposepanel.h"
#include "ui/widgets/placedwindow.h"
#include "ui/widgets/vrlstatusbar.h"
#include "ui/widgets/vrltablewidget.h"
#include "ui/widgets/waitcursor.h"

namespace vorlen {

namespace {

constexpr const char* axisNames[] = {"x", "y", "z"};
constexpr std::size_t numShownVertices = 200;

} // namespace

VRLComparisonWindow::VRLComparisonWindow(const ComparisonOffer& offer, QWidget* parent)
    : QWidget(parent, Qt::Window), __offer(offer), __mediator(this), __unit(offer.unit) {
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle("Comparison of groups");
    __canvas = new ViewerCanvasGL(this);
    __panel = new ViewerPosePanel;
    __panelArea = new QScrollArea(this);
    __panelArea->setFrameShape(QFrame::NoFrame);
    __panelArea->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    __panelArea->setWidgetResizable(true);
    __panelArea->setWidget(__panel);
    __panelArea->setFixedWidth(__panel->sizeHint().width() + style()->pixelMetric(QStyle::PM_ScrollBarExtent));
    __statusBar = new VRLStatusBar(this);
    __progress.addMonitor(static_cast<ProgressMonitor&>(*__statusBar));
    __mediator.commands().setWindow(comparisonCommands().window);
    __mediator.commands().add(ownComparisonCommands());
    __mediator.setCanvas(__canvas);
    __mediator.setPosePanel(__panel);
    __mediator.initialize();
    auto* row = new QHBoxLayout;
    row->setContentsMargins(5, 5, 5, 5);
    row->setSpacing(5);
    row->addWidget(__panelArea);
    row->addWidget(__canvas, 1);
    row->addWidget(buildPanel());
    buildMenus();
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->setMenuBar(__menuBar);
    layout->addLayout(row, 1);
    layout->addWidget(__statusBar);
    keepPlace(*this, "comparisonWindow", QSize(1200, 760));
    __statusBar->setMessage("Compare > Comparison... chooses the groups");
    showResult();
}

VRLComparisonWindow::~VRLComparisonWindow() {
    if (__run)
        __run->cancel();
    endRun();
    removePainters();
    __progress.removeMonitor(static_cast<ProgressMonitor&>(*__statusBar));
}

void VRLComparisonWindow::buildMenus() {
    CommandRegistry& registry = commands();
    registry.action("show.panel").setChecked(true);
    registry.bind(
        "show.panel", [this] { __panelArea->setVisible(commands().action("show.panel").isChecked()); });
    registry
        .bind(
            "comparison.new", [this] { newComparison(); })
        .enableWhen([this] { return !isRunning(); });
    registry
        .bind(
            "comparison.cancel", [this] { cancelComparison(); })
        .enableWhen([this] { return isRunning(); });
    registry
        .bind(
            "comparison.save", [this] { saveResults(); })
        .enableWhen([this] { return __done != nullptr; });
    registry.bind("window.close", [this] { close(); });
    __menuBar = new QMenuBar(this);
    for (const CommandMenu& menu : comparisonCommands().menus)
        registry.addMenu(*__menuBar, menu);
    registry.update();
}

QWidget* VRLComparisonWindow::buildPanel() {
    auto* panel = new QWidget(this);
    panel->setFixedWidth(400);
    __summary = new QLabel;
    __summary->setWordWrap(true);
    __summary->setTextInteractionFlags(Qt::TextSelectableByMouse);
    __summary->setObjectName("summary");
    __table = new VRLTableWidget;
    __table->setSelectionBehavior(QAbstractItemView::SelectRows);
    __above = new QCheckBox;
    __below = new QCheckBox;
    __around = new QCheckBox("Surfaces around");
    __planeShown = new QCheckBox("Plane");
    for (QCheckBox* box : {__above, __below, __around, __planeShown}) {
        box->setChecked(true);
        connect(box, &QCheckBox::toggled, this, &VRLComparisonWindow::refreshShown);
    }
    __map = new QComboBox;
    __map->addItems({"p", "Statistic", "Difference of the means"});
    __axis = new QComboBox;
    __axis->addItems({"across x", "across y", "across z"});
    __axis->setCurrentIndex(2);
    __slice = new QSlider(Qt::Horizontal);
    __slice->setObjectName("plane");
    __slice->setToolTip("Moves the plane through the map");
    __sliceLabel = new QLabel;
    __sliceLabel->setMinimumWidth(fontMetrics().horizontalAdvance("x = -88888.8 mm"));
    __scale = new DensityColorScale;
    auto* choices = new QHBoxLayout;
    choices->addWidget(__planeShown);
    choices->addWidget(__map, 1);
    choices->addWidget(__axis);
    auto* slider = new QHBoxLayout;
    slider->addWidget(__slice, 1);
    slider->addWidget(__sliceLabel);
    auto* layout = new QVBoxLayout(panel);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(__summary);
    layout->addWidget(__table, 1);
    for (QCheckBox* box : {__above, __below, __around})
        layout->addWidget(box);
    layout->addLayout(choices);
    layout->addLayout(slider);
    layout->addWidget(__scale);
    connect(
        __map, &QComboBox::activated, this, [this](int map) { setMap(ComparedMap(map)); });
    connect(
        __axis, &QComboBox::activated, this,
        [this](int axis) {
            setPlane(axis, __pictures ? __done->getComparison().getValues().lattice->getSize(axis) / 2 : 0);
        });
    connect(__slice, &QSlider::valueChanged, this, [this](int index) { setPlane(__axis->currentIndex(), index); });
    connect(__table, &QTableWidget::itemSelectionChanged, this, &VRLComparisonWindow::goToPeak);
    return panel;
}

const GroupComparison* VRLComparisonWindow::getComparison() const {
    return __done ? &__done->getComparison() : nullptr;
}

void VRLComparisonWindow::newComparison() {
    if (isRunning())
        return;
    VRLComparisonDialog dialog(__offer, this);
    if (__request)
        dialog.setRequest(*__request);
    if (dialog.exec() == QDialog::Accepted)
        start(dialog.request());
}

void VRLComparisonWindow::start(const ComparisonRequest& request) {
    if (isRunning())
        return;
    __request = request;
    __run = std::make_unique<VRLComparisonRun>(request.settings);
    __run->addMonitor(__progress);
    connect(__run.get(), &VRLComparisonRun::completed, this, &VRLComparisonWindow::comparisonCompleted,
            Qt::QueuedConnection);
    connect(
        __run.get(), &VRLComparisonRun::stopped, this,
        [this] {
            endRun();
            __statusBar->setMessage("Comparison cancelled");
        },
        Qt::QueuedConnection);
    connect(__run.get(), &VRLComparisonRun::failed, this, &VRLComparisonWindow::comparisonFailed, Qt::QueuedConnection);
    __worker = std::make_unique<QThread>();
    __run->moveToThread(__worker.get());
    connect(__worker.get(), &QThread::started, __run.get(), &VRLComparisonRun::run);
    __statusBar->setMessage("Comparing...");
    commands().update();
    __worker->start(QThread::InheritPriority);
}

void VRLComparisonWindow::cancelComparison() {
    if (!isRunning())
        return;
    __run->cancel();
    __statusBar->setMessage("Cancelling...");
}

/// Waits for the thread, which ends with its work, and lets go of the run, unless it has been kept.
void VRLComparisonWindow::endRun() {
    if (__worker) {
        __worker->quit();
        __worker->wait();
    }
    __run.reset();
    __worker.reset();
    __statusBar->progressBar().reset();
    commands().update();
}

void VRLComparisonWindow::comparisonCompleted() {
    if (!__run)
        return;
    __worker->wait();
    const WaitCursor cursor;
    removePainters();
    __pictures.reset();
    __done = std::move(__run);
    endRun();
    const SpecimenValues& values = __done->getComparison().getValues();
    __unit = __request->unit ? __request->unit : values.unit;
    guarded(this, "The result could not be drawn.", [this] {
        std::vector<ComparedShape> around;
        for (const ComparedShape& surface : __offer.surfaces)
            around.push_back(surface);
        __pictures = std::make_unique<ComparisonPictures>(__done->getComparison(), around);
    });
    addPainters();
    showResult();
    __statusBar->setMessage("Comparison completed");
}

void VRLComparisonWindow::comparisonFailed(const QString& reason) {
    endRun();
    __statusBar->setMessage("Comparison failed");
    QMessageBox box(QMessageBox::Critical, appName, "The groups could not be compared.\n\n" + reason, QMessageBox::Ok,
                    this);
    box.setTextFormat(Qt::PlainText);
    box.exec();
}

void VRLComparisonWindow::addPainters() {
    if (!__pictures)
        return;
    for (PainterGL<float>* painter : __pictures->painters())
        __canvas->addPainter(*painter);
    refreshCanvas();
    __mediator.fit();
}

void VRLComparisonWindow::removePainters() {
    if (!__pictures)
        return;
    for (PainterGL<float>* painter : __pictures->painters())
        __canvas->removePainter(*painter);
}

void VRLComparisonWindow::refreshCanvas() {
    __canvas->initializeGL();
    __canvas->update();
}

QString VRLComparisonWindow::unitText() const {
    return __unit ? " [" + QString::fromStdString(__unit->symbol()) + "]" : QString();
}

/// Texts, table and controls of what is shown, or of an empty window.
void VRLComparisonWindow::showResult() {
    const GroupComparison* comparison = getComparison();
    const bool hasPlane = __pictures && __pictures->plane() != nullptr;
    const bool isSigned = comparison != nullptr && comparison->getStatistic().isSigned();
    for (QWidget* field : {static_cast<QWidget*>(__planeShown), static_cast<QWidget*>(__map),
                           static_cast<QWidget*>(__axis), static_cast<QWidget*>(__slice)})
        field->setEnabled(hasPlane);
    __above->setEnabled(__pictures && __pictures->significant(1) != nullptr);
    __below->setEnabled(__pictures && __pictures->significant(-1) != nullptr);
    __below->setVisible(isSigned);
    __around->setEnabled(__pictures && !__pictures->around().empty());
    __above->setText("Significant places (orange)");
    __summary->setText("Nothing has been compared yet.");
    commands().update();
    if (comparison == nullptr) {
        __scale->clear();
        __table->setVisible(false);
        return;
    }
    __table->setVisible(true);
    if (isSigned) {
        const std::vector<std::string>& names = comparison->getSettings().specimens.groupNames;
        __above->setText("More in " + QString::fromStdString(names[1]) + ", significant (orange)");
        __below->setText("More in " + QString::fromStdString(names[0]) + ", significant (blue)");
    }
    const std::vector<std::string> sentences = comparisonSentences(*comparison);
    const std::size_t numGroups = comparison->getSettings().specimens.groupNames.size();
    QStringList lines;
    for (std::size_t i = 0; i < std::min(sentences.size(), numGroups + 2); ++i)
        lines.append(QString::fromStdString(sentences[i]));
    __summary->setText(lines.join('\n'));
    __map->setItemData(2, numGroups == 2 ? QVariant() : QVariant(0), Qt::UserRole - 1); // a choice or none
    comparison->getValues().isForm ? showVertices() : showTable();
    refreshPlane();
    refreshShown();
}

void VRLComparisonWindow::showTable() {
    const GroupComparison& comparison = *getComparison();
    const std::vector<Cluster>& clusters = comparison.getResult().clusters;
    const std::vector<std::string>& names = comparison.getSettings().specimens.groupNames;
    const bool isSigned = comparison.getStatistic().isSigned();
    QStringList headers = {"p", "Places", "Mass", "Peak"};
    for (const char* axis : axisNames)
        headers.append(axis + unitText());
    if (isSigned)
        headers.append("More in");
    __table->beginContents(headers, int(clusters.size()));
    for (std::size_t c = 0; c < clusters.size(); ++c) {
        const int row = int(c);
        __table->setNumber(row, 0, clusters[c].p);
        __table->setNumber(row, 1, int(clusters[c].numPlaces));
        __table->setNumber(row, 2, clusters[c].mass);
        __table->setNumber(row, 3, double(clusters[c].peak));
        const std::array<double, 3> place = comparison.placeOf(clusters[c].peakPlace);
        for (int a = 0; a < 3; ++a)
            __table->setNumber(row, 4 + a, place[std::size_t(a)]);
        if (isSigned)
            __table->setText(row, 7, QString::fromStdString(names[clusters[c].peak > 0 ? 1 : 0]));
        // Rows are sorted by the user; each keeps its place.
        __table->item(row, 0)->setData(Qt::UserRole + 8, qulonglong(clusters[c].peakPlace));
    }
    __table->endContents();
    __table->setHeaderToolTip(0, "Share of the permutations with a cluster of at least this mass");
    __table->setHeaderToolTip(2, "Sum over the places of what the statistic has above the threshold");
    __table->setHeaderToolTip(3, "The greatest statistic, and beside it where it is");
}

/// The vertices of the least p.
void VRLComparisonWindow::showVertices() {
    const GroupComparison& comparison = *getComparison();
    const PermutationResult& result = comparison.getResult();
    std::vector<std::size_t> order(result.p.size());
    std::iota(order.begin(), order.end(), std::size_t(0));
    std::stable_sort(order.begin(), order.end(),
                     [&result](std::size_t a, std::size_t b) { return result.statistic[a] > result.statistic[b]; });
    order.resize(std::min(order.size(), numShownVertices));
    QStringList headers = {"Vertex", "p", "Statistic"};
    for (const char* axis : axisNames)
        headers.append(axis + unitText());
    __table->beginContents(headers, int(order.size()));
    const std::vector<std::vector<float>>& values = comparison.getValues().values;
    for (std::size_t i = 0; i < order.size(); ++i) {
        const int row = int(i);
        __table->setNumber(row, 0, int(order[i]));
        __table->setNumber(row, 1, double(result.p[order[i]]));
        __table->setNumber(row, 2, double(result.statistic[order[i]]));
        for (std::size_t a = 0; a < 3; ++a) {
            double sum = 0;
            for (const std::vector<float>& specimen : values)
                sum += double(specimen[3 * order[i] + a]);
            __table->setNumber(row, 3 + int(a), sum / double(values.size()));
        }
    }
    __table->endContents();
}

void VRLComparisonWindow::goToPeak() {
    const QList<QTableWidgetItem*> selected = __table->selectedItems();
    if (selected.isEmpty() || !__pictures || __pictures->plane() == nullptr)
        return;
    const QVariant stored = __table->item(selected.front()->row(), 0)->data(Qt::UserRole + 8);
    if (!stored.isValid())
        return;
    const int axis = __pictures->plane()->getAxis();
    const MapLattice<float>& lattice = *getComparison()->getValues().lattice;
    const double at = getComparison()->placeOf(std::size_t(stored.toULongLong()))[std::size_t(axis)];
    setPlane(axis, int(std::lround(lattice.index(axis, float(at)))));
}

void VRLComparisonWindow::setPlane(int axis, int index) {
    if (!__pictures || __pictures->plane() == nullptr)
        return;
    __pictures->plane()->setPlane(axis, index);
    refreshPlane();
    __canvas->update();
}

void VRLComparisonWindow::setMap(ComparedMap map) {
    if (!__pictures || !__pictures->hasMap(map))
        return;
    __canvas->removePainter(*__pictures->plane());
    __pictures->showMap(map);
    __canvas->addPainter(*__pictures->plane());
    refreshCanvas();
    refreshPlane();
    refreshShown();
}

/// The controls of the plane, and the scale.
void VRLComparisonWindow::refreshPlane() {
    __sliceLabel->clear();
    if (!__pictures)
        return __scale->clear();
    __scale->setTexts(__pictures->scaleText(0), __pictures->scaleText(0.5), __pictures->scaleText(1),
                      "What the colours stand for");
    const DensitySlicePainterGL* plane = __pictures->plane();
    if (plane == nullptr)
        return;
    const QSignalBlocker quiet(__slice);
    __map->setCurrentIndex(int(__pictures->getMap()));
    __axis->setCurrentIndex(plane->getAxis());
    __slice->setRange(0, plane->getNumPlanes() - 1);
    __slice->setValue(plane->getIndex());
    __sliceLabel->setText(
        QString("%1 = %2").arg(axisNames[plane->getAxis()], lengthText(double(plane->getPosition()), __unit)));
}

void VRLComparisonWindow::refreshShown() {
    if (!__pictures)
        return;
    const std::pair<PainterGL<float>*, bool> parts[] = {{__pictures->significant(1), __above->isChecked()},
                                                        {__pictures->significant(-1), __below->isChecked()},
                                                        {__pictures->plane(), __planeShown->isChecked()}};
    for (const auto& [painter, shown] : parts)
        if (painter != nullptr)
            __canvas->setPainterShown(*painter, shown);
    for (const auto& painter : __pictures->around())
        __canvas->setPainterShown(*painter, __around->isChecked());
    __canvas->update();
}

bool VRLComparisonWindow::mayReplace(const ComparisonFiles& files) {
    QStringList there;
    for (const std::string& name : files.names(getComparison()->getSettings().forms))
        if (FileInfo::isTaken(name))
            there.append(QFileInfo(QFile::decodeName(name.c_str())).fileName());
    if (there.isEmpty())
        return true;
    QMessageBox box(QMessageBox::Question, appName, "These files exist already:\n\n" + there.join('\n'),
                    QMessageBox::Yes | QMessageBox::No, this);
    box.setInformativeText("Do you wish to replace them?");
    box.setTextFormat(Qt::PlainText);
    return box.exec() == QMessageBox::Yes;
}

void VRLComparisonWindow::saveResults() {
    if (!__done)
        return;
    const QString plain = "Maps as .vm and NRRD (*)", nifti = "Maps as .vm, NRRD and NIfTI (*)";
    QString filter;
    QFileDialog::Options options = QFileDialog::DontConfirmOverwrite; // the files have other names than this one
    const QString chosen = QFileDialog::getSaveFileName(
        this, "Save results: the name that all files begin with",
        VRLSettings::settings.getOutputDirectory().filePath("comparison"), plain + ";;" + nifti, &filter, options);
    if (chosen.isEmpty())
        return;
    VRLSettings::settings.setOutputDirectory(QFileInfo(chosen).dir());
    ComparisonFiles files;
    files.base = QFile::encodeName(chosen).toStdString();
    files.program = std::string("vorlen ") + appVersionNumber;
    files.unit = __unit;
    files.nifti = filter == nifti;
    if (!mayReplace(files))
        return;
    files.overwrite = true;
    guarded(this, "The results could not be saved.", [&] {
        const WaitCursor cursor;
        const std::vector<std::string> written = saveComparison(*getComparison(), files);
        __statusBar->setMessage(
            QString("%1 files written to %2").arg(written.size()).arg(QFileInfo(chosen).dir().absolutePath()));
    });
}

} // namespace vorlen
