#pragma once

#include <QWidget>

#include "normalization/fusionreport.h"

class QTextEdit;

namespace vorlen {

class VRLTableWidget;

/// Dots of the residuals, a column for each specimen, a colour for each structure; outliers are ringed in red.
class FusionResidualPlot : public QWidget {
    Q_OBJECT

public:
    explicit FusionResidualPlot(QWidget* parent = nullptr);
    void setReport(const FusionReport& report);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    FusionReport __report;
};

/// How well each specimen lies: a table and a plot of the residuals of its structures, and the warnings.
class FusionResidualView : public QWidget {
    Q_OBJECT

public:
    explicit FusionResidualView(QWidget* parent = nullptr);

    void setReport(const FusionReport& report);
    void clear();

    VRLTableWidget& getTable() const { return *__table; }

private:
    VRLTableWidget* __table;
    FusionResidualPlot* __plot;
    QTextEdit* __warnings;
};

/// The colours of standard deviations from 0 to the greatest, with numbers and unit.
class FusionScaleBar : public QWidget {
    Q_OBJECT

public:
    explicit FusionScaleBar(QWidget* parent = nullptr);
    void setRange(double greatest, const QString& unit);

    /// Red, green and blue for a value from 0 to the greatest.
    static QColor color(double value, double greatest);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    double __greatest = 0;
    QString __unit;
};

} // namespace vorlen
