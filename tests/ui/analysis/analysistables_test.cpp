#include <QApplication>
#include <QHeaderView>
#include <QPalette>
#include <QProcess>
#include <QTest>

#include <gtest/gtest.h>

#include "document/stackreader.h"
#include "numerics/exception.h"
#include "reconstruction/modelitemgeometry.h"
#include "reconstruction/modelmorphometry.h"
#include "support/temporaryfolder.h"
#include "ui/analysis/analysisstack.h"
#include "ui/analysis/vrlmodelanalysistable.h"
#include "ui/analysis/vrlmodelitemanalysistable.h"
#include "ui/analysis/vrlsliceanalysistable.h"

namespace vorlen {

namespace {

class AnalysisTablesTest : public ::testing::Test {
protected:
    const Model& model(const char* name) { return stack->getModel(stack->findModel(name)); }

    std::string itemsOf(const char* name) {
        VRLModelItemAnalysisTable table;
        table.setStack(*stack);
        table.setModel(model(name));
        return tableText(table);
    }

    std::string modelsOf(MPrimitive geometry) {
        VRLModelAnalysisTable table;
        table.setModelGeometry(geometry);
        table.setStack(*stack);
        return tableText(table);
    }

    /// Vertices and barycentre as the headless measurement has them.
    std::string measured(const char* name) {
        ModelMorphometry morphometry;
        morphometry.setModel(model(name));
        morphometry.run();
        QString text = QString::number(morphometry.getNumVertices());
        for (int axis = 0; axis < 3; ++axis)
            text += '\t' + QString::number(morphometry.getIsobarycenter()[axis], 'g', 6);
        return text.toStdString();
    }

    /// Clicks on the header of a column.
    static void click(QTableWidget& table, int column) {
        QHeaderView* header = table.horizontalHeader();
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                          QPoint(header->sectionViewportPosition(column) + 12, header->height() / 2));
    }

    /// Whether rows 0, 2, 4, ... and no others have the brush.
    static bool isShaded(const QTableWidget& table, const QColor& color) {
        for (int row = 0; row < table.rowCount(); ++row)
            for (int column = 0; column < table.columnCount(); ++column) {
                const QBrush brush = table.item(row, column)->background();
                if (row % 2 == 0 ? brush != QBrush(color) : brush.style() != Qt::NoBrush)
                    return false;
            }
        return true;
    }

    /// So that models on several slices have no surface.
    void layOnOneHeight() {
        for (int i = 0; i < stack->getNumSlices(); ++i)
            stack->getSlice(i).setAbsolutePosition(5);
    }

    std::unique_ptr<VRLStack> stack = makeAnalysisStack();
};

} // namespace

// By hand: 8 mm by 6 mm have a perimeter of 28 mm; the open line has 6 mm and 12 mm.
TEST_F(AnalysisTablesTest, itemsAreListedSliceBySliceWithTheirMeasures) {
    EXPECT_EQ(
        itemsOf("tube"),
        "\"Slice\"\t\"Vertices\"\t\"Length [mm]\"\t\"Area [mm^2]\"\t\"AverageX [mm]\"\t\"AverageY [mm]\"\t\"Z [mm]\""
        "\ns0\t4\t28\t48\t4\t3\t5\ns2\t4\t28\t48\t4\t3\t25\ns10\t4\t28\t48\t4\t3\t105");
    EXPECT_EQ(itemsOf("line"),
              "\"Slice\"\t\"Vertices\"\t\"Length [mm]\"\t\"AverageX [mm]\"\t\"AverageY [mm]\"\t\"Z [mm]\""
              "\ns3\t3\t18\t4\t4\t35");
    EXPECT_EQ(itemsOf("dots"), "\"Slice\"\t\"X [mm]\"\t\"Y [mm]\"\t\"Z [mm]\""
                               "\ns2\t2\t6\t25\ns2\t40\t12\t25\ns2\t10\t18\t25\ns4\t14\t24\t45\ns4\t200\t27\t45");
    EXPECT_EQ(itemsOf("nothing"), "\"Slice\"\t\"Vertices\"\t\"Length [mm]\"\t\"Area [mm^2]\"\t\"AverageX [mm]\"\t"
                                  "\"AverageY [mm]\"\t\"Z [mm]\"");

    // The slice's place on its neighbours does not count here.
    const std::string before = itemsOf("tube");
    stack->getSlice(1).getRegistration().setRotationAngle(1);
    EXPECT_EQ(itemsOf("tube"), before);
    stack->setLengthUnit(LengthUnit(-6));
    EXPECT_NE(itemsOf("tube").find("\"Area [µm^2]\""), std::string::npos);

    VRLModelItemAnalysisTable table;
    EXPECT_THROW(table.setModel(model("tube")), UsageError);
}

TEST_F(AnalysisTablesTest, slicesCountOutlinesAndPoints) {
    VRLSliceAnalysisTable table;
    table.setStack(*stack);
    EXPECT_EQ(table.rowCount(), 12);
    EXPECT_EQ(tableText(table).substr(0, 111),
              "\"Slice\"\t\"tube\"\t\"pair\"\t\"line\"\t\"dots\"\t\"nothing\"\ns0\t1\t0\t0\t0\t0\ns1\t0\t2\t0\t0\t0\n"
              "s2\t1\t0\t0\t3\t0\ns3\t0\t0\t1\t0\t0\ns4\t0\t0\t0\t2\t0\n");
    EXPECT_EQ(columnText(table, 1), "1 0 1 0 0 0 0 0 0 0 1 0");
    EXPECT_EQ(columnText(table, 5), "0 0 0 0 0 0 0 0 0 0 0 0");
}

// By hand: prism walls of 28 mm times 20 mm and 80 mm; volumes 20 * 48 + 80 * 48 + 10 * 48 and, for the pair, 10 * 72.
TEST_F(AnalysisTablesTest, modelsOfEachGeometryAreMeasuredInSpace) {
    stack->getSlice(2).getItem(0).setClockwise(false);
    ASSERT_GT(stack->getSlice(2).getNumItems(), 0);
    const std::string averages = "\"AverageX [mm]\"\t\"AverageY [mm]\"\t\"AverageZ [mm]\"";
    EXPECT_EQ(modelsOf(PolygonPrimitive), "\"Model\"\t\"Vertices\"\t" + averages +
                                              "\t\"Contours\"\t\"Area [mm^2]\"\t\"Volume [mm^3]\"\ntube\t" +
                                              measured("tube") + "\t3\t2800\t5280\npair\t" + measured("pair") +
                                              "\t2\t0\t720\nnothing\t0\t0\t0\t0\t0\t0\t0");
    EXPECT_EQ(modelsOf(PolylinePrimitive), "\"Model\"\t\"Vertices\"\t" + averages +
                                               "\t\"Contours\"\t\"Area [mm^2]\"\t\"PathLength [mm]\"\nline\t" +
                                               measured("line") + "\t1\t0\tNA"); // all on one slice: no path
    EXPECT_EQ(modelsOf(PolypointPrimitive), "\"Model\"\t\"Vertices\"\t" + averages + "\ndots\t" + measured("dots"));
    EXPECT_EQ(modelsOf(MPrimitive(3)), "");
    EXPECT_EQ(measured("tube").substr(0, 2), "12");
}

TEST_F(AnalysisTablesTest, aMeasureThatIsNotAvailableTellsWhy) {
    VRLModelAnalysisTable table;
    table.setStack(*stack);
    EXPECT_EQ(table.rowCount(), 0);
    layOnOneHeight();
    table.setModelGeometry(PolygonPrimitive);
    EXPECT_EQ(table.item(0, 6)->text(), "NA");
    EXPECT_NE(table.item(0, 6)->toolTip(), "");
    EXPECT_EQ(table.item(1, 6)->toolTip(), "");
}

TEST_F(AnalysisTablesTest, stacksWithoutModelsOrSlicesGiveTablesWithoutRows) {
    VRLStack empty;
    VRLSliceAnalysisTable slices;
    slices.setStack(empty);
    EXPECT_EQ(tableText(slices), "\"Slice\"");
    addSlices(empty, 2);
    slices.setStack(empty);
    EXPECT_EQ(tableText(slices), "\"Slice\"\ns0\ns1");
    VRLModelAnalysisTable models;
    models.setModelGeometry(PolylinePrimitive);
    models.setStack(*stack);
    EXPECT_EQ(models.rowCount(), 1);
    models.setStack(empty);
    EXPECT_EQ(models.rowCount(), 0);
    EXPECT_EQ(models.columnCount(), 8);
    click(models, 1);
}

TEST_F(AnalysisTablesTest, aClickOnAHeaderSortsByNumberAndTheTextFollows) {
    VRLModelItemAnalysisTable table;
    table.resize(800, 400);
    table.show();
    table.setStack(*stack);
    table.setModel(model("dots"));
    EXPECT_EQ(columnText(table, 1), "2 40 10 14 200"); // until then as in the stack
    click(table, 1);
    EXPECT_EQ(columnText(table, 1), "2 10 14 40 200");
    EXPECT_EQ(columnText(table, 2), "6 18 24 12 27");
    EXPECT_TRUE(isShaded(table, QColor(245, 245, 245)));
    click(table, 1);
    EXPECT_EQ(columnText(table, 1), "200 40 14 10 2");
    EXPECT_TRUE(isShaded(table, QColor(245, 245, 245)));
    table.setRangeSelected(QTableWidgetSelectionRange(0, 0, 4, 3), false);
    table.setRangeSelected(QTableWidgetSelectionRange(0, 0, 1, 1), true);
    EXPECT_EQ(table.selectionText(table.selectedRange()), "\"Slice\"\t\"X [mm]\"\ns4\t200\ns2\t40");

    // Slices go by their order in the stack, not by their names; another model starts anew.
    table.setModel(model("tube"));
    EXPECT_EQ(columnText(table, 0), "s0 s2 s10");
    click(table, 6);
    click(table, 6);
    EXPECT_EQ(columnText(table, 6), "105 25 5");
    EXPECT_EQ(columnText(table, 0), "s10 s2 s0");
    click(table, 0);
    EXPECT_EQ(columnText(table, 0), "s0 s2 s10");
    click(table, 0);
    EXPECT_EQ(columnText(table, 0), "s10 s2 s0");
}

TEST_F(AnalysisTablesTest, namesAndMissingMeasuresAreSortedToo) {
    for (const char* name : {"cell 10", "cell 9"})
        addModel(*stack, name);
    layOnOneHeight();
    VRLModelAnalysisTable table;
    table.setModelGeometry(PolygonPrimitive);
    table.setStack(*stack);
    table.sortItems(0);
    EXPECT_EQ(columnText(table, 0), "cell 9 cell 10 nothing pair tube");
    for (const Qt::SortOrder order : {Qt::AscendingOrder, Qt::DescendingOrder}) {
        table.sortItems(6, order);
        const int last = order == Qt::AscendingOrder ? 0 : 4;
        EXPECT_EQ(table.item(last, 0)->text(), "tube");
        EXPECT_EQ(table.item(last, 6)->text(), "NA");
    }
}

TEST_F(AnalysisTablesTest, columnsAreWideEnoughForHeadersAndContents) {
    addModel(*stack, "a model with quite a long name, as people give them");
    VRLSliceAnalysisTable table;
    table.show();
    table.setStack(*stack);
    for (int column = 0; column < table.columnCount(); ++column) {
        EXPECT_GE(table.columnWidth(column), table.horizontalHeader()->sectionSizeHint(column));
        EXPECT_GE(table.columnWidth(column),
                  table.fontMetrics().horizontalAdvance(table.horizontalHeaderItem(column)->text()) + 8);
    }
}

TEST_F(AnalysisTablesTest, shadingFollowsADarkPalette) {
    VRLSliceAnalysisTable table;
    table.setStack(*stack);
    EXPECT_TRUE(isShaded(table, QColor(245, 245, 245)));
    QPalette dark;
    dark.setColor(QPalette::Base, QColor(30, 30, 30));
    dark.setColor(QPalette::Text, Qt::white);
    table.setPalette(dark);
    const QColor shade = table.item(0, 0)->background().color();
    EXPECT_TRUE(isShaded(table, shade));
    EXPECT_GT(shade.lightness(), 35);
    EXPECT_LT(shade.lightness(), 80);
    const auto pixel = [&table](int row) { // at the left of a number
        const QPoint place = table.visualItemRect(table.item(row, 1)).topLeft() + QPoint(6, 6);
        return table.viewport()->grab(QRect(place, QSize(1, 1))).toImage().pixelColor(0, 0);
    };
    EXPECT_EQ(pixel(0), shade);
    EXPECT_EQ(pixel(1), QColor(30, 30, 30));
    EXPECT_EQ(pixel(2), shade);
    table.setPalette(QPalette());
    EXPECT_TRUE(isShaded(table, QColor(245, 245, 245)));
    EXPECT_EQ(pixel(0), QColor(245, 245, 245));
}

// The sample stack is made by formula: its volumes and areas are known beside what the measurement finds.
TEST_F(AnalysisTablesTest, tablesOfTheSampleStackHoldWhatTheMeasurementFindsAndCloseToTheTruth) {
    const TemporaryFolder folder;
    ASSERT_EQ(QProcess::execute(VORLEN_SAMPLE, {QString::fromStdString(folder.path())}), 0);
    stack = std::make_unique<VRLStack>();
    ASSERT_TRUE(StackReader().read(*stack, folder.file("sample.sdf")));
    const auto text = [](double value) { return QString::number(value, 'g', 6); };

    VRLModelAnalysisTable models;
    models.setModelGeometry(PolygonPrimitive);
    models.setStack(*stack);
    ASSERT_EQ(models.rowCount(), 3);
    for (int row = 0; row < 3; ++row) {
        ModelMorphometry morphometry;
        morphometry.setModel(model(models.item(row, 0)->text().toUtf8()));
        morphometry.run();
        EXPECT_EQ(models.item(row, 5)->text().toInt(), morphometry.getNumContours());
        EXPECT_EQ(models.item(row, 6)->text(),
                  morphometry.getArea() < 0 ? "NA" : text(morphometry.getAreaWithoutSteps()));
        EXPECT_EQ(models.item(row, 7)->text(), text(morphometry.getBestVolume()));
    }
    EXPECT_NEAR(models.item(0, 7)->text().toDouble(), 512331, 2600); // nucleus
    EXPECT_NEAR(models.item(0, 6)->text().toDouble(), 31418.8, 320);
    EXPECT_GT(models.item(2, 6)->text().toDouble(), 10000); // the vessel branches
    EXPECT_NEAR(models.item(2, 7)->text().toDouble(), 187792, 1900);
    EXPECT_TRUE(models.horizontalHeaderItem(7)->text().contains(QString::fromUtf8("µm^3")));

    VRLModelItemAnalysisTable items;
    items.setStack(*stack);
    items.setModel(model("Ganglion"));
    ASSERT_EQ(items.rowCount(), model("Ganglion").getNumItems());
    for (int row = 0; row < items.rowCount(); ++row) {
        // One outline on each slice, found by the slice's name.
        const StackSlice* slice = nullptr;
        for (int s = 0; s < stack->getNumSlices(); ++s)
            if (stack->getSlice(s).getName() == items.item(row, 0)->text().toStdString())
                slice = &stack->getSlice(s);
        ASSERT_NE(slice, nullptr);
        for (int k = 0; k < slice->getNumItems(); ++k)
            if (slice->getItem(k).getModel() == &model("Ganglion")) {
                ModelItemGeometry geometry;
                geometry.setModelItem(slice->getItem(k));
                geometry.run();
                EXPECT_EQ(items.item(row, 2)->text(), text(geometry.getLengthWithoutSteps()));
                EXPECT_EQ(items.item(row, 3)->text(), text(geometry.getArea()));
            }
    }
    VRLModelItemAnalysisTable cells;
    cells.setStack(*stack);
    cells.setModel(model("Cells"));
    EXPECT_EQ(cells.rowCount(), 201);
}

} // namespace vorlen
