#include "ui/registration/landmarkpanel.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

namespace vorlen {

namespace {

QString placeText(bool there, const QPointF& place) {
    return there ? QString("%1, %2").arg(place.x(), 0, 'f', 1).arg(place.y(), 0, 'f', 1) : QString("click it");
}

QTableWidgetItem* newCell(const QString& text, const Landmark& landmark) {
    auto* const cell = new QTableWidgetItem(text);
    cell->setFlags(Qt::ItemIsSelectable | Qt::ItemIsEnabled);
    if (!landmark.used)
        cell->setForeground(QColor(200, 0, 0));
    return cell;
}

} // namespace

LandmarkPanel::LandmarkPanel(QWidget* parent) : QFrame(parent) {
    setFrameStyle(QFrame::WinPanel | QFrame::Raised);
    auto* const group = new QGroupBox("Landmarks", this);
    __set = new QPushButton("Set landmarks", group);
    __set->setCheckable(true);
    __set->setToolTip("Click a spot on the background, then the same spot on the foreground; Escape stops");
    __fit = new QPushButton("Fit", group);
    __fit->setToolTip(
        "The shift and rotation that bring the pairs together best; a pair that contradicts the others is "
        "left out");
    __delete = new QPushButton("Delete", group);
    __delete->setToolTip("The landmark that is selected in the list");
    __clear = new QPushButton("Clear", group);
    __clear->setToolTip("All landmarks of this slice");
    __table = new QTableWidget(0, 3, group);
    __table->setAccessibleName("Landmarks");
    __table->setHorizontalHeaderLabels({"Background", "Foreground", "Off"});
    __table->horizontalHeaderItem(2)->setToolTip("Distance that is left after the fit, in pixels of the background");
    __table->setSelectionBehavior(QAbstractItemView::SelectRows);
    __table->setSelectionMode(QAbstractItemView::SingleSelection);
    __table->setFixedHeight(110);
    __table->verticalHeader()->setDefaultSectionSize(20);
    __table->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    __summary = new QLabel(group);
    __summary->setWordWrap(true);
    auto* const inside = new QGridLayout(group);
    inside->setVerticalSpacing(3);
    inside->addWidget(__set, 0, 0, 1, 2);
    inside->addWidget(__fit, 0, 2);
    inside->addWidget(__table, 1, 0, 1, 3);
    inside->addWidget(__summary, 2, 0, 1, 3);
    inside->addWidget(__delete, 3, 0);
    inside->addWidget(__clear, 3, 1);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(6, 6, 6, 6);
    layout->addWidget(group);
    connect(__set, &QPushButton::toggled, this, &LandmarkPanel::setClicked);
    connect(__fit, &QPushButton::clicked, this, &LandmarkPanel::fitClicked);
    connect(__clear, &QPushButton::clicked, this, &LandmarkPanel::clearClicked);
    connect(__delete, &QPushButton::clicked, this, [this] { emit deleteClicked(__table->currentRow()); });
    connect(__table, &QTableWidget::itemSelectionChanged, this, &LandmarkPanel::updateButtons);
    setLandmarks({}, {});
}

void LandmarkPanel::setLandmarks(const std::vector<Landmark>& landmarks, const QString& summary) {
    __table->setRowCount(int(landmarks.size()));
    __numPairs = 0;
    for (std::size_t i = 0; i < landmarks.size(); ++i) {
        const Landmark& mark = landmarks[i];
        __numPairs += mark.isPair() ? 1 : 0;
        const int row = int(i);
        __table->setItem(row, 0, newCell(placeText(mark.hasBackground, mark.background), mark));
        __table->setItem(row, 1, newCell(placeText(mark.hasForeground, mark.foreground), mark));
        const QString residual = mark.residual < 0 ? QString() : QString::number(mark.residual, 'f', 2);
        __table->setItem(row, 2, newCell(mark.used ? residual : residual + " out", mark));
    }
    __table->scrollToBottom();
    __summary->setText(summary.isEmpty() ? "Two pairs or more, far apart." : summary);
    updateButtons();
}

void LandmarkPanel::setSetting(bool on) {
    __set->setChecked(on);
}

void LandmarkPanel::setUsable(bool usable) {
    __usable = usable;
    updateButtons();
}

void LandmarkPanel::updateButtons() {
    __set->setEnabled(__usable);
    __fit->setEnabled(__usable && __numPairs >= 2);
    __delete->setEnabled(__table->currentRow() >= 0 && !__table->selectedItems().isEmpty());
    __clear->setEnabled(__table->rowCount() > 0);
}

} // namespace vorlen
