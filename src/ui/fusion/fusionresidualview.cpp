#include "ui/fusion/fusionresidualview.h"

#include <algorithm>
#include <cmath>

#include <QLabel>
#include <QPainter>
#include <QTextEdit>
#include <QVBoxLayout>

#include "images/rasters/colormap.h"
#include "ui/widgets/vrltablewidget.h"

namespace vorlen {

namespace {

/// Structures of which there is a mean, hence residuals.
std::vector<std::size_t> shownStructures(const FusionReport& report) {
    std::vector<std::size_t> shown;
    for (std::size_t k = 0; k < report.deviations.size(); ++k)
        if (!report.deviations[k].empty())
            shown.push_back(k);
    return shown;
}

QColor structureColor(std::size_t k) {
    return QColor::fromHsv(int(k * 67 + 210) % 360, 200, 190);
}

/// A round number not below the value: 1, 2 or 5 times a power of ten.
double roundedUp(double value) {
    if (!(value > 0))
        return 1;
    const double power = std::pow(10, std::floor(std::log10(value)));
    for (const double step : {1.0, 2.0, 5.0})
        if (step * power >= value)
            return step * power;
    return 10 * power;
}

} // namespace

FusionResidualPlot::FusionResidualPlot(QWidget* parent) : QWidget(parent) {
    setMinimumHeight(140);
}

void FusionResidualPlot::setReport(const FusionReport& report) {
    __report = report;
    update();
}

void FusionResidualPlot::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const std::vector<std::size_t> shown = shownStructures(__report);
    const std::size_t n = __report.specimens.size();
    if (n == 0 || shown.empty())
        return;
    double greatest = 0;
    for (const SpecimenReport& specimen : __report.specimens)
        for (const std::size_t k : shown)
            greatest = std::max(greatest, specimen.residuals[k]);
    greatest = roundedUp(greatest);
    const QFontMetrics metrics = fontMetrics();
    const QString top = QString::number(greatest) + ' ' + QString::fromStdString(__report.unit);
    const int left = metrics.horizontalAdvance(top) + 8, line = metrics.height();
    const QRect field(left, line / 2, width() - left - 6, height() - 3 * line);
    painter.setPen(palette().color(QPalette::Mid));
    painter.setBrush(palette().color(QPalette::Base));
    painter.drawRect(field);
    painter.setPen(palette().color(QPalette::WindowText));
    painter.drawText(QRect(0, field.top() - line / 2, left - 4, line), Qt::AlignRight | Qt::AlignVCenter, top);
    painter.drawText(QRect(0, field.bottom() - line / 2, left - 4, line), Qt::AlignRight | Qt::AlignVCenter, "0");
    const double step = double(field.width()) / double(n);
    for (std::size_t i = 0; i < n; ++i) {
        const SpecimenReport& specimen = __report.specimens[i];
        const double x = field.left() + (double(i) + 0.5) * step;
        painter.setPen(palette().color(QPalette::WindowText));
        painter.drawText(QRectF(x - step / 2, field.bottom() + 2, step, line), Qt::AlignCenter,
                         metrics.elidedText(QString::fromStdString(specimen.name), Qt::ElideMiddle, int(step) - 2));
        for (std::size_t s = 0; s < shown.size(); ++s) {
            const double value = specimen.residuals[shown[s]];
            if (value < 0)
                continue;
            const double shift = (double(s) - (double(shown.size()) - 1) / 2) * std::min(8.0, step / 6);
            const QPointF place(x + shift, field.bottom() - value / greatest * field.height());
            painter.setBrush(structureColor(s));
            painter.setPen(Qt::NoPen);
            painter.drawEllipse(place, 3.5, 3.5);
            if (specimen.outliers[shown[s]] || specimen.outlier) {
                painter.setBrush(Qt::NoBrush);
                painter.setPen(QPen(QColor(210, 0, 0), 1.6));
                painter.drawEllipse(place, 7, 7);
            }
        }
    }
    double x = left;
    for (std::size_t s = 0; s < shown.size(); ++s) {
        const QString name = QString::fromStdString(__report.structures[shown[s]]);
        painter.setBrush(structureColor(s));
        painter.setPen(Qt::NoPen);
        painter.drawEllipse(QPointF(x + 4, height() - line / 2.0), 3.5, 3.5);
        painter.setPen(palette().color(QPalette::WindowText));
        painter.drawText(QRectF(x + 11, height() - line, width() - x, line), Qt::AlignLeft | Qt::AlignVCenter, name);
        x += 24 + metrics.horizontalAdvance(name);
    }
}

FusionResidualView::FusionResidualView(QWidget* parent) : QWidget(parent) {
    __table = new VRLTableWidget(this);
    __plot = new FusionResidualPlot(this);
    __warnings = new QTextEdit(this);
    __warnings->setReadOnly(true);
    __warnings->setPlaceholderText("No warnings");
    __warnings->setMaximumHeight(130);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel("Distance of each surface to the mean", this));
    layout->addWidget(__table, 2);
    layout->addWidget(__plot, 1);
    layout->addWidget(new QLabel("Warnings", this));
    layout->addWidget(__warnings);
}

void FusionResidualView::clear() {
    setReport(FusionReport());
}

void FusionResidualView::setReport(const FusionReport& report) {
    const std::vector<std::size_t> shown = shownStructures(report);
    const QString unit = report.unit.empty() ? QString() : " (" + QString::fromStdString(report.unit) + ")";
    QStringList headers = {"Specimen", "References" + unit};
    for (const std::size_t k : shown)
        headers += QString::fromStdString(report.structures[k]) + unit;
    headers += {"Turned (degrees)", "Leave-one-out" + unit, "Folds (%)"};
    __table->beginContents(headers, int(report.specimens.size()));
    const auto put = [&](int row, int column, double value, bool marked, const QString& reason,
                         const QString& meaning = "Outlier: it stands out among the specimens") {
        if (value < 0)
            __table->setNotAvailable(row, column, reason);
        else
            __table->setNumber(row, column, value);
        if (marked) {
            QFont font = __table->font();
            font.setBold(true);
            __table->item(row, column)->setFont(font);
            __table->item(row, column)->setForeground(QColor(200, 0, 0));
            __table->item(row, column)->setToolTip(meaning);
        }
    };
    for (int row = 0; row < int(report.specimens.size()); ++row) {
        const SpecimenReport& specimen = report.specimens[std::size_t(row)];
        __table->setText(row, 0, QString::fromStdString(specimen.name));
        put(row, 1, specimen.residual, specimen.outlier, "There is no surface");
        int column = 2;
        for (const std::size_t k : shown)
            put(row, column++, specimen.residuals[k], specimen.outliers[k], "The specimen lacks the structure");
        put(row, column, specimen.turned, specimen.turned > 90 || specimen.mirrored, "",
            specimen.mirrored ? "Mirrored, and turned against its raw data"
                              : "Turned by more than 90 degrees against its raw data");
        put(row, column + 1, specimen.warped ? specimen.warp.leaveOneOut : -1, false, "The specimen was not warped");
        put(row, column + 2, specimen.warped ? 100 * specimen.warp.folds : -1,
            specimen.warped && specimen.warp.folds > 0, "The specimen was not warped",
            specimen.warp.refused ? "The warp turns space inside out, and was refused"
                                  : "The warp turns space inside out");
    }
    __table->endContents();
    __plot->setReport(report);
    QStringList warnings;
    for (const std::string& warning : report.warnings)
        warnings += QString::fromStdString(warning);
    __warnings->setPlainText(warnings.join('\n'));
}

FusionScaleBar::FusionScaleBar(QWidget* parent) : QWidget(parent) {
    setFixedHeight(fontMetrics().height() * 2 + 14);
}

void FusionScaleBar::setRange(double greatest, const QString& unit) {
    __greatest = greatest;
    __unit = unit;
    update();
}

QColor FusionScaleBar::color(double value, double greatest) {
    static const Colormap map = Colormap::cold2Hot(256);
    const int k = greatest > 0 ? std::clamp(int(std::lround(255 * value / greatest)), 0, 255) : 0;
    return {map.getRed()[k], map.getGreen()[k], map.getBlue()[k]};
}

void FusionScaleBar::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const int line = fontMetrics().height();
    const QRect bar(20, line + 2, width() - 40, 10);
    for (int x = 0; x < bar.width(); ++x)
        painter.fillRect(bar.left() + x, bar.top(), 1, bar.height(), color(x, bar.width() - 1));
    painter.setPen(palette().color(QPalette::WindowText));
    painter.drawRect(bar);
    painter.drawText(QRect(0, 0, width(), line), Qt::AlignCenter, "Standard deviation of the specimens about the mean");
    const QRect numbers(10, bar.bottom() + 2, width() - 20, line);
    painter.drawText(numbers, Qt::AlignLeft, "0");
    painter.drawText(numbers, Qt::AlignCenter, QString::number(__greatest / 2, 'g', 3));
    painter.drawText(numbers, Qt::AlignRight, QString::number(__greatest, 'g', 3) + ' ' + __unit);
}

} // namespace vorlen
