#include "ui/registration/registrationreportdialog.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <utility>

#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QScreen>
#include <QSplitter>
#include <QVBoxLayout>

#include "ui/registration/registrationreportfile.h"
#include "ui/session/vrlsettings.h"
#include "ui/widgets/plaintext.h"
#include "ui/widgets/vrltablewidget.h"

namespace vorlen {

namespace {

using State = SliceAlignment::State;

constexpr int placeRole = Qt::UserRole + 20;
constexpr int leftMargin = 56, rightMargin = 12;

struct Curve {
    QString name;
    QColor colour;
    Qt::PenStyle style = Qt::SolidLine;
    std::function<double(const SliceAlignment&)> value;
};

/// A colour that stands out from a light ground, made lighter where the ground is dark.
QColor seenOn(const QPalette& palette, const QColor& colour) {
    return palette.color(QPalette::Base).lightness() < 128 ? colour.lighter(165) : colour;
}

std::vector<Curve> shiftCurves() {
    const QColor right(200, 80, 30), down(30, 100, 200);
    return {
        {"right, before", right, Qt::DotLine, [](const SliceAlignment& one) { return one.before.getHorShift(); }},
        {"right, after", right, Qt::SolidLine, [](const SliceAlignment& one) { return one.after.getHorShift(); }},
        {"down, before", down, Qt::DotLine, [](const SliceAlignment& one) { return one.before.getVerShift(); }},
        {"down, after", down, Qt::SolidLine, [](const SliceAlignment& one) { return one.after.getVerShift(); }},
    };
}

std::vector<Curve> scoreCurves() {
    const QColor colour(20, 130, 70);
    const auto known = [](const SliceAlignment& one, double score) { return one.onto >= 0 ? score : std::nan(""); };
    return {
        {"score before", colour, Qt::DotLine,
         [known](const SliceAlignment& one) { return known(one, one.scoreBefore); }},
        {"score after", colour, Qt::SolidLine,
         [known](const SliceAlignment& one) { return known(one, one.scoreAfter); }},
    };
}

/// The curves in their area, with a scale at the left and their names above.
void paintCurves(QPainter& painter, const QRect& area, const QPalette& palette, const RegistrationReport& report,
                 const std::vector<Curve>& curves, double least, double greatest) {
    const auto yOf = [&](double value) {
        return area.bottom() - (std::clamp(value, least, greatest) - least) / (greatest - least) * area.height();
    };
    const int last = std::max(1, int(report.slices.size()) - 1);
    const auto xOf = [&](int slice) { return area.left() + double(area.width()) * slice / last; };
    QColor frame = palette.color(QPalette::Text);
    frame.setAlphaF(0.4F);
    painter.setPen(frame);
    painter.drawRect(area);
    if (least < 0 && greatest > 0)
        painter.drawLine(QPointF(area.left(), yOf(0)), QPointF(area.right(), yOf(0)));
    painter.setPen(palette.color(QPalette::Text));
    for (const double value : {least, greatest}) {
        const QRectF label(0, yOf(value) - 10, area.left() - 6, 20);
        painter.drawText(label, Qt::AlignRight | Qt::AlignVCenter, QString::number(value, 'g', 4));
    }
    int left = area.left();
    for (const Curve& curve : curves) {
        const QPen pen(seenOn(palette, curve.colour), 1.5, curve.style);
        painter.setPen(pen);
        painter.drawLine(left, area.top() - 10, left + 22, area.top() - 10);
        painter.setPen(palette.color(QPalette::Text));
        painter.drawText(left + 27, area.top() - 5, curve.name);
        left += 27 + painter.fontMetrics().horizontalAdvance(curve.name) + 16;
        painter.setPen(pen);
        QPainterPath path;
        bool broken = true;
        for (const SliceAlignment& one : report.slices) {
            const double value = curve.value(one);
            const bool known = one.state != State::First && std::isfinite(value); // the first lies on nothing
            const bool begins = std::exchange(broken, !known);
            if (!known)
                continue;
            const QPointF point(xOf(one.slice), yOf(value));
            if (begins)
                path.moveTo(point - QPointF(1, 0)); // so that one by itself is seen
            path.lineTo(point);
            if (curve.style == Qt::SolidLine && one.state == State::LeftAlone)
                painter.drawEllipse(point, 3, 3);
        }
        painter.drawPath(path);
    }
}

} // namespace

ReportPlot::ReportPlot(QWidget* parent) : QFrame(parent) {
    setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Base);
    setMinimumHeight(180);
    setToolTip(
        "Above the shifts against the slice before, in pixels, and below how well the slices fit it. Circles are\n"
        "slices that were left alone. A click shows the slice.");
}

void ReportPlot::setReport(const RegistrationReport& report) {
    __report = report;
    update();
}

QSize ReportPlot::sizeHint() const {
    return {640, 260};
}

void ReportPlot::paintEvent(QPaintEvent* event) {
    QFrame::paintEvent(event);
    if (__report.slices.empty())
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    double reach = 1;
    for (const SliceAlignment& one : __report.slices)
        for (const Curve& curve : shiftCurves())
            if (const double value = std::abs(curve.value(one)); std::isfinite(value))
                reach = std::max(reach, std::ceil(value));
    const int across = width() - leftMargin - rightMargin;
    const int above = (height() - 70) * 6 / 10, below = height() - 70 - above;
    paintCurves(painter, QRect(leftMargin, 24, across, above), palette(), __report, shiftCurves(), -reach, reach);
    paintCurves(painter, QRect(leftMargin, 24 + above + 34, across, below), palette(), __report, scoreCurves(), 0, 1);
}

void ReportPlot::mousePressEvent(QMouseEvent* event) {
    const double across = width() - leftMargin - rightMargin;
    const int last = int(__report.slices.size()) - 1;
    if (event->button() != Qt::LeftButton || last < 1 || across <= 0)
        return;
    const double slice = (event->position().x() - leftMargin) / across * last;
    emit sliceChosen(int(std::clamp(std::round(slice), 1.0, double(last))));
}

RegistrationReportDialog::RegistrationReportDialog(QWidget* parent) : QDialog(parent) {
    setWindowTitle("Result of the registration");
    __summary = new QLabel(this);
    __summary->setWordWrap(true);
    __table = new VRLTableWidget(this);
    __table->setSelectionBehavior(QAbstractItemView::SelectRows);
    __plot = new ReportPlot(this);
    auto* const parts = new QSplitter(Qt::Vertical, this);
    parts->setChildrenCollapsible(false);
    parts->addWidget(__table);
    parts->addWidget(__plot);
    parts->setStretchFactor(0, 1);
    auto* const copy = new QPushButton("Copy", this);
    copy->setToolTip("Copy the rows that are selected");
    auto* const save = new QPushButton("Save...", this);
    save->setToolTip("Write the report to a file: CSV, or JSON");
    auto* const close = new QPushButton("Close", this);
    auto* const buttons = new QHBoxLayout;
    buttons->addWidget(copy);
    buttons->addWidget(save);
    buttons->addStretch();
    buttons->addWidget(close);
    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(__summary);
    layout->addWidget(parts, 1);
    layout->addLayout(buttons);
    connect(copy, &QPushButton::clicked, __table, &VRLTableWidget::copySelection);
    connect(save, &QPushButton::clicked, this, &RegistrationReportDialog::save);
    connect(close, &QPushButton::clicked, this, &QDialog::close);
    connect(__plot, &ReportPlot::sliceChosen, this, &RegistrationReportDialog::sliceChosen);
    connect(__table, &QTableWidget::cellDoubleClicked, this,
            [this](int row) { emit sliceChosen(__table->item(row, 0)->data(placeRole).toInt()); });
    // The remarks are seen without scrolling.
    resize(QSize(1240, 640).boundedTo(screen()->availableSize() * 9 / 10));
}

void RegistrationReportDialog::save() {
    QFileDialog dialog(this, "Save report", VRLSettings::settings.getOutputDirectory().path());
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setNameFilters({"Comma-separated values (*.csv)", "JSON (*.json)"});
    const auto addSuffix = [&dialog](const QString& filter) {
        dialog.setDefaultSuffix(filter.startsWith("JSON") ? "json" : "csv");
    };
    addSuffix({});
    connect(&dialog, &QFileDialog::filterSelected, &dialog, addSuffix);
    dialog.selectFile("registration");
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return;
    const QString name = dialog.selectedFiles().constFirst();
    VRLSettings::settings.setOutputDirectory(QFileInfo(name).dir());
    if (saveRegistrationReport(__report, name))
        return;
    PlainMessageBox box(QMessageBox::Critical, "Write error", "Cannot write " + name, QMessageBox::Ok, this);
    box.setTextFormat(Qt::PlainText);
    box.exec();
}

void RegistrationReportDialog::fillRow(int row, const RegistrationReport& report) {
    const SliceAlignment& one = report.slices[std::size_t(row)];
    __table->setText(row, 0, QString::fromStdString(one.name));
    __table->item(row, 0)->setData(placeRole, one.slice);
    __table->setText(row, 1, one.stateWord());
    __table->setNumber(row, 2, one.moved);
    if (one.onto >= 0) {
        __table->setNumber(row, 3, one.scoreBefore);
        __table->setNumber(row, 4, one.scoreAfter);
        __table->setText(row, 5, QString::fromStdString(report.slices[std::size_t(one.onto)].name));
    } else {
        __table->setNotAvailable(row, 3, "It is compared with no slice");
        __table->setNotAvailable(row, 4, "It is compared with no slice");
        __table->setText(row, 5, {});
    }
    __table->setText(row, 6, QString::fromStdString(one.method));
    __table->setText(row, 7, QString::fromStdString(one.reason));
}

void RegistrationReportDialog::setReport(const RegistrationReport& report) {
    __report = report;
    const int n = int(report.slices.size());
    __summary->setText(QString("%1%2 registered, %3 left alone; mean score %4 before, %5 after.")
                           .arg(report.cancelled ? "Cancelled: " : "")
                           .arg(report.count(State::Registered))
                           .arg(report.count(State::LeftAlone))
                           .arg(report.meanScoreBefore(), 0, 'f', 3)
                           .arg(report.meanScoreAfter(), 0, 'f', 3));
    __table->beginContents(
        {"Slice", "Result", "Moved [pixel]", "Score before", "Score after", "Onto", "Method", "Remark"}, n);
    for (int row = 0; row < n; ++row)
        fillRow(row, report);
    __table->endContents();
    __table->setHeaderToolTip(2, "Mean way of its pixels against the slice before");
    __plot->setReport(report);
}

} // namespace vorlen
