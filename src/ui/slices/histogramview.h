#pragma once

#include <QWidget>

#include "images/rasters/greyhistogram.h"

namespace vorlen {

/// A histogram with two lines to be dragged: the values that are shown as black and as white. Bars stand on a
/// logarithmic scale, so that rare values are seen beside a large ground.
///
/// What is shown reaches from the least value to the greatest, and to black and white where they lie beyond.
class HistogramView : public QWidget {
    Q_OBJECT

public:
    explicit HistogramView(QWidget* parent = nullptr);

    void setHistogram(const GreyHistogram& histogram);
    /// Without a signal.
    void setWindow(double black, double white);

    double getBlack() const { return __black; }
    double getWhite() const { return __white; }

    /// The column of the widget where a value stands.
    int columnOf(double value) const;

    QSize sizeHint() const override { return QSize(320, 120); }

signals:
    /// By dragging.
    void windowChanged(double black, double white);
    /// The button has been released.
    void windowSettled();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    enum class Drag { None, Black, White };

    void updateRange();
    double valueAt(double column) const;
    void dragTo(double column);

    GreyHistogram __histogram;
    double __black = 0;
    double __white = 255;
    double __from = 0; // what is shown; fixed while a line is dragged
    double __to = 255;
    Drag __drag = Drag::None;
};

} // namespace vorlen
