#include <algorithm>

#include <QDir>
#include <QFile>
#include <QLabel>
#include <QProcess>
#include <QPushButton>
#include <QRegularExpression>
#include <QSpinBox>
#include <QTemporaryDir>

#include "numerics/exception.h"
#include "numerics/maths.h"
#include "support/dialogdriver.h"
#include "support/modalscript.h"
#include "ui/viewer/scene.h"
#include "ui/viewer/shapeviewerpaintergl.h"
#include "ui/viewer/trimeshpaintergl.h"
#include "ui/viewer/videoencoder.h"
#include "ui/viewer/videorecorder.h"
#include "ui/viewer/viewermediator.h"
#include "ui/viewer/vrlcreatevideodialog.h"

namespace vorlen {

namespace {

/// A canvas with a red square that is not symmetric to its middle, and a blue one behind its corner.
class VideoTest : public ::testing::Test {
protected:
    VideoTest() : scene(160, 120) {
        red.setShape(square);
        red.setAttributes(attributesOf(SurfaceDisplayGL, {255, 0, 0}));
        blue.setShape(other);
        blue.setAttributes(attributesOf(SurfaceDisplayGL, {0, 0, 255}));
        scene.add(red);
        scene.add(blue);
        mediator.setCanvas(&scene.canvas);
        mediator.initialize();
        scene.setLights(255, 0, 0);
    }

    QString file(const QString& name) { return folder.filePath(name); }
    QStringList files() { return QDir(folder.path()).entryList(QDir::Files | QDir::Hidden, QDir::Name); }

    /// Frames of a film as raw colours.
    QList<QImage> framesOf(const QString& name, const QSize& size) {
        QProcess process;
        process.start("ffmpeg", {"-v", "error", "-i", name, "-vsync", "0", "-f", "rawvideo", "-pix_fmt", "rgb24", "-"});
        process.waitForFinished(30000);
        const QByteArray data = process.readAllStandardOutput();
        const qsizetype bytes = qsizetype(3) * size.width() * size.height();
        QList<QImage> frames;
        for (qsizetype at = 0; at + bytes <= data.size(); at += bytes)
            frames += QImage(reinterpret_cast<const uchar*>(data.constData()) + at, size.width(), size.height(),
                             3 * size.width(), QImage::Format_RGB888)
                          .copy();
        return frames;
    }

    static double difference(const QImage& one, const QImage& other) {
        double sum = 0;
        for (int y = 0; y < one.height(); ++y)
            for (int x = 0; x < one.width(); ++x)
                sum += std::abs(one.pixelColor(x, y).red() - other.pixelColor(x, y).red()) +
                       std::abs(one.pixelColor(x, y).blue() - other.pixelColor(x, y).blue());
        return sum / (2.0 * one.width() * one.height());
    }

    Scene scene;
    TriMesh<float> square = squareMesh(2, 0),
                   other = meshOf<float>(
                       {vectorOf<float>({0, 0, 3}), vectorOf<float>({4, 0, 3}), vectorOf<float>({0, 4, 3})},
                       {vectorOf<unsigned int>({0, 1, 2})});
    TriMeshPainterGL<float> red, blue;
    ViewerMediator mediator;
    QTemporaryDir folder;
};

/// A folder first on the path, with a program called ffmpeg of these lines, or without any other folder.
class FakePath {
public:
    explicit FakePath(const QByteArray& script) : __old(qgetenv("PATH")) {
        if (!script.isEmpty()) {
            QFile program(__folder.filePath("ffmpeg"));
            EXPECT_TRUE(program.open(QIODevice::WriteOnly));
            program.write("#!/bin/sh\n" + script);
            program.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
            program.close();
        }
        qputenv("PATH", __folder.path().toLocal8Bit() + (script.isEmpty() ? QByteArray() : ':' + __old));
    }
    ~FakePath() { qputenv("PATH", __old); }

private:
    QTemporaryDir __folder;
    QByteArray __old;
};

ViewerCamera cameraWith(float y, float zoom) {
    return {vectorOf<float>({10, y, 0}), 0.25f, -0.5f, zoom, 1};
}

} // namespace

TEST_F(VideoTest, aFilmHasTheFramesOfItsScriptInAnySize) {
    const VideoScript script = mediator.makeScript(VideoPath::Spinning, 9, 15);
    for (const auto& [name, size, tolerance] : {std::tuple("a.mp4", QSize(201, 100), 6.0),
                                                {"a.webm", QSize(200, 100), 8.0},
                                                {"a.png", QSize(99, 75), 0.01}}) {
        VideoRecorder recorder;
        recorder.start(scene.canvas, script, file(name), size, 15);
        while (!recorder.step())
            ;
        const QSize written = VideoEncoder::sizeFor(name, size);
        EXPECT_EQ(written, size.width() == 201 ? QSize(202, 100) : size);
        const QList<QImage> frames = framesOf(file(name), written);
        ASSERT_EQ(frames.size(), 9) << name;
        for (const int k : {0, 2, 8})
            EXPECT_LT(difference(frames[k], scene.canvas.renderFrame(written, script.camera(k))), tolerance)
                << name << k;
        EXPECT_GT(difference(frames[0], frames[2]), 10);
    }
    EXPECT_EQ(files(), QStringList({"a.mp4", "a.png", "a.webm"})); // and nothing beside them
}

// MPEG-2 has no 20 frames a second, and a GIF no 60.
TEST_F(VideoTest, everyFormatTakesEveryRateAndItsTime) {
    for (const QString& suffix : VideoEncoder::suffixes())
        for (const int rate : {15, 20, 27, 60}) {
            const QString name = "b." + suffix;
            VideoRecorder recorder;
            recorder.start(scene.canvas, mediator.makeScript(VideoPath::Spinning, rate, rate), file(name), {48, 32},
                           rate);
            ASSERT_NO_THROW(while (!recorder.step());) << name.toStdString() << ' ' << rate;
            QProcess process;
            process.start("ffmpeg", {"-v", "error", "-i", file(name), "-vsync", "0", "-f", "framecrc", "-"});
            process.waitForFinished(30000);
            // The time base, and the time and the length of the last frame in it.
            const QStringList lines = QString::fromUtf8(process.readAllStandardOutput()).trimmed().split('\n');
            const QStringList base = lines.value(lines.indexOf(QRegularExpression("#tb 0: .*"))).mid(7).split('/');
            const QStringList last = lines.last().split(QRegularExpression(", *"));
            ASSERT_EQ(base.size(), 2) << name.toStdString() << ' ' << rate;
            const double seconds =
                (last.value(2).toDouble() + last.value(3).toDouble()) * base[0].toDouble() / base[1].toDouble();
            EXPECT_NEAR(seconds, 1, std::max(0.12, 2.5 / rate)) << name.toStdString() << ' ' << rate;
        }
}

TEST_F(VideoTest, aFrameIsThePictureOfTheWindowAndShowsNoLessInOtherShapes) {
    EXPECT_LT(difference(scene.canvas.renderFrame(scene.canvas.size(), scene.canvas.getCamera()), scene.picture()), 1);
    const int reds = spotOf(scene.picture(), Qt::red).count;
    EXPECT_NEAR(spotOf(scene.canvas.renderFrame({320, 240}, scene.canvas.getCamera()), Qt::red).count, 4 * reds,
                reds / 4);
    // Wider, and as high as the window: the same scale.
    EXPECT_NEAR(spotOf(scene.canvas.renderFrame({300, 120}, scene.canvas.getCamera()), Qt::red).count, reds, reds / 20);
    EXPECT_TRUE(scene.canvas.renderFrame({1000000, 4}, scene.canvas.getCamera()).isNull());
    ViewerCamera first = scene.canvas.getCamera();
    first.revealed = 0.5f; // the blue one lies at the end
    EXPECT_EQ(spotOf(scene.canvas.renderFrame({160, 120}, first), Qt::blue).count, 0);
    EXPECT_GT(spotOf(scene.picture(), Qt::blue).count, 100);
    EXPECT_EQ(scene.canvas.getCamera().revealed, 1);
}

TEST_F(VideoTest, whatFailsIsToldAndLeavesNothing) {
    const VideoScript script = mediator.makeScript(VideoPath::Slices, 400, 20);
    QFile old(file("old.mp4"));
    ASSERT_TRUE(old.open(QIODevice::WriteOnly));
    old.write("old");
    old.close();
    const auto failure = [&](const QString& name) -> std::string {
        VideoRecorder recorder;
        try {
            recorder.start(scene.canvas, script, file(name), {160, 120}, 20);
            while (!recorder.step())
                ;
        } catch (const FileWriteError& error) {
            return error.getWhat();
        }
        return {};
    };
    EXPECT_NE(failure("a.txt").find("A video's name ends with .mp4"), std::string::npos);
    EXPECT_FALSE(failure("gone/a.mp4").empty());
    {
        const FakePath path(
            "case $* in *-encoders*) echo ' V....D libx264 x';; *) echo 'av_write: No space left on device' >&2; "
            "exit 1;; esac\n");
        EXPECT_EQ(failure("old.mp4"), "The disk is full");
    }
    {
        const FakePath path("");
        EXPECT_FALSE(VideoEncoder::isAvailable());
        EXPECT_EQ(failure("old.mp4"), "The program ffmpeg, which makes videos, is not installed");
        Answers answers({"OK"});
        mediator.videoStart();
        ASSERT_EQ(answers.texts.size(), 1u);
        EXPECT_TRUE(answers.texts[0].startsWith("Please install ffmpeg software  http"));
    }
    VideoRecorder recorder;
    recorder.start(scene.canvas, script, file("old.mp4"), {160, 120}, 20);
    EXPECT_FALSE(recorder.step());
    recorder.cancel();
    EXPECT_EQ(files(), QStringList({"old.mp4"}));
    EXPECT_EQ(QFile(file("old.mp4")).size(), 3);
}

TEST_F(VideoTest, theDialogRecordsStopsAndCancels) {
    mediator.videoStart();
    QPointer<VRLCreateVideoDialog> dialog = mediator.video().getDialog();
    ASSERT_NE(dialog, nullptr);
    EXPECT_FALSE(button(*dialog, " Stop ").isEnabled());
    control<QSpinBox>(*dialog, "Length").setValue(1);
    {
        ModalScript user;
        user.thenReject();
        button(*dialog, " Record ").click();
        EXPECT_FALSE(mediator.video().isRecording());
        user.thenChoose({file("film.gif")});
        button(*dialog, " Record ").click();
    }
    EXPECT_TRUE(mediator.video().isRecording());
    EXPECT_TRUE(button(*dialog, " Stop ").isEnabled());
    EXPECT_FALSE(button(*dialog, " Record ").isEnabled());
    if (const QString pictures = qEnvironmentVariable("VORLEN_PICTURES"); !pictures.isEmpty())
        dialog->grab().save(pictures + "/video.png");
    EXPECT_TRUE(QTest::qWaitFor([&] { return !mediator.video().isRecording(); }, 20000));
    EXPECT_EQ(control<QLabel>(*dialog, "Number of frames").text(), "20");
    EXPECT_EQ(control<QLabel>(*dialog, "Duration").text(), "1");
    EXPECT_EQ(framesOf(file("film.gif"), {160, 120}).size(), 20);

    const auto record = [&](const QString& name, const QString& end) {
        control<QSpinBox>(*dialog, "Length").setValue(100);
        ModalScript user;
        user.thenChoose({file(name)});
        button(*dialog, " Record ").click();
        EXPECT_TRUE(
            QTest::qWaitFor([&] { return control<QLabel>(*dialog, "Number of frames").text().toInt() > 2; }, 20000));
        button(*dialog, end).click();
        EXPECT_TRUE(QTest::qWaitFor([&] { return !mediator.video().isRecording(); }, 20000));
    };
    record("short.mp4", " Stop ");
    EXPECT_GE(framesOf(file("short.mp4"), {160, 120}).size(), 3);
    EXPECT_LT(framesOf(file("short.mp4"), {160, 120}).size(), 1000);
    record("none.mp4", " Cancel ");
    EXPECT_EQ(files(), QStringList({"film.gif", "short.mp4"}));
    EXPECT_TRUE(dialog == nullptr || !dialog->isVisible());
}

TEST(VideoScript, pathsGoByTime) {
    const ViewerCamera start = cameraWith(30, 2);
    const VideoScript spin = spinningScript(start, 90);
    EXPECT_EQ(spin.numFrames, 90);
    EXPECT_LT(spin.camera(0).rotation.distance(start.rotation), 1e-3);
    const Vector<float> half = spin.camera(45).rotation;
    EXPECT_EQ(spin.camera(45).zoom, 2);
    EXPECT_GT(half.distance(start.rotation), 90);
    // Twice as many frames a second: the same motion.
    const VideoScript slow = randomScript(start, 40, 20, 3, 50, 5), fast = randomScript(start, 80, 40, 3, 50, 5);
    EXPECT_LT(slow.camera(30).rotation.distance(fast.camera(60).rotation), 1e-3);
    EXPECT_NEAR(fast.camera(3).rotation[0], 10 + 4.5, 1e-3);
    EXPECT_FLOAT_EQ(slicesScript(start, 4).camera(0).revealed, 0.25f);
    EXPECT_EQ(slicesScript(start, 4).camera(3).revealed, 1);

    const VideoScript poses = posesScript({cameraWith(0, 1), cameraWith(170, 4), cameraWith(-100, 1)}, 101);
    EXPECT_NEAR(poses.camera(50).zoom, 4, 1e-4);
    EXPECT_NEAR(poses.camera(25).zoom, 2, 1e-4);
    EXPECT_NEAR(poses.camera(25).rotation[1], 85, 25);
    EXPECT_FLOAT_EQ(poses.camera(70).tx, 0.25f);
    EXPECT_LT(poses.camera(100).rotation.distance(cameraWith(-100, 1).rotation), 1e-2);
    float last = 0; // no kinks: the change of the zoom goes up and down in small steps
    for (int frame = 1; frame <= 50; ++frame) {
        const float change = poses.camera(frame).zoom / poses.camera(frame - 1).zoom - 1;
        EXPECT_NEAR(change, last, 0.006) << frame;
        last = change;
    }
    EXPECT_THROW(posesScript({}, 5), ValueError);
}

TEST(ViewerMotion, turnsStepByStepFromWhereTheSceneIs) {
    ViewerRandomMotion random(nullptr, 3);
    random.setAngle(7);
    random.setRotation(vectorOf<float>({178, -3, 0}));
    random.step();
    EXPECT_EQ(random.getRotation(), vectorOf<float>({-175, 4, 7}));
    int reversals = 0;
    Vector<float> last = random.getRotation();
    bool forward = true;
    for (int step = 0; step < 20000; ++step) {
        random.step();
        const float change = std::remainder(random.getRotation()[0] - last[0], 360.0f);
        EXPECT_EQ(std::abs(change), 7);
        reversals += (change > 0) != forward;
        forward = change > 0;
        last = random.getRotation();
    }
    EXPECT_GT(reversals, 5);
    EXPECT_LT(reversals, 50);

    ViewerSpinningMotion spinning;
    spinning.setAngle(20);
    spinning.setRotation(vectorOf<float>({0, 10, 0}));
    spinning.step();
    EXPECT_LT(spinning.getRotation().distance(vectorOf<float>({0, 30, 0})), 1e-3);
    spinning.setRotation(vectorOf<float>({90, 0, 0})); // seen from above it turns about its own axis
    spinning.step();
    const Matrix<float> turned =
        Maths::yRotationMatrix3D(Maths::toRadians(20.0f)) * Maths::xRotationMatrix3D(Maths::toRadians(90.0f));
    const Vector<float>& angles = spinning.getRotation();
    const Matrix<float> found = Maths::xRotationMatrix3D(Maths::toRadians(angles[0])) *
                                Maths::yRotationMatrix3D(Maths::toRadians(angles[1])) *
                                Maths::zRotationMatrix3D(Maths::toRadians(angles[2]));
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            EXPECT_NEAR(found[i][j], turned[i][j], 1e-5);
}

TEST_F(VideoTest, motionsTurnCanvasAndGoOnFromThere) {
    EXPECT_EQ(mediator.randomMotion().getTimeout(), 50);
    {
        ModalScript user;
        user.then([](QWidget& dialog) {
            dialog.findChild<QSpinBox*>()->setValue(5);
            static_cast<QDialog&>(dialog).accept();
        });
        mediator.runRandomMotionTimeoutDialog();
        user.thenReject();
        mediator.runRandomMotionAngleDialog();
    }
    EXPECT_EQ(mediator.spinningMotion().getTimeout(), 5);
    EXPECT_EQ(mediator.getRandomMotionAngle(), 1);
    mediator.toggleSpinningMotion();
    QTest::keyClick(&scene.canvas, Qt::Key_R);
    EXPECT_TRUE(mediator.randomMotion().isActive());
    EXPECT_FALSE(mediator.spinningMotion().isActive());
    EXPECT_TRUE(QTest::qWaitFor([&] { return scene.canvas.getRotation()[0] >= 2; }, 20000));
    mediator.setStandardPose2();
    EXPECT_TRUE(QTest::qWaitFor([&] { return scene.canvas.getRotation()[1] > 91; }, 20000));
    EXPECT_LT(scene.canvas.getRotation()[1], 150);
    mediator.toggleRandomMotion();
    const Vector<float> rotation = scene.canvas.getRotation();
    QTest::qWait(40);
    EXPECT_EQ(scene.canvas.getRotation(), rotation);
}

TEST(ViewerAnimation, goesThroughTheGroupsAndTurnsOrBeginsAgain) {
    const TriMesh<float> shape = squareMesh(1, 0);
    TriMeshPainterGL<float> painters[5];
    ShapeViewerPainterGL proxies[5];
    std::vector<PainterGL<float>*> list;
    for (int k = 0; k < 5; ++k) {
        painters[k].setShape(shape);
        proxies[k].setProxy(&painters[k]);
        list.push_back(&proxies[k]);
    }
    const auto shown = [&] {
        std::string text;
        for (const auto& painter : painters)
            text += painter.isVisible() ? '1' : '0';
        return text;
    };
    ViewerAnimation animation;
    animation.setPainters(list);
    const auto indexes = [&](int steps) {
        animation.setTimeout(100000);
        animation.toggle();
        std::vector<int> found;
        for (int k = 0; k < steps; ++k) {
            found.push_back(animation.getCurrentIndex());
            animation.makeOneStep();
        }
        animation.toggle();
        return found;
    };
    EXPECT_EQ(indexes(7), (std::vector<int>{0, 2, 4, 3, 1, 0, 2}));
    animation.setCircular(true);
    EXPECT_EQ(indexes(5), (std::vector<int>{0, 2, 4, 0, 2}));
    animation.setCurrentIndex(4);
    EXPECT_EQ(shown(), "00001");
    animation.setCurrentIndex(1);
    EXPECT_EQ(shown(), "01100");
}

} // namespace vorlen
