#pragma once

#include <memory>

#include <QWidget>

#include "images/volumes/voxelmatrix.h"
#include "spots/spotlabels.h"

class QImage;

namespace vorlen {

/// Three planes of a volume side by side, the one before, the current and the one behind, with what lies at or above a
/// threshold in yellow. Once the spots are known, what was left out of them turns red. All planes share one scale of
/// grey. The wheel goes through the planes.
class SpotPreview : public QWidget {
    Q_OBJECT

public:
    /// The volumes, of one size, are seen and not owned.
    SpotPreview(const VoxelMatrix<float>& filtered, const VoxelMatrix<float>& grey, QWidget* parent = nullptr);

    int getPlane() const { return __plane; }
    void setThreshold(double threshold);
    /// Null while they are sought.
    void setSpots(std::shared_ptr<const SpotLabels> spots);

    /// A plane as large as this at most, as it is painted.
    QImage picture(int plane, const QSize& most) const;

    QSize sizeHint() const override;

public slots:
    /// The nearest plane that there is.
    void setPlane(int plane);

signals:
    void planeChanged(int plane);

protected:
    void paintEvent(QPaintEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    const VoxelMatrix<float>& __filtered;
    const VoxelMatrix<float>& __grey;
    std::shared_ptr<const SpotLabels> __spots;
    float __threshold = 0;
    float __darkest = 0, __brightest = 255;
    int __plane = 0;
};

} // namespace vorlen
