#include "ui/density/vrldensitymappingwidget.h"

#include <cmath>
#include <filesystem>

#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFile>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSettings>
#include <QSlider>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeWidget>

#include <gtest/gtest.h>

#include "shapes/quadmesh.h"
#include "support/modalscript.h"
#include "support/vectors.h"
#include "ui/density/densitycolor.h"
#include "ui/viewer/quadmeshpaintergl.h"
#include "ui/viewer/shapeviewerattributeseditor.h"
#include "ui/viewer/verticespaintergl.h"
#include "ui/viewer/viewercanvasgl.h"

namespace vorlen {

namespace {

/// Points of a lattice about the place, denser towards it; 343 of them, within 3 of it.
Vertices<float> blob(float x, float y, float z) {
    Vertices<float> points(3, 343, 343, 343);
    for (int i = 0; i < 343; ++i) {
        const int at[3] = {i % 7 - 3, i / 7 % 7 - 3, i / 49 - 3};
        const float middle[3] = {x, y, z};
        for (int axis = 0; axis < 3; ++axis)
            points[i][axis] = middle[axis] + float(at[axis] * std::abs(at[axis])) / 3;
    }
    return points;
}

/// A square tube from low to high in x and y, from -4 to 24 in z.
QuadMesh<float> tube(float low, float high) {
    QuadMesh<float> mesh(3, 3, 4);
    for (int level = 0; level < 3; ++level)
        for (int c = 0; c < 4; ++c) {
            mesh[level][c][0] = c == 0 || c == 3 ? low : high;
            mesh[level][c][1] = c < 2 ? low : high;
            mesh[level][c][2] = float(level) * 14 - 4;
        }
    mesh.buildCaps();
    return mesh;
}

/// A window with a canvas and the widget beside it; two patterns about (0, 0, 0) and (20, 20, 20), and a tube around
/// the first.
class DensityWindow : public ::testing::Test {
protected:
    DensityWindow() : first(blob(0, 0, 0)), second(blob(20, 20, 20)), mask(tube(-5, 8)) {
        QSettings().clear();
        first.setName("first");
        second.setName("second");
        firstPainter.setShape(first);
        secondPainter.setShape(second);
        maskPainter.setShape(mask);
        canvas = new ViewerCanvasGL;
        widget = new VRLDensityMappingWidget;
        auto* layout = new QHBoxLayout(&window);
        layout->addWidget(canvas, 1);
        layout->addWidget(widget);
        canvas->addPainter(maskPainter);
        widget->setCanvas(canvas);
        widget->setShapes(
            {{"one / first", &firstPainter}, {"two / second", &secondPainter}, {"mean / body", &maskPainter}});
        window.resize(1000, 700);
        window.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&window));
    }
    ~DensityWindow() override {
        widget->setCanvas(nullptr);
        canvas->removePainters();
    }

    QPushButton& button(const QString& text) const {
        for (QPushButton* each : widget->findChildren<QPushButton*>())
            if (each->text() == text)
                return *each;
        throw std::runtime_error("no button " + text.toStdString());
    }
    void press(const QString& text) { QTest::mouseClick(&button(text), Qt::LeftButton); }
    QTreeWidget& tree() const { return *widget->findChild<QTreeWidget*>(); }
    QImage picture() const { return canvas->grabFramebuffer().convertToFormat(QImage::Format_RGB32); }
    void keepPicture(const QString& name) {
        if (const QString folder = qEnvironmentVariable("VORLEN_PICTURES"); !folder.isEmpty())
            window.grab().save(folder + "/" + name + ".png");
    }

    VRLDensityMap* smallMap(const std::vector<int>& patterns, const std::vector<int>& masks) {
        VRLDensityMappingConfig config;
        config.resolution = 1.3f;
        config.settings.bandwidth = 1.5f;
        config.patterns = patterns;
        config.masks = masks;
        return widget->runDensityMapping(config);
    }

    Vertices<float> first, second;
    QuadMesh<float> mask;
    VerticesPainterGL<float> firstPainter, secondPainter;
    QuadMeshPainterGL<float> maskPainter;
    QWidget window;
    ViewerCanvasGL* canvas;
    VRLDensityMappingWidget* widget;
};

} // namespace

TEST_F(DensityWindow, aNewUserMakesAMapLooksAtItSavesAndDeletesIt) {
    EXPECT_FALSE(button("View...").isEnabled());
    ModalScript script;
    script.then([&](QWidget& dialog) {
        auto* patterns = dialog.findChild<QListWidget*>("patterns");
        EXPECT_EQ(patterns->count(), 2);
        EXPECT_EQ(dialog.findChild<QListWidget*>("masks")->count(), 1);
        QPushButton* ok = nullptr;
        for (QPushButton* each : dialog.findChildren<QPushButton*>())
            if (each->text().remove('&') == "OK")
                ok = each;
        ASSERT_NE(ok, nullptr);
        EXPECT_FALSE(ok->isEnabled());
        patterns->selectAll();
        for (QDoubleSpinBox* field : dialog.findChildren<QDoubleSpinBox*>())
            if (field->specialValueText().contains("hundredth"))
                field->setValue(1.3);
        EXPECT_TRUE(ok->isEnabled());
        EXPECT_EQ(canvas->getPainters().size(), 2u) << "the tube and the box to be";
        ok->click();
    });
    press("New...");
    ASSERT_EQ(widget->getMaps().size(), 1u);
    EXPECT_EQ(canvas->getPainters().size(), 1u);
    const VRLDensityMap& map = *widget->getMaps()[0];
    EXPECT_NEAR(map.getReport().integral, 1, 0.02);
    EXPECT_EQ(tree().topLevelItem(0)->text(0), "densityMap");

    script.thenClick("OK"); // the percentile of the start, 50
    press("View...");
    ASSERT_EQ(map.getViews().size(), 1u);
    const DensityMapView& view = *map.getViews()[0];
    ASSERT_NE(view.surface, nullptr);
    // The surface lies over both blobs, in the coordinates of the points.
    const BoundingBox<float> box = view.surface->boundingBox();
    EXPECT_LT(box.min(0), -1);
    EXPECT_GT(box.max(0), 21);
    EXPECT_TRUE(tree().currentItem()->text(0).contains("percentile 50, density "))
        << tree().currentItem()->text(0).toStdString();
    EXPECT_TRUE(widget->findChild<ShapeViewerAttributesEditor*>()->isEnabled());
    QApplication::processEvents();
    keepPicture("density-percentile");

    tree().setCurrentItem(tree().topLevelItem(0));
    QTemporaryDir folder;
    script.thenChoose({folder.filePath("spots")});
    press("Save...");
    for (const char* name : {"spots.vm", "spots.nrrd", "spots-00.tm"})
        EXPECT_TRUE(std::filesystem::exists(folder.filePath(name).toStdString())) << name;
    script.thenChoose({folder.filePath("more.nii")});
    press("Save...");
    for (const char* name : {"more.vm", "more.nii", "more-00.tm"})
        EXPECT_TRUE(std::filesystem::exists(folder.filePath(name).toStdString())) << name;
    EXPECT_FALSE(std::filesystem::exists(folder.filePath("more.nrrd").toStdString()));
    // What is there is replaced on request alone, whatever ending the name was given, and then as a whole.
    const auto content = [&folder](const char* name) {
        QFile file(folder.filePath(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    };
    for (const char* name : {"spots.vm", "spots-00.tm"}) {
        QFile mine(folder.filePath(name));
        ASSERT_TRUE(mine.open(QIODevice::WriteOnly) && mine.write("mine") == 4) << name;
    }
    for (const char* answer : {"No", "Yes"}) {
        script.thenChoose({folder.filePath("spots")});
        script.then([answer](QWidget& dialog) {
            const QString text = static_cast<QMessageBox&>(dialog).text();
            EXPECT_TRUE(text.contains("spots.vm\nspots.nrrd\nspots-00.tm")) << text.toStdString();
            ModalScript::click(dialog, answer);
        });
        press("Save...");
        const bool kept = content("spots.vm") == "mine" && content("spots-00.tm") == "mine";
        const bool replaced =
            content("spots.vm") == content("more.vm") && content("spots-00.tm") == content("more-00.tm");
        EXPECT_TRUE(*answer == 'N' ? kept : replaced) << answer;
    }
    script.then([](QWidget& dialog) {
        EXPECT_TRUE(static_cast<QMessageBox&>(dialog).text().contains("integrates to 1"));
        static_cast<QDialog&>(dialog).accept();
    });
    press("Info");
    press("Delete");
    EXPECT_TRUE(widget->getMaps().empty());
    EXPECT_EQ(canvas->getPainters().size(), 1u);
}

TEST_F(DensityWindow, planesShowTheColoursOfTheirElementsAndMove) {
    VRLDensityMap* map = smallMap({0, 1}, {});
    ASSERT_NE(map, nullptr);
    canvas->removePainter(maskPainter);
    VRLDensityMapViewConfig config;
    config.viewType = DensityViewType::Slice;
    ASSERT_NE(widget->addView(*map, config), nullptr);
    auto& slider = *widget->findChild<QSlider*>();
    ASSERT_TRUE(slider.isEnabled());
    // No place in the middle is dense; the plane through the second blob has its colours, the brightest ones.
    const auto brightest = [&] {
        int most = 0;
        const QImage image = picture();
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x) {
                const QColor color = image.pixelColor(x, y);
                if (color.red() - color.blue() > 60 && color.green() - color.blue() > 60)
                    ++most;
            }
        return most;
    };
    EXPECT_EQ(brightest(), 0);
    const MapLattice<float> places = map->lattice();
    slider.setValue(int(std::lround(places.index(2, 20.0f))));
    keepPicture("density-slice");
    EXPECT_GT(brightest(), 50);
}

TEST_F(DensityWindow, mapsOutliveTheirShapesAndKeepToTheirMasks) {
    VRLDensityMap* whole = smallMap({0, 1}, {});
    VRLDensityMap* map = smallMap({0, 1}, {2});
    ASSERT_TRUE(whole != nullptr && map != nullptr);
    const float before = whole->percentile(30);
    for (int i = 0; i < first.getNumVertices(); ++i)
        first[i][0] = 1e6f;
    widget->setShapes({});
    EXPECT_EQ(whole->percentile(30), before);
    const MapLattice<float> places = map->lattice();
    EXPECT_GT(places.valueAt(map->getVoxelMatrix(), vectorOf<float>({0, 0, 0})), 0.0f);
    EXPECT_EQ(places.valueAt(map->getVoxelMatrix(), vectorOf<float>({20, 20, 20})), 0.0f);
    // A density that the map does not have is told, and leaves no view.
    VRLDensityMapViewConfig config;
    config.viewType = DensityViewType::Isosurface;
    config.threshold = map->getReport().greatest * 2;
    ModalScript script;
    script.thenClick("OK");
    EXPECT_EQ(widget->addView(*map, config), nullptr);
    EXPECT_TRUE(map->getViews().empty());
}

TEST_F(DensityWindow, ranksThatAPatternLacksAreToldAndSurfacesShineThroughOnRequest) {
    VRLDensityMappingConfig config;
    config.settings.method = PoissonMethod;
    config.settings.neighbourRank = 344;
    config.patterns = {0};
    ModalScript script;
    script.then([](QWidget& dialog) {
        EXPECT_TRUE(static_cast<QMessageBox&>(dialog).text().contains("\"first\" has 343 points"));
        static_cast<QDialog&>(dialog).accept();
    });
    EXPECT_EQ(widget->runDensityMapping(config), nullptr);
    EXPECT_EQ(tree().topLevelItemCount(), 0);
    widget->setSurfacesTranslucent(true);
    EXPECT_FALSE(maskPainter.isOpaque());
    widget->setSurfacesTranslucent(false);
    EXPECT_TRUE(maskPainter.isOpaque());
}

TEST_F(DensityWindow, tellsTheUnitOfItsShapesAndMixesNone) {
    const LengthUnit mm(-3), um(-6);
    widget->setShapes(
        {{"one / first", &firstPainter, mm}, {"two / second", &secondPainter, um}, {"mean / body", &maskPainter, mm}});
    ModalScript script;
    script.then([](QWidget& dialog) {
        auto* patterns = dialog.findChild<QListWidget*>("patterns");
        const auto tells = [&dialog](const QString& text) {
            for (const QLabel* label : dialog.findChildren<QLabel*>())
                if (label->text().contains(text))
                    return true;
            return false;
        };
        patterns->selectAll();
        EXPECT_TRUE(tells("one / first is in mm, two / second is in \u00b5m"));
        patterns->item(1)->setSelected(false);
        EXPECT_FALSE(tells("is in mm"));
        EXPECT_TRUE(tells("6 x 6 x 6 mm"));
        for (const QDoubleSpinBox* field : dialog.findChildren<QDoubleSpinBox*>())
            EXPECT_EQ(field->suffix(), " mm");
        static_cast<QDialog&>(dialog).reject();
    });
    press("New...");
    script.then([](QWidget& box) {
        EXPECT_TRUE(static_cast<QMessageBox&>(box).text().contains("is in \u00b5m"));
        static_cast<QDialog&>(box).accept();
    });
    EXPECT_EQ(smallMap({0, 1}, {}), nullptr);
    VRLDensityMap* map = smallMap({0}, {2});
    ASSERT_NE(map, nullptr);
    EXPECT_EQ(map->densityUnit(), "per mm\u00b3");
    ASSERT_NE(widget->addView(*map, {}), nullptr);
    EXPECT_TRUE(tree().currentItem()->text(0).endsWith("per mm\u00b3")) << tree().currentItem()->text(0).toStdString();
    EXPECT_TRUE(widget->findChild<DensityColorScale*>()->toolTip().endsWith("per mm\u00b3"));
    tree().setCurrentItem(tree().topLevelItem(0));
    script.then([](QWidget& box) {
        const QString text = static_cast<QMessageBox&>(box).text();
        EXPECT_TRUE(text.contains("bandwidth 1.5 mm") && text.contains("steps of 1.3 x 1.3 x 1.3 mm"))
            << text.toStdString();
        static_cast<QDialog&>(box).accept();
    });
    press("Info");
    QTemporaryDir folder;
    map->save(folder.filePath("map").toStdString());
    const VoxelMatrix<float> saved(folder.filePath("map.vm").toStdString());
    EXPECT_EQ(saved.getVoxelCalibration().getLengthUnit(), mm);
    QFile nrrd(folder.filePath("map.nrrd"));
    ASSERT_TRUE(nrrd.open(QIODevice::ReadOnly));
    EXPECT_TRUE(nrrd.read(1000).contains("space units: \"mm\" \"mm\" \"mm\""));
}

TEST(DensityColor, growsLighterAllTheWay) {
    int last = -1;
    for (int i = 0; i <= 100; ++i) {
        const int light = qGray(densityColor(i / 100.0).rgb());
        EXPECT_GE(light, last) << i;
        last = light;
    }
    EXPECT_EQ(densityColor(2), densityColor(1));
    EXPECT_EQ(densityColor(std::nan("")), densityColor(0));
}

} // namespace vorlen
