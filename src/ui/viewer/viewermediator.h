#pragma once

#include "document/pose.h"
#include "ui/commands/commandregistry.h"

#include <QObject>
#include <QPointer>

class QMenu;
class QWidget;

namespace vorlen {

class ViewerCanvasGL;
class ViewerPosePanel;

/// Ties a viewer canvas and a pose panel together and holds their commands.
///
/// Canvas and panel are seen, not owned. The owner makes the three, gives the mediator the two and calls initialize()
/// once. Either of the two may be missing. The commands of motion, video and animation are shown and disabled.
///
/// While the canvas has the focus, R and Delete are kept from it and from what stands around it.
class ViewerMediator : public QObject {
    Q_OBJECT

public:
    explicit ViewerMediator(QObject* parent = nullptr);

    /// Sets canvas and panel to the same start and connects them.
    virtual void initialize();

    /// The mediator becomes the canvas's event filter.
    void setCanvas(ViewerCanvasGL* canvas);
    ViewerCanvasGL* getCanvas() const;
    void setPosePanel(ViewerPosePanel* panel);
    ViewerPosePanel* getPosePanel() const;

    /// Where dialogs belong: the canvas, or null without one.
    QWidget* parentWidget() const;

    /// The viewer's commands; a window that holds the viewer adds its own.
    CommandRegistry& commands() { return __commands; }
    void populateFileMenu(QMenu& menu);
    void populatePoseMenu(QMenu& menu);

    bool eventFilter(QObject* watched, QEvent* event) override;

public slots:
    void resetPose();
    /// Canvas and panel take the pose but for its lights; they keep theirs.
    void setPose(const Pose& pose);
    /// Lets the shapes fill the picture, turned as they are.
    void fit();
    void setStandardPose1();
    void setStandardPose2();
    void setStandardPose3();
    void setRevStandardPose1();
    void setRevStandardPose2();
    void setRevStandardPose3();
    void snapshot();

private:
    QPointer<ViewerCanvasGL> __canvas;
    QPointer<ViewerPosePanel> __panel;
    CommandRegistry __commands{*this};
};

} // namespace vorlen
