#include <QAction>
#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QGroupBox>
#include <QMenu>
#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>

#include "support/modalscript.h"
#include "ui/viewer/scene.h"
#include "ui/viewer/shapeviewerattributeseditor.h"
#include "ui/viewer/viewermediator.h"
#include "ui/viewer/viewerposepanel.h"
#include "ui/widgets/qinputbox.h"

namespace vorlen {

namespace {

class Viewer {
public:
    Viewer() {
        mediator.setCanvas(&canvas());
        mediator.setPosePanel(&panel);
        mediator.initialize();
    }
    ViewerCanvasGL& canvas() { return scene.canvas; }

    /// The spin box of this accessible name, as "Rotation x".
    QSpinBox& box(const QString& name) {
        for (QSpinBox* found : panel.findChildren<QSpinBox*>())
            if (found->accessibleName() == name)
                return *found;
        ADD_FAILURE() << "no box " << name.toStdString();
        return *panel.findChild<QSpinBox*>();
    }
    QComboBox& combo(const QString& name) {
        for (QComboBox* found : panel.findChildren<QComboBox*>())
            if (found->accessibleName() == name)
                return *found;
        ADD_FAILURE() << "no list " << name.toStdString();
        return *panel.findChild<QComboBox*>();
    }

    Scene scene;
    ViewerPosePanel panel;
    ViewerMediator mediator;
};

} // namespace

TEST(ViewerMediator, startsCanvasAndPanelAlike) {
    Viewer viewer;
    EXPECT_EQ(viewer.canvas().getPose().getAmbientLight(), 80);
    EXPECT_EQ(viewer.canvas().getPose().getDiffuseLight(), 128);
    EXPECT_EQ(viewer.canvas().getPose().getSpecularLight(), 128);
    EXPECT_EQ(viewer.box("Light Ambient").value(), 80);
    EXPECT_EQ(viewer.box("Zoom").value(), 100);
    EXPECT_EQ(viewer.box("Bounding box Scaling").value(), 110);
    EXPECT_EQ(viewer.box("Projection Strength").value(), 1);
    EXPECT_EQ(viewer.combo("Background type").currentText(), "Uniform"); // the canvas's, from the settings
}

TEST(ViewerMediator, thePanelMovesTheCanvasAndADragIsShownInWholeDegrees) {
    Viewer viewer;
    viewer.box("Rotation y").setValue(30);
    viewer.box("Translation x").setValue(-20);
    viewer.box("Zoom").setValue(50);
    EXPECT_EQ(viewer.canvas().getRotation(), vectorOf<float>({0, 30, 0}));
    EXPECT_EQ(viewer.canvas().getZoom(), 0.5f);
    viewer.box("Translation x").setValue(-30);
    EXPECT_EQ(viewer.canvas().getPose().getXTranslation(), -30);
    viewer.box("Light Diffuse").setValue(7);
    EXPECT_EQ(viewer.canvas().getPose().getDiffuseLight(), 7);

    viewer.scene.drag(6, 0);
    EXPECT_EQ(viewer.canvas().getRotation(), vectorOf<float>({0, 31.5f, 0}));
    EXPECT_EQ(viewer.box("Rotation y").value(), 32); // and does not come back to the canvas
    viewer.scene.wheel(120);
    EXPECT_EQ(viewer.box("Zoom").value(), 35);
    EXPECT_EQ(viewer.box("Translation x").value(), viewer.canvas().getPose().getXTranslation());
}

TEST(ViewerMediator, storedPosesLeaveTheLightsAlone) {
    Viewer viewer;
    viewer.box("Light Specular").setValue(9);
    QMenu menu;
    viewer.mediator.populatePoseMenu(menu);
    QStringList texts;
    for (const QAction* action : menu.actions())
        texts += action->isSeparator() ? "-" : action->text().remove('&');
    EXPECT_EQ(texts, QStringList({"Standard pose 1", "Standard pose 2", "Standard pose 3", "Reverse standard pose 1",
                                  "Reverse standard pose 2", "Reverse standard pose 3", "-", "Toggle animation",
                                  "Toggle random motion", "Toggle spinning motion", "Set motion angle...",
                                  "Set motion timeout..."}));
    const float expected[6][3] = {{0, 180, 0}, {0, 90, 0}, {90, 0, 0}, {0, 0, 0}, {0, -90, 0}, {-90, 0, 0}};
    for (int k = 0; k < 6; ++k) {
        menu.actions()[k]->trigger();
        EXPECT_EQ(viewer.canvas().getRotation(), vectorOf<float>({expected[k][0], expected[k][1], expected[k][2]}));
        EXPECT_EQ(viewer.box("Rotation y").value(), int(expected[k][1]));
        EXPECT_EQ(viewer.box("Light Specular").value(), 9);
        EXPECT_EQ(viewer.canvas().getPose().getSpecularLight(), 9);
    }
    viewer.canvas().setZoom(300);
    viewer.mediator.resetPose();
    EXPECT_EQ(viewer.canvas().getZoom(), 1);
    EXPECT_EQ(viewer.canvas().getPose().getSpecularLight(), 9);
}

TEST(ViewerPosePanel, showsAnyAngleWithinHalfATurn) {
    Viewer viewer;
    Pose pose;
    pose.setRotation(vectorOf<float>({290, -200.4f, 725}));
    viewer.mediator.setPose(pose);
    EXPECT_EQ(viewer.box("Rotation x").value(), -70);
    EXPECT_EQ(viewer.box("Rotation y").value(), 160);
    EXPECT_EQ(viewer.box("Rotation z").value(), 5);
    EXPECT_EQ(viewer.canvas().getRotation(), pose.getRotation()); // as it was stored
}

TEST(ViewerMediator, keepsTwoKeysAndLetsTheOthersPass) {
    class Receiver : public QObject {
    public:
        bool eventFilter(QObject*, QEvent* event) override {
            keys += event->type() == QEvent::KeyPress;
            return false;
        }
        int keys = 0;
    };
    Scene scene;
    Receiver receiver;
    scene.canvas.installEventFilter(&receiver);
    ViewerMediator mediator;
    mediator.setCanvas(&scene.canvas); // its filter comes first
    for (Qt::Key key : {Qt::Key_R, Qt::Key_Delete, Qt::Key_A})
        QTest::keyClick(&scene.canvas, key);
    EXPECT_EQ(receiver.keys, 1);
}

TEST(ViewerPosePanel, orthographicAndBackStartsAtStrengthOne) {
    Viewer viewer;
    QSpinBox& strength = viewer.box("Projection Strength");
    strength.setValue(4);
    EXPECT_EQ(viewer.canvas().getProjection().getPerspectiveStrength(), 4);
    viewer.combo("Projection").setCurrentText("Orthographic");
    EXPECT_TRUE(viewer.canvas().getProjection().isOrthographic());
    EXPECT_FALSE(strength.isEnabled());
    viewer.combo("Projection").setCurrentText("Perspective");
    EXPECT_TRUE(strength.isEnabled());
    EXPECT_EQ(viewer.canvas().getProjection().getPerspectiveStrength(), 1);
    EXPECT_EQ(strength.value(), 4);
    strength.setValue(3);
    EXPECT_EQ(viewer.canvas().getProjection().getPerspectiveStrength(), 3);
}

TEST(ViewerPosePanel, choosesGroundAndFrame) {
    Viewer viewer;
    viewer.combo("Background type").setCurrentText("Gradient");
    EXPECT_TRUE(viewer.canvas().getBackground().isGradientEnabled());
    ModalScript user;
    user.then([](QWidget& dialog) {
        static_cast<QColorDialog&>(dialog).setCurrentColor(QColor(200, 10, 20));
        static_cast<QDialog&>(dialog).accept();
    });
    viewer.panel.findChild<QPushButton*>()->click();
    EXPECT_EQ(viewer.canvas().getBackground().getColor(), vectorOf<int>({200, 10, 20, 255}));
    auto* frame = viewer.panel.findChild<QCheckBox*>();
    EXPECT_TRUE(frame->isChecked());
    frame->setChecked(false);
    EXPECT_FALSE(viewer.canvas().getBoundingBoxPainter().isActive());
    EXPECT_FALSE(viewer.box("Bounding box Scaling").isEnabled());
}

TEST(ShapeViewerAttributesEditor, givesBackWhatItShows) {
    ShapeViewerAttributesEditor editor;
    EXPECT_FALSE(editor.isEnabled());
    QSignalSpy changes(&editor, &ShapeViewerAttributesEditor::attributesChanged);
    ShapePainterAttributesGL attributes = attributesOf(MeshDisplayGL, {1, 20, 255}, 254.9f);
    attributes.setSmoothing(3);
    attributes.setSymbolSize(0.25f);
    attributes.setBeginCapFlag(true);
    attributes.setVisibility(false);
    editor.setAttributes(attributes);
    EXPECT_TRUE(editor.getAttributes() == attributes);
    editor.clear();
    ShapePainterAttributesGL undefined;
    undefined.clear();
    EXPECT_TRUE(editor.getAttributes() == undefined);
    EXPECT_EQ(changes.count(), 0);
}

TEST(ShapeViewerAttributesEditor, tellsChangesAtOnceOrOnApply) {
    ShapeViewerAttributesEditor editor;
    editor.setEnabled(true);
    QSignalSpy changes(&editor, &ShapeViewerAttributesEditor::attributesChanged);
    editor.setAttributes(attributesOf(SurfaceDisplayGL, {1, 2, 3}));
    auto* mode = editor.findChild<QComboBox*>();
    const auto button = [&editor](const QString& text) {
        for (QPushButton* found : editor.findChildren<QPushButton*>())
            if (found->text() == text)
                return found;
        return static_cast<QPushButton*>(nullptr);
    };
    mode->setCurrentIndex(2);
    EXPECT_EQ(changes.count(), 0);
    button("Cancel")->click();
    EXPECT_EQ(mode->currentIndex(), 5);
    mode->setCurrentIndex(3);
    button("Apply")->click();
    EXPECT_EQ(changes.count(), 1);
    button("Cancel")->click();
    EXPECT_EQ(mode->currentIndex(), 3);

    editor.setImmediate(true);
    EXPECT_TRUE(button("Apply")->isHidden());
    auto* check = editor.findChildren<QCheckBox*>()[2];
    EXPECT_EQ(check->text(), "On");
    check->click();
    EXPECT_EQ(changes.count(), 2);
    EXPECT_EQ(check->text(), "Off");
    EXPECT_FALSE(editor.getAttributes().getVisibility());
}

} // namespace vorlen
