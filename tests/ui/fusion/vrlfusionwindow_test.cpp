#include "ui/fusion/vrlfusionwindow.h"

#include <cmath>

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QSettings>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTextEdit>

#include <gtest/gtest.h>

#include "editing/stacks/vrlstack.h"
#include "editing/stacks/vrlstackserver.h"
#include "support/commands.h"
#include "support/documentmaker.h"
#include "support/modalscript.h"
#include "ui/fusion/fusioncommands.h"
#include "ui/fusion/fusionresidualview.h"
#include "ui/fusion/vrlfusion.h"
#include "ui/fusion/vrlfusionconfigdialog.h"
#include "ui/fusion/vrlfusionstrategypanel.h"
#include "ui/fusion/vrlfusionstructuretable.h"
#include "ui/fusion/vrlfusionwindowmediator.h"
#include "ui/fusion/vrlfusionwindowshapetable.h"
#include "ui/viewer/viewercanvasgl.h"
#include "ui/widgets/vrltablewidget.h"

namespace vorlen {

namespace {

/// A specimen of eight sections: the polygon "body", turned by quarters, and two points "cells".
VRLStack* makeSpecimen(const std::string& name, int quarters) {
    auto* stack = new VRLStack;
    stack->setName(name);
    stack->setDefaultSliceSpacing(10);
    addSlices(*stack, 8);
    Model& body = addModel(*stack, "body");
    Model& cells = addModel(*stack, "cells", PolypointPrimitive);
    body.getItemProperties().setColor(0, 0, 255);
    for (int z = 0; z < 8; ++z) {
        std::vector<std::pair<int, int>> ring;
        for (int k = 0; k < 20; ++k) {
            const double angle = 0.3141592653589793 * k;
            const double r = (60 + 4 * z) * (1 + 0.3 * std::cos(angle + 0.5));
            int x = int(std::lround(r * std::cos(angle))), y = int(std::lround(0.6 * r * std::sin(angle)));
            for (int q = 0; q < quarters; ++q) {
                const int old = x;
                x = -y;
                y = old;
            }
            ring.emplace_back(x + 20 * quarters, y);
        }
        addItem(body, stack->getSlice(z), ring);
    }
    addItem(cells, stack->getSlice(3), {{5, 5}, {-20, 4}});
    return stack;
}

class VRLFusionWindowTest : public ::testing::Test {
protected:
    VRLFusionWindowTest() {
        QSettings().clear();
        for (int k = 0; k < 3; ++k)
            VRLStackServer::stackServer.addStack(*makeSpecimen(std::string(1, char('a' + k)), k));
        window->resize(1200, 800);
        window->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(window));
    }
    ~VRLFusionWindowTest() override {
        delete window;
        while (VRLStackServer::stackServer.getNumStacks() > 0)
            VRLStackServer::stackServer.removeStack(VRLStackServer::stackServer.getStack(0));
    }

    VRLFusionWindowMediator& mediator() { return window->getMediator(); }
    bool enabled(const char* id) { return isEnabled(mediator().commands(), id); }

    /// Fills the configuration dialog in, as a user does.
    void fillIn(QWidget& widget) {
        auto* dialog = qobject_cast<VRLFusionConfigDialog*>(&widget);
        ASSERT_NE(dialog, nullptr);
        auto* ok = button(*dialog, "OK");
        EXPECT_FALSE(ok->isEnabled());
        const auto* hint = dialog->findChild<QLabel*>("fusion.hint");
        EXPECT_TRUE(hint->text().startsWith("Choose the stacks"));
        dialog->findChild<QListWidget*>()->selectAll();
        auto* table = dialog->findChild<VRLFusionStructureTable*>();
        ASSERT_EQ(table->rowCount(), 1) << "points are no surface";
        EXPECT_TRUE(ok->isEnabled()) << "resampling and averaging need no reference";
        auto* strategy = dialog->findChild<VRLFusionStrategyPanel*>();
        EXPECT_FALSE(strategy->isEnabled());
        EXPECT_TRUE(hint->text().startsWith("Tick the structures"));
        table->item(0, 0)->setCheckState(Qt::Checked);
        EXPECT_TRUE(strategy->isEnabled());
        EXPECT_TRUE(hint->text().startsWith("Without a step"));
        EXPECT_EQ(table->item(0, 1)->text(), "8");
        EXPECT_EQ(table->item(0, 2)->text(), "20");
        for (const char* bad : {"1", "1001", "x"}) {
            table->item(0, 1)->setText(bad);
            EXPECT_EQ(table->item(0, 1)->text(), "8");
        }
        table->item(0, 2)->setText("24");
        EXPECT_TRUE(table->item(0, 3)->text().isEmpty());
        table->selectRow(0);
        QTest::mouseClick(button(*dialog, "Compute resampling error"), Qt::LeftButton);
        EXPECT_FALSE(table->item(0, 3)->text().isEmpty());
        table->item(0, 3)->setText("-3");
        EXPECT_NE(table->item(0, 3)->text(), "-3");
        for (QGroupBox* group : strategy->findChildren<QGroupBox*>())
            if (group->title().startsWith("Step 1") || group->title().startsWith("Step 2"))
                group->setChecked(true);
        EXPECT_EQ(hint->text(), "");
        QTest::mouseClick(ok, Qt::LeftButton);
    }

    static QPushButton* button(QWidget& parent, const QString& text) {
        for (QPushButton* found : parent.findChildren<QPushButton*>())
            if (found->text() == text)
                return found;
        return nullptr;
    }

    void normalize() {
        ModalScript script;
        script.then([this](QWidget& dialog) { fillIn(dialog); });
        trigger(mediator().commands(), "fusion.new");
    }

    QPointer<VRLFusionWindow> window = new VRLFusionWindow;
};

} // namespace

TEST_F(VRLFusionWindowTest, aNormalizationGoesFromTheDialogToShapesResidualsAndFiles) {
    expectSound(*window, mediator().commands(), fusionCommands());
    EXPECT_FALSE(enabled("fusion.summary"));
    normalize();
    EXPECT_TRUE(mediator().isRunning());
    EXPECT_FALSE(enabled("fusion.new"));
    EXPECT_TRUE(enabled("fusion.cancel"));
    EXPECT_TRUE(window->windowTitle().startsWith("normalization"));
    // The stacks have been read: one may go.
    VRLStackServer::stackServer.removeStack(VRLStackServer::stackServer.getStack(2));
    ASSERT_TRUE(QTest::qWaitFor([this] { return !mediator().isRunning(); }, 60000));
    EXPECT_TRUE(enabled("fusion.summary"));
    EXPECT_TRUE(enabled("fusion.export"));
    auto* table = window->findChild<VRLFusionWindowShapeTable*>();
    EXPECT_EQ(table->rowCount(), 7) << "a body and cells for each of three, and the mean";
    EXPECT_EQ(window->getCanvas().getPainters().size(), 7u);
    for (const auto& painter : mediator().getPainters()) {
        const bool isBody = painter->getProxy()->getShape()->getName() == "body" && painter->getStackName() != "mean";
        EXPECT_TRUE(!isBody || painter->getProxy()->getAttributes().getColor()[2] == 255);
    }
    const FusionReport& report = mediator().getFusion()->getReport();
    auto* residuals = window->findChild<FusionResidualView*>();
    ASSERT_EQ(residuals->getTable().rowCount(), 3);
    EXPECT_EQ(residuals->getTable().item(1, 0)->text(), "b");
    EXPECT_EQ(residuals->getTable().item(1, 1)->text(), QString::number(report.specimens[1].residual, 'g', 6));
    EXPECT_NEAR(report.specimens[2].turned, 180, 3);
    EXPECT_TRUE(residuals->findChild<QTextEdit*>()->toPlainText().contains("\"c\" was turned by"));

    trigger(mediator().commands(), "fusion.summary");
    auto* summary = window->findChild<VRLFusionSummaryDialog*>();
    ASSERT_NE(summary, nullptr);
    EXPECT_TRUE(summary->findChild<QTextEdit*>()->toPlainText().contains("Total 3 stacks"));

    trigger(mediator().commands(), "fusion.variation");
    EXPECT_TRUE(window->findChild<FusionScaleBar*>()->isVisible());
    if (const QByteArray folder = qgetenv("VORLEN_PICTURES"); !folder.isEmpty()) {
        window->findChild<QTabWidget*>()->setCurrentIndex(1);
        QTest::qWait(300);
        window->grab().save(QString::fromLocal8Bit(folder) + "/normalization-variation.png");
    }
    trigger(mediator().commands(), "fusion.variation");
    EXPECT_FALSE(window->findChild<FusionScaleBar*>()->isVisible());
    if (const QByteArray folder = qgetenv("VORLEN_PICTURES"); !folder.isEmpty()) {
        window->findChild<QTabWidget*>()->setCurrentIndex(0);
        QTest::qWait(300);
        window->grab().save(QString::fromLocal8Bit(folder) + "/normalization-shapes.png");
    }

    QTemporaryDir folder;
    QDir directory(folder.path());
    QFile mine(directory.filePath("mean-body.qm"));
    ASSERT_TRUE(mine.open(QIODevice::WriteOnly) && mine.write("mine") == 4);
    mine.close();
    {
        ModalScript script;
        script.thenClick("No to All");
        mediator().exportResults(directory);
    }
    EXPECT_EQ(directory.entryList(QDir::Files).size(), 7);
    EXPECT_EQ(QFileInfo(mine).size(), 4) << "No to all leaves what is there";
    {
        ModalScript script;
        script.thenClick("Yes to All");
        mediator().exportResults(directory);
    }
    EXPECT_GT(QFileInfo(mine).size(), 4);

    // A new dialog that is given up leaves the window ready.
    ModalScript script;
    script.thenClick("Cancel");
    trigger(mediator().commands(), "fusion.new");
    EXPECT_EQ(table->rowCount(), 0);
    EXPECT_FALSE(enabled("fusion.summary"));
    EXPECT_EQ(window->windowTitle(), "Vorlen - Fusion");
}

// Two stacks of one name and one that is named as the mean is: each shape has a row, colours and a file of its own.
TEST_F(VRLFusionWindowTest, specimensOfOneNameAreKeptApart) {
    for (const int k : {1, 2}) {
        VRLStack& stack = VRLStackServer::stackServer.getStack(k);
        stack.setName(k == 1 ? "a" : "mean");
        stack.getModel(stack.findModel("body")).getItemProperties().setColor(0, 100 * k, 0);
    }
    normalize();
    ASSERT_TRUE(QTest::qWaitFor([this] { return !mediator().isRunning(); }, 60000));
    std::vector<std::string> specimens;
    std::vector<int> greens;
    for (const auto& painter : mediator().getPainters()) {
        if (painter->getProxy()->getShape()->getName() == "body") {
            specimens.push_back(painter->getStackName());
            greens.push_back(painter->getProxy()->getAttributes().getColor()[1]);
        }
    }
    EXPECT_EQ(specimens, (std::vector<std::string>{"a", "a-2", "mean-2", "mean"}));
    ASSERT_EQ(greens.size(), 4u);
    EXPECT_EQ(greens[0], 0);
    EXPECT_EQ(greens[1], 100);
    EXPECT_EQ(greens[2], 200);
    trigger(mediator().commands(), "fusion.variation");
    for (const auto& painter : mediator().getPainters())
        EXPECT_EQ(painter->getProxy()->getAttributes().getVisibility(), painter->getStackName() == "mean");
    QTemporaryDir folder;
    QDir directory(folder.path());
    mediator().exportResults(directory); // no file is there twice, so that nothing is asked
    EXPECT_EQ(directory.entryList(QDir::Files).size(), 7);
}

TEST_F(VRLFusionWindowTest, aRunCanBeCancelledAndAFailureIsTold) {
    normalize();
    trigger(mediator().commands(), "fusion.cancel");
    ASSERT_TRUE(QTest::qWaitFor([this] { return !mediator().isRunning(); }, 60000));
    EXPECT_TRUE(enabled("fusion.new"));
    EXPECT_EQ(mediator().getFusion(), nullptr);

    // A structure that a stack lacks.
    VRLFusionConfig<float> config;
    config.setStacks({&VRLStackServer::stackServer.getStack(0), &VRLStackServer::stackServer.getStack(1)});
    VRLFusionSurfaceStructure<float> structure;
    structure.setName("liver");
    structure.setReference(true);
    config.setStructures({structure});
    QString told;
    {
        ModalScript script;
        script.then([&](QWidget& dialog) {
            told = qobject_cast<QMessageBox*>(&dialog)->text();
            qobject_cast<QDialog*>(&dialog)->accept();
        });
        mediator().start(config);
    }
    EXPECT_TRUE(told.contains("\"liver\" has no contours in stack \"a\"")) << told.toStdString();
    EXPECT_TRUE(enabled("fusion.new"));

    // Closing the window ends a run.
    normalize();
    window->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(window, nullptr);
}

// An error that no grid comes within leaves the sizes as they were.
TEST(VRLFusionStructureTable, waitsForSizesNoLongerThanTheyAreSought) {
    VRLFusionSurfaceStructure<float> structure;
    structure.setName("body");
    structure.setResamplingHeight(8);
    structure.setResamplingWidth(20);
    VRLFusionStructureTable table;
    table.setStructures({structure});
    QString meanwhile;
    QObject::connect(&table, &VRLFusionStructureTable::resamplingErrorChanged, &table,
                     [&] { meanwhile = table.item(0, 1)->text(); });
    table.item(0, 3)->setText("1e-9");
    EXPECT_EQ(meanwhile, "Wait...");
    EXPECT_EQ(table.item(0, 1)->text(), "8");
    EXPECT_EQ(table.item(0, 2)->text(), "20");
    EXPECT_TRUE(table.item(0, 3)->text().isEmpty());
    EXPECT_EQ(table.structures().front().getResamplingWidth(), 20);
}

} // namespace vorlen
