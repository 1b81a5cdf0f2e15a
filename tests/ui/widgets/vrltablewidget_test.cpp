#include "ui/widgets/vrltablewidget.h"

#include <QClipboard>
#include <QFile>
#include <QGuiApplication>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace vorlen {

namespace {

/// Three rows and columns; cell (i, j) holds "ij", headers with a line feed.
class VRLTableWidgetTest : public ::testing::Test {
protected:
    VRLTableWidgetTest() {
        table.setRowCount(3);
        table.setColumnCount(3);
        table.setHorizontalHeaderLabels({"Name", "Area\n[mm^2]", "Z\n[mm]"});
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                table.setItem(i, j, new QTableWidgetItem(QString::number(i) + QString::number(j)));
    }

    VRLTableWidget table;
};

} // namespace

TEST_F(VRLTableWidgetTest, theSelectionIsCopiedWithItsHeaders) {
    EXPECT_EQ(table.selectionText(table.selectedRange()), "");
    table.setRangeSelected(QTableWidgetSelectionRange(1, 1, 2, 2), true);
    table.copySelection();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "\"Area [mm^2]\"\t\"Z [mm]\"\n11\t12\n21\t22");
}

TEST_F(VRLTableWidgetTest, theWholeTableIsSavedOrTheFailureTold) {
    const QTemporaryDir folder;
    ASSERT_TRUE(table.saveTo(folder.filePath("t.txt")));
    QFile file(folder.filePath("t.txt"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), QByteArray("\"Name\"\t\"Area [mm^2]\"\t\"Z [mm]\"\n00\t01\t02\n10\t11\t12\n20\t21\t22"));
    EXPECT_FALSE(table.saveTo(folder.filePath("missing/t.txt")));
}

TEST_F(VRLTableWidgetTest, everyOtherRowIsShadedAndNothingCanBeEdited) {
    table.setAlternateBackgroundColor();
    EXPECT_EQ(table.item(0, 1)->background().color(), QColor(245, 245, 245));
    EXPECT_EQ(table.item(1, 1)->background().style(), Qt::NoBrush);
    EXPECT_EQ(table.item(2, 2)->background().color(), QColor(245, 245, 245));
    EXPECT_EQ(table.editTriggers(), QAbstractItemView::NoEditTriggers);
    table.setRowCount(0);
    table.setAlternateBackgroundColor();
}

} // namespace vorlen
