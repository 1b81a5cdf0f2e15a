#pragma once

#include <QColor>
#include <QWidget>

namespace vorlen {

/// Colour of a density, from the least (0, dark blue) to the greatest (1, light yellow) of its map. Lightness grows all
/// the way, so that the order is seen without colours as well. Values beyond, and what is no number, count as 0 or 1.
QColor densityColor(double share);

/// The colours of a map with the densities that they stand for.
class DensityColorScale : public QWidget {
    Q_OBJECT

public:
    explicit DensityColorScale(QWidget* parent = nullptr);

    void setRange(double least, double greatest);
    /// Shows no numbers.
    void clear();

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    bool __known = false;
    double __least = 0;
    double __greatest = 0;
};

} // namespace vorlen
