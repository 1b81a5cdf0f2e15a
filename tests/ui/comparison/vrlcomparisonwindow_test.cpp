#include "ui/comparison/vrlcomparisonwindow.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QDoubleSpinBox>
#include <QFile>
#include <QLabel>
#include <QListWidget>
#include <QMessageBox>
#include <QPointer>
#include <QProcess>
#include <QProgressBar>
#include <QPushButton>
#include <QSettings>
#include <QSlider>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeWidget>

#include <gtest/gtest.h>

#include "shapes/trimesh.h"
#include "shapes/vertices.h"
#include "support/commands.h"
#include "support/modalscript.h"
#include "ui/comparison/comparisoncommands.h"
#include "ui/viewer/viewercanvasgl.h"
#include "ui/widgets/vrlstatusbar.h"
#include "ui/widgets/vrltablewidget.h"

namespace vorlen {

namespace {

/// Forty points spread over a box of 40, but for a heap of twelve about (31, 31, 30) that treated ones have.
std::vector<std::array<float, 3>> pointsOf(int specimen, bool isTreated) {
    std::vector<std::array<float, 3>> points;
    for (int i = 0; i < 40; ++i) {
        if (isTreated && i < 12)
            points.push_back({float(30 + (i + specimen) % 4), float(30 + i % 3), 30});
        else
            points.push_back({float((i * 7 + specimen * 3) % 41), float((i * 11 + specimen) % 41),
                              float((i * 17 + specimen * 5) % 41)});
    }
    return points;
}

class ComparisonWindow : public ::testing::Test {
protected:
    ComparisonWindow() {
        QSettings().clear();
        for (int s = 0; s < 8; ++s)
            files.append(writePattern(s, s >= 4));
        open({});
    }
    ~ComparisonWindow() override { delete window; }

    void open(const ComparisonOffer& offer) {
        delete window;
        window = new VRLComparisonWindow(offer);
        window->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(window));
    }

    QString writePattern(int specimen, bool isTreated) {
        QByteArray text = "# 6\n# 3\n# 40\n";
        for (const std::array<float, 3>& p : pointsOf(specimen, isTreated))
            text += QString("%1 %2 %3\n").arg(double(p[0])).arg(double(p[1])).arg(double(p[2])).toUtf8();
        QFile file(folder.filePath(QString("s%1.vx").arg(specimen)));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
        return file.fileName();
    }

    static QPushButton* button(QWidget& parent, const QString& text) {
        for (QPushButton* found : parent.findChildren<QPushButton*>())
            if (found->text().remove('&') == text)
                return found;
        return nullptr;
    }
    static QString outlook(QWidget& dialog) { return dialog.findChild<QLabel*>("outlook")->text(); }

    void wait() {
        ASSERT_TRUE(QTest::qWaitFor([this] { return !window->isRunning(); }, 60000));
    }

    /// Runs with the two groups of files, as a user asks for it.
    void compareFiles() {
        ModalScript script;
        script.then([this](QWidget& widget) {
            auto* dialog = qobject_cast<VRLComparisonDialog*>(&widget);
            ASSERT_NE(dialog, nullptr);
            QPushButton* compare = button(*dialog, "Compare");
            dialog->addFiles(0, files.mid(0, 4));
            EXPECT_FALSE(compare->isEnabled());
            EXPECT_TRUE(outlook(*dialog).contains("\"group 2\" has no specimen")) << outlook(*dialog).toStdString();
            dialog->addFiles(1, files.mid(3)); // one that is in the other group is left out
            auto* groups = dialog->findChild<QTreeWidget*>("groups");
            EXPECT_EQ(groups->topLevelItem(1)->childCount(), 4);
            groups->topLevelItem(0)->setText(0, "control");
            groups->topLevelItem(1)->setText(0, "treated");
            dialog->findChild<QComboBox*>("unit")->setCurrentText("\u00b5m");
            for (const auto& [name, value] : {std::pair("resolution", 4.0), std::pair("bandwidth", 5.0)}) {
                auto* box = dialog->findChild<QDoubleSpinBox*>(name);
                box->setValue(value);
                EXPECT_TRUE(box->text().endsWith("\u00b5m")) << box->text().toStdString();
            }
            EXPECT_TRUE(compare->isEnabled());
            EXPECT_TRUE(outlook(*dialog).contains("70 permutations, all there are")) << outlook(*dialog).toStdString();
            QTest::mouseClick(compare, Qt::LeftButton);
        });
        trigger(window->commands(), "comparison.new");
        EXPECT_TRUE(window->isRunning());
        EXPECT_FALSE(isEnabled(window->commands(), "comparison.new"));
        wait();
    }

    QByteArray bytesOf(const QString& name) {
        QFile file(folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
        return file.readAll();
    }

    QTemporaryDir folder;
    QStringList files;
    QPointer<VRLComparisonWindow> window;
};

} // namespace

TEST_F(ComparisonWindow, findsWritesAndShowsWhatTheCommandLineFinds) {
    expectSound(*window, window->commands(), comparisonCommands());
    EXPECT_FALSE(isEnabled(window->commands(), "comparison.save"));
    compareFiles();
    ASSERT_NE(window->getComparison(), nullptr);
    const PermutationResult& result = window->getComparison()->getResult();
    EXPECT_NEAR(result.least, 2.0 / 70, 1e-12);
    ASSERT_GT(result.clusters.size(), 0u);
    const VRLTableWidget& table = window->getTable();
    ASSERT_EQ(table.rowCount(), int(result.clusters.size()));
    EXPECT_EQ(table.horizontalHeaderItem(4)->text(), "x [\u00b5m]");
    EXPECT_EQ(table.item(0, 7)->text(), "treated");
    EXPECT_NEAR(table.item(0, 4)->text().toDouble(), 31, 4);
    EXPECT_EQ(window->getCanvas().getPainters().size(), 2u) << "the places of more in treated, and the plane";
    // The surface goes around all places that are significant.
    const std::optional<TriMesh<float>> surface = window->getComparison()->significantSurface(1);
    ASSERT_TRUE(surface);
    EXPECT_GT(window->getComparison()->numSignificant(), 8u);
    const BoundingBox<float> box = surface->boundingBox();
    for (std::size_t p = 0; p < result.p.size(); ++p)
        for (int a = 0; a < 3 && result.p[p] <= 0.05f; ++a) {
            const double at = window->getComparison()->placeOf(p)[std::size_t(a)];
            EXPECT_TRUE(at > double(box.min(a)) - 1e-3 && at < double(box.max(a)) + 1e-3) << p;
        }

    // A click in the table takes the plane to the peak.
    auto* slider = window->findChild<QSlider*>("plane");
    window->setPlane(2, 0);
    EXPECT_EQ(slider->value(), 0);
    window->getTable().selectRow(0);
    const auto& lattice = *window->getComparison()->getValues().lattice;
    EXPECT_NEAR(double(lattice.position(2, slider->value())), table.item(0, 6)->text().toDouble(), 1e-3);
    window->setMap(ComparedMap::Difference);
    EXPECT_EQ(window->getCanvas().getPainters().size(), 2u);
    QApplication::processEvents();
    if (const QString pictures = qEnvironmentVariable("VORLEN_PICTURES"); !pictures.isEmpty())
        window->grab().save(pictures + "/comparison.png");

    ModalScript script;
    script.thenChoose({folder.filePath("window")});
    trigger(window->commands(), "comparison.save");
    QProcess cli;
    cli.start(VORLEN_CLI, QStringList{"compare", "-o", folder.path(), "--name", "cli", "--groups", "4,4", "--names",
                                      "control,treated", "-r", "4", "-b", "5", "--cluster", "2", "--unit", "um"} +
                              files);
    ASSERT_TRUE(cli.waitForFinished(60000));
    ASSERT_EQ(cli.exitCode(), 0) << cli.readAllStandardError().toStdString();
    for (const char* name :
         {"-p.vm", "-statistic.vm", "-difference.vm", "-p.nrrd", "-difference.nrrd", "-significant.tm"})
        EXPECT_TRUE(bytesOf(QString("window") + name) == bytesOf(QString("cli") + name)) << name;
    QList<QByteArray> mine = bytesOf("window.json").split('\n'), theirs = bytesOf("cli.json").split('\n');
    EXPECT_TRUE(mine[1].contains("\"vorlen ") && theirs[1].contains("\"vorlen-cli "));
    mine.removeAt(1);
    theirs.removeAt(1);
    EXPECT_EQ(mine, theirs);

    // Files that are there stay, unless they may go.
    const QByteArray before = bytesOf("window.json");
    script.thenChoose({folder.filePath("cli")});
    script.thenClick("No");
    trigger(window->commands(), "comparison.save");
    EXPECT_TRUE(bytesOf("cli.json").contains("\"vorlen-cli "));
    EXPECT_EQ(bytesOf("window.json"), before);
}

TEST_F(ComparisonWindow, canBeCancelledAndTellsWhatFails) {
    compareFiles();
    const GroupComparison* shown = window->getComparison();
    ComparisonRequest request;
    request.settings = shown->getSettings();
    request.settings.permutations = 60;
    request.settings.mapping.resolution = 0.4f; // a million places: not done before the click
    window->start(request);
    trigger(window->commands(), "comparison.cancel");
    wait();
    EXPECT_EQ(window->getComparison(), shown) << "what was shown stays";
    EXPECT_TRUE(isEnabled(window->commands(), "comparison.new"));

    // In the middle of the permutations as well.
    ComparisonRequest longer = request;
    longer.settings.permutations = 200000; // of 4,300 places: some seconds
    longer.settings.mapping.resolution = 2.6f;
    for (int s = 8; s < 24; ++s) {
        longer.settings.specimens.files.push_back(writePattern(s, s % 2 == 1).toStdString());
        longer.settings.specimens.groups.push_back(s % 2);
    }
    window->start(longer);
    auto* bar = window->findChild<VRLStatusBar*>();
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return bar->message().startsWith("Permuting") && bar->progressBar().value() > 0; }, 60000));
    trigger(window->commands(), "comparison.cancel");
    wait();
    EXPECT_EQ(bar->message(), "Comparison cancelled");
    EXPECT_EQ(window->getComparison(), shown);
    EXPECT_TRUE(isEnabled(window->commands(), "comparison.new"));

    ModalScript script;
    script.then([](QWidget& box) {
        EXPECT_TRUE(static_cast<QMessageBox&>(box).text().contains("none.vx"));
        static_cast<QDialog&>(box).accept();
    });
    request.settings.specimens.files[2] = folder.filePath("none.vx").toStdString();
    window->start(request);
    wait();
    EXPECT_EQ(window->getComparison(), shown);
    // The next dialog begins with what was asked for last.
    script.then([](QWidget& dialog) {
        EXPECT_EQ(dialog.findChild<QSpinBox*>("permutations")->value(), 60);
        EXPECT_EQ(dialog.findChild<QTreeWidget*>("groups")->topLevelItem(1)->text(0), "treated");
        EXPECT_EQ(dialog.findChild<QTreeWidget*>("groups")->topLevelItem(0)->childCount(), 4);
        EXPECT_TRUE(outlook(dialog).contains("60 permutations.")) << outlook(dialog).toStdString();
        static_cast<QDialog&>(dialog).reject();
    });
    trigger(window->commands(), "comparison.new");
}

// Patterns of another window come with its unit, and with its surfaces as masks.
TEST_F(ComparisonWindow, takesPatternsOfAnotherWindowInTheirUnit) {
    ComparisonOffer offer;
    offer.unit = LengthUnit(-3);
    for (int s = 0; s < 6; ++s) {
        const std::vector<std::array<float, 3>> points = pointsOf(s, s >= 3);
        auto shape = std::make_shared<Vertices<float>>(3, 40, 40, 40);
        for (int i = 0; i < 40; ++i)
            for (int a = 0; a < 3; ++a)
                (*shape)[i][a] = points[std::size_t(i)][std::size_t(a)];
        offer.patterns.push_back({QString("specimen %1").arg(s), shape});
    }
    open(offer);
    ModalScript script;
    script.then([this](QWidget& dialog) {
        auto* patterns = dialog.findChild<QListWidget*>("patterns");
        auto* groups = dialog.findChild<QTreeWidget*>("groups");
        EXPECT_FALSE(dialog.findChild<QComboBox*>("unit")->isEnabled());
        for (const int group : {0, 1}) {
            patterns->clearSelection();
            for (int s = 3 * group; s < 3 * group + 3; ++s)
                patterns->item(s)->setSelected(true);
            groups->setCurrentItem(groups->topLevelItem(group));
            QTest::mouseClick(button(dialog, "Add to the group"), Qt::LeftButton);
            EXPECT_EQ(groups->topLevelItem(group)->childCount(), 3);
        }
        // Of twenty two are alike, as the groups are of one size.
        EXPECT_TRUE(outlook(dialog).contains("20 permutations, all there are")) << outlook(dialog).toStdString();
        EXPECT_TRUE(outlook(dialog).contains("No p below 0.1 can come out: there are too few specimens"));
        // Of ten permutations the least p is a tenth.
        dialog.findChild<QSpinBox*>("permutations")->setValue(10);
        EXPECT_TRUE(outlook(dialog).contains("No p below 0.1 can come out")) << outlook(dialog).toStdString();
        dialog.findChild<QSpinBox*>("permutations")->setValue(100);
        auto& asked = static_cast<VRLComparisonDialog&>(dialog);
        asked.addFiles(0, {folder.filePath("map.vm")});
        EXPECT_FALSE(button(dialog, "Compare")->isEnabled()) << "maps and points";
        delete groups->topLevelItem(0)->child(3);
        asked.addFiles(0, {files[0]});
        EXPECT_TRUE(outlook(dialog).contains("taken to be mm")) << outlook(dialog).toStdString();
        delete groups->topLevelItem(0)->child(3);
        dialog.findChild<QDoubleSpinBox*>("resolution")->setValue(4);
        QTest::mouseClick(button(dialog, "Compare"), Qt::LeftButton);
    });
    window->newComparison();
    wait();
    ASSERT_NE(window->getComparison(), nullptr);
    EXPECT_EQ(window->getComparison()->getResult().numPermutations, 20u);
    EXPECT_EQ(window->getTable().horizontalHeaderItem(4)->text(), "x [mm]");
    EXPECT_TRUE(window->getComparison()->getValues().notes.back().ends_with(" mm"));
}

} // namespace vorlen
