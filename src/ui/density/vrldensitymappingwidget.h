#pragma once

#include <memory>
#include <vector>

#include <QWidget>

#include "ui/density/vrldensitymap.h"
#include "ui/viewer/boundingboxpaintergl.h"

class QCheckBox;
class QLabel;
class QPushButton;
class QSlider;
class QTreeWidget;
class QTreeWidgetItem;

namespace vorlen {

class DensityColorScale;
class ShapeViewerAttributesEditor;
class ViewerCanvasGL;

/// The density maps of a window and their views on its canvas.
///
/// Maps and views belong to the widget, and outlive the shapes that they were made of, so that a new normalization
/// leaves them as they are. A surface has the colour of its density on the scale below the list, which is that of the
/// selected map; a surface's entry tells its density and, where it was asked for by one, its percentile. The canvas
/// must outlive the widget, or be taken away by setCanvas(nullptr).
class VRLDensityMappingWidget : public QWidget {
    Q_OBJECT

public:
    explicit VRLDensityMappingWidget(QWidget* parent = nullptr);
    ~VRLDensityMappingWidget() override;

    void setCanvas(ViewerCanvasGL* canvas);
    /// What the next map can be made of. To be called with an empty list before the painters end.
    void setShapes(const std::vector<DensityShape>& shapes);

    /// Computes and adds a map, with a dialog that tells the progress and can cancel. Null when it was cancelled or
    /// failed; a failure is told in a message.
    VRLDensityMap* runDensityMapping(const VRLDensityMappingConfig& config);
    /// Adds a view to the map and the canvas. Null when it failed, which is told in a message.
    DensityMapView* addView(VRLDensityMap& map, const VRLDensityMapViewConfig& config);
    const std::vector<std::unique_ptr<VRLDensityMap>>& getMaps() const { return __maps; }

public slots:
    /// Shows the box on the canvas; one that is not of space 3 takes it away.
    void boundingBoxChange(const BoundingBox<float>& box);
    void mapSelectionChange();
    void viewAttributesChange();
    void newButtonClick();
    void deleteButtonClick();
    void viewButtonClick();
    void saveButtonClick();
    /// What the estimator told of the selected map.
    void infoButtonClick();
    void moveSlice(int index);
    /// Lets the closed surfaces of the window shine through, or be as they were.
    void setSurfacesTranslucent(bool translucent);

private:
    void buildButtons();
    void buildViewControls();
    VRLDensityMap* mapOf(const QTreeWidgetItem& item) const;
    DensityMapView* viewOf(const QTreeWidgetItem& item) const;
    /// The map of the one selected item, itself or that of the view; null without.
    VRLDensityMap* selectedMap() const;
    std::vector<DensityMapView*> selectedSurfaces() const;
    void removeView(QTreeWidgetItem& item);
    /// Asks before files that are there are written over; true without any.
    bool mayReplace(const VRLDensityMap& map, const QString& file);
    void showSlice(const QTreeWidgetItem* item);
    void refreshCanvas();

    std::vector<DensityShape> __shapes;
    std::vector<std::unique_ptr<VRLDensityMap>> __maps;
    VRLDensityMapViewConfig __lastView;
    std::unique_ptr<BoundingBoxPainterGL<float>> __box;
    std::vector<float> __transparencies; ///< of the shapes, while they are translucent
    ViewerCanvasGL* __canvas = nullptr;
    QTreeWidget* __tree;
    DensityColorScale* __scale;
    ShapeViewerAttributesEditor* __editor;
    QSlider* __slice;
    QLabel* __sliceLabel;
    QCheckBox* __translucent;
    QPushButton* __new;
    QPushButton* __view;
    QPushButton* __save;
    QPushButton* __delete;
    QPushButton* __info;
};

} // namespace vorlen
