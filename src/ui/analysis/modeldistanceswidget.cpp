#include "ui/analysis/modeldistanceswidget.h"

#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QScopeGuard>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include "reconstruction/measurementtable.h"
#include "reconstruction/modeldistances.h"
#include "ui/analysis/measurementview.h"
#include "ui/models/guarded.h"
#include "ui/widgets/vrlprogressdialog.h"
#include "ui/widgets/vrltablewidget.h"
#include "ui/widgets/waitcursor.h"

namespace vorlen {

namespace {

constexpr std::size_t mostNamed = 3;

} // namespace

ModelDistancesWidget::ModelDistancesWidget(QWidget* parent) : QWidget(parent) {
    __models = new QComboBox(this);
    __models->setObjectName("distances.model");
    __models->setToolTip("The model whose distances from the others are measured");
    __models->setPlaceholderText("Choose a model");
    __models->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    auto* const title = new QLabel("&Distances from", this);
    title->setBuddy(__models);
    __table = new VRLTableWidget(this);
    __table->setSelectionMode(QAbstractItemView::ContiguousSelection);
    __table->setAccessibleName("Distances between the surfaces of models");
    __note = new QLabel(this);
    __note->setObjectName("distances.note");
    __note->setTextFormat(Qt::PlainText);
    __note->setWordWrap(true);
    __note->setContentsMargins(8, 4, 8, 6);
    auto* const row = new QHBoxLayout;
    row->setContentsMargins(8, 6, 8, 6);
    row->setSpacing(8);
    row->addWidget(title);
    row->addWidget(__models);
    row->addStretch();
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(row);
    layout->addWidget(__table, 1);
    layout->addWidget(__note);
    connect(__models, &QComboBox::currentIndexChanged, this, &ModelDistancesWidget::measure);
}

ModelDistancesWidget::~ModelDistancesWidget() = default;

void ModelDistancesWidget::setStack(const VRLStack& stack) {
    __stack = &stack;
    __distances.reset();
    const QSignalBlocker blocker(__models);
    __models->clear();
    __table->beginContents({}, 0);
    __table->endContents();
    tell("");
    if (isVisible())
        build();
}

void ModelDistancesWidget::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    build();
}

void ModelDistancesWidget::build() {
    if (__distances)
        return;
    if (!__stack)
        return tell("The stack is closed.");
    guarded(this, "The distances cannot be measured.", [&] {
        const WaitCursor wait;
        __distances = std::make_unique<ModelDistances>(*__stack);
    });
    if (!__distances)
        return;
    const QSignalBlocker blocker(__models);
    for (int i = 0; i < __distances->getNumSurfaces(); ++i)
        __models->addItem(QString::fromStdString(__distances->getName(i)));
    __models->setCurrentIndex(-1);
    const bool hasPairs = __distances->getNumSurfaces() > 1;
    __models->setEnabled(hasPairs);
    tell(hasPairs ? "Choose a model to measure how far the surfaces of the others lie from its own."
                  : "There are no distances: they take two models that have a surface.");
}

void ModelDistancesWidget::measure(int choice) {
    if (!__distances || choice < 0)
        return;
    guarded(this, "The distances cannot be measured.", [&] {
        VRLProgressDialog progress(this);
        progress.setWindowTitle("Measuring distances");
        progress.setLabelText("Measuring distances...");
        progress.setMinimumDuration(500);
        __distances->reset();
        __distances->addMonitor(progress);
        const auto listening = qScopeGuard([&] { __distances->removeMonitor(progress); });
        const MeasurementTable distances = [&] {
            const WaitCursor wait;
            return MeasurementTable::ofDistances(*__distances, choice);
        }();
        progress.reset();
        std::vector<int> columns(distances.getColumns().size());
        std::iota(columns.begin(), columns.end(), 0);
        columns.erase(columns.begin()); // the model that is chosen
        showMeasurements(*__table, distances, columns);
        const int all = __distances->getNumSurfaces() - 1;
        tell(distances.getNumRows() < all
                 ? QString("Stopped: %1 of %2 models measured.").arg(distances.getNumRows()).arg(all)
                 : QString());
    });
}

QString ModelDistancesWidget::leftOutText() const {
    if (!__distances || __distances->getLeftOut().empty())
        return "";
    const std::vector<ModelDistances::LeftOut>& leftOut = __distances->getLeftOut();
    QStringList named;
    for (std::size_t i = 0; i < std::min(leftOut.size(), mostNamed); ++i)
        named += QString::fromStdString("\"" + leftOut[i].model + "\" (" + leftOut[i].reason + ")");
    if (leftOut.size() > mostNamed)
        named += QString("and %1 more").arg(leftOut.size() - mostNamed);
    return "Left out: " + named.join(", ") + '.';
}

void ModelDistancesWidget::tell(const QString& first) {
    const QString leftOut = leftOutText();
    __note->setText(first.isEmpty() || leftOut.isEmpty() ? first + leftOut : first + ' ' + leftOut);
    __note->setVisible(!__note->text().isEmpty());
}

} // namespace vorlen
