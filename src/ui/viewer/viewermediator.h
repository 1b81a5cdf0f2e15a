#pragma once

#include "document/pose.h"
#include "ui/commands/commandregistry.h"
#include "ui/viewer/videoscript.h"
#include "ui/viewer/vieweranimation.h"
#include "ui/viewer/viewerrandommotion.h"
#include "ui/viewer/viewerspinningmotion.h"
#include "ui/viewer/vrlrenderingvideo.h"

#include <optional>
#include <vector>

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
/// once. Either of the two may be missing.
///
/// Motions go on from wherever the user has left the scene; one of the two runs at most. The animation shows the
/// selected shapes of a list or, of a canvas that has none, all its painters in turn; when it stops, these are all seen
/// again. A video is drawn beside the window: see VRLRenderingVideo.
///
/// While the canvas has the focus, R starts and stops the random motion, and Delete does nothing.
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

    ViewerRandomMotion& randomMotion() { return __randomMotion; }
    ViewerSpinningMotion& spinningMotion() { return __spinningMotion; }
    ViewerAnimation& animation() { return __animation; }
    VRLRenderingVideo& video() { return __video; }

    /// Of both motions, in degrees and milliseconds.
    void setRandomMotionAngle(int angle);
    int getRandomMotionAngle() const { return __randomMotion.getAngle(); }
    void setRandomMotionTimeout(int timeout);
    int getRandomMotionTimeout() const { return __randomMotion.getTimeout(); }

    /// What a video of the canvas shows. Throws ValueError for a path through poses where there are none.
    VideoScript makeScript(VideoPath path, int numFrames, int rate);

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
    void videoStart();
    void toggleRandomMotion();
    void toggleSpinningMotion();
    void runRandomMotionAngleDialog();
    void runRandomMotionTimeoutDialog();
    /// Asks for the size of a step and the time between steps before it starts.
    void toggleAnimation();

protected:
    /// Those through which a video can go.
    virtual std::vector<Pose> storedPoses() const { return {}; }
    /// To be called when painters of the canvas have come or gone.
    void followPainters();
    /// Asks for a whole number; nothing when the user cancels.
    std::optional<int> askForNumber(const QString& title, const QString& text, int value, int least, int most);

private:
    void bindMotions();
    void setMotionRotation(const Vector<float>& rotation);
    std::vector<PainterGL<float>*> animatedPainters() const;
    void showPainter(PainterGL<float>& painter, bool shown);
    void showAllPainters();

    QPointer<ViewerCanvasGL> __canvas;
    QPointer<ViewerPosePanel> __panel;
    ViewerRandomMotion __randomMotion;
    ViewerSpinningMotion __spinningMotion;
    ViewerAnimation __animation;
    VRLRenderingVideo __video;
    CommandRegistry __commands{*this};
};

} // namespace vorlen
