#pragma once

#include <string>
#include <vector>

#include <QTableWidget>

#include "ui/viewer/shapeviewerpaintergl.h"

namespace vorlen {

/// A painter of a normalization window: that of one shape, with the name of the stack that the shape comes from, and of
/// the file that it is exported to.
class VRLFusionShapeViewerPainterGL : public ShapeViewerPainterGL {
public:
    void setStackName(const std::string& name) { __stackName = name; }
    const std::string& getStackName() const { return __stackName; }

    void setFileName(const std::string& name) { __fileName = name; }
    const std::string& getFileName() const { return __fileName; }

private:
    std::string __stackName;
    std::string __fileName;
};

/// The shapes of a normalization with their colours and stacks, to be selected and sorted. Sees the painters.
class VRLFusionWindowShapeTable : public QTableWidget {
    Q_OBJECT

public:
    explicit VRLFusionWindowShapeTable(QWidget* parent = nullptr);

    void addPainter(VRLFusionShapeViewerPainterGL& painter);
    void setPainters(const std::vector<VRLFusionShapeViewerPainterGL*>& list);
    void removePainters();

    /// In the order of the rows.
    std::vector<VRLFusionShapeViewerPainterGL*> selectedShapes() const;

    void updateColorSample(int row);
    void updateColorSamples();

private:
    VRLFusionShapeViewerPainterGL* painterAt(int row) const;
};

} // namespace vorlen

Q_DECLARE_METATYPE(vorlen::VRLFusionShapeViewerPainterGL*)
