#pragma once

#include <memory>
#include <vector>

#include <QPointer>
#include <QWidget>

#include "editing/operations/modelfilter.h"
#include "shapes/vertices.h"
#include "ui/viewer/verticespaintergl.h"

namespace vorlen {

class VRLSliceWidget;
class VRLSliceWidgetCanvas;
class VRLStack;

/// Marks on the picture of a slice what a filter will remove: a cross at each vertex, and the whole outline of what
/// goes as a whole, in magenta. Lies over the canvas and lets all input through.
class FilterMarks : public QWidget {
    Q_OBJECT

public:
    explicit FilterMarks(VRLSliceWidget& widget);

    /// The plan must hold until the next call.
    void setPlan(const FilterPlan& plan);

    /// Crosses that the last paint has drawn; for tests.
    int numCrosses() const { return __numCrosses; }

    bool eventFilter(QObject* object, QEvent* event) override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    VRLSliceWidget& __widget;
    const FilterPlan* __plan = nullptr;
    int __numCrosses = 0;
};

/// Marks the same in all windows that show the stack in space, as magenta dots, as long as it lives.
class FilterSceneMarks : public QObject {
    Q_OBJECT

public:
    explicit FilterSceneMarks(const VRLStack& stack);
    ~FilterSceneMarks() override;

    void setPlan(const FilterPlan& plan);

    int numDots() const { return __dots.getNumVertices(); }

private:
    void show();
    void hide();

    const VRLStack& __stack;
    Vertices<float> __dots;
    VerticesPainterGL<float> __painter;
};

} // namespace vorlen
