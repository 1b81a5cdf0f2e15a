#pragma once

#include <QDialog>
#include <QFrame>

#include "editing/operations/slicealignment.h"

class QLabel;

namespace vorlen {

class VRLTableWidget;

/// Curves over the slices of a stack: above how each lies shifted on the one before it, before a run and after it, and
/// below how well it fits.
class ReportPlot : public QFrame {
    Q_OBJECT

public:
    explicit ReportPlot(QWidget* parent = nullptr);

    void setReport(const RegistrationReport& report);

    QSize sizeHint() const override;

signals:
    /// A click on the curves.
    void sliceChosen(int place);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    RegistrationReport __report;
};

/// What a run of automatic registration came to: a table with a row for each slice, which can be sorted and copied, and
/// curves; slices that were compared with no other have no place on those of the scores. The report is saved as CSV or
/// JSON, with more than the table has room for. A double click on a row, or a click on the curves, asks for the slice.
class RegistrationReportDialog : public QDialog {
    Q_OBJECT

public:
    explicit RegistrationReportDialog(QWidget* parent = nullptr);

    void setReport(const RegistrationReport& report);

signals:
    void sliceChosen(int place);

private:
    void fillRow(int row, const RegistrationReport& report);
    void save();

    RegistrationReport __report;
    QLabel* __summary;
    VRLTableWidget* __table;
    ReportPlot* __plot;
};

} // namespace vorlen
