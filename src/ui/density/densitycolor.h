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

    /// With the unit of the densities, "per µm³" say.
    void setRange(double least, double greatest, const QString& unit = {});
    /// Shows these texts at the ends and in the middle.
    void setTexts(const QString& least, const QString& middle, const QString& greatest, const QString& toolTip);
    /// Shows no numbers.
    void clear();

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    bool __known = false;
    QString __texts[3];
};

} // namespace vorlen
