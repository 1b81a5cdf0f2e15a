#pragma once

#include <QLine>

#include "workspace/vrlslicewidgetcanvas.h"

/// Canvas of the slice editor: over the items of the slice it paints what is being made and is not on the slice yet.
class VRLSliceEditWidgetCanvas : public VRLSliceWidgetCanvas {
    Q_OBJECT

public:
    explicit VRLSliceEditWidgetCanvas(QWidget* parent = nullptr);

    /// Forgets extra item and rubber line too.
    void clear() override;

    /// An item that is painted behind those of the slice; none for null. Seen, not owned.
    void setExtraItem(ModelItem* item);
    ModelItem* getExtraItem() const { return __extraItem; }

    /// A line in image coordinates that is painted last; none for null. Seen, not owned.
    void setRubberLine(const QLine* line);

    void paintItems(const StackSlice& slice, QPainter& painter) override;
    using VRLSliceWidgetCanvas::paintItems;

private:
    ModelItem* __extraItem = nullptr;
    const QLine* __rubberLine = nullptr;
};
