#include "ui/models/modelpanel.h"

#include <memory>

#include <QIcon>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTreeView>

#include <gtest/gtest.h>

#include "editing/history/vrlactionhistory.h"
#include "editing/operations/itemoperations.h"
#include "editing/operations/modeloperations.h"
#include "editing/operations/sliceoperations.h"
#include "editing/stacks/vrlstack.h"
#include "support/dialogdriver.h"
#include "support/documentmaker.h"
#include "support/modalscript.h"
#include "ui/models/modeltable.h"
#include "ui/models/modelviews.h"

namespace vorlen {

class ModelPanelTest : public ::testing::Test {
protected:
    ModelPanelTest() {
        addSlices(stack, 5);
        cell = &addModel(stack, "Cell");
        axon = &addModel(stack, "axon");
        dots = &addModel(stack, "Dots <b>", PolypointPrimitive);
        addItem(*cell, stack.getSlice(1), {{1, 1}, {1, 9}, {9, 9}});
        addItem(*cell, stack.getSlice(1), {{11, 1}, {11, 9}, {19, 9}});
        addItem(*cell, stack.getSlice(4), {{1, 1}, {1, 9}, {9, 9}});
        views.setStack(&stack);
        panel.setStack(&stack);
        panel.setSlice(&stack.getSlice(1));
        panel.resize(300, 400);
        panel.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&panel));
    }
    ~ModelPanelTest() override {
        panel.setStack(nullptr);
        views.setStack(nullptr);
    }

    QAbstractItemModel& rows() { return *list.model(); }
    QStringList column(int which) {
        QCoreApplication::processEvents(); // rows of groups, and counts, follow a moment later
        QStringList texts;
        for (int row = 0; row < rows().rowCount(); ++row)
            texts += rows().index(row, which).data().toString();
        return texts;
    }
    void click(int row, int which, Qt::MouseButton button = Qt::LeftButton) {
        QTest::mouseClick(list.viewport(), button, {}, list.visualRect(rows().index(row, which)).center());
    }
    void type(const QString& name) {
        const QList<QLineEdit*> editors = list.viewport()->findChildren<QLineEdit*>();
        ASSERT_EQ(editors.size(), 1);
        QLineEdit* const editor = editors[0];
        editor->selectAll();
        QTest::keyClicks(editor, name);
        QTest::keyClick(editor, Qt::Key_Return);
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); // the editor
    }
    QString gaps() {
        for (const QLabel* label : panel.findChildren<QLabel*>())
            if (label->accessibleName() == "Where the current model is outlined")
                return label->text();
        return QString();
    }
    VRLActionHistory& history() { return *stack.history(); }

    VRLStack stack;
    Model* cell;
    Model* axon;
    Model* dots;
    ModelViews views;
    ModelPanel panel{views};
    QTreeView& list = *panel.findChild<QTreeView*>();
    ModalScript user;
};

TEST_F(ModelPanelTest, modelsAreListedByNameWithTheirNumbers) {
    EXPECT_EQ(column(ModelTable::Name), (QStringList{"axon", "Cell", "Dots <b>"}));
    EXPECT_EQ(column(ModelTable::Here), (QStringList{"0", "2", "0"}));
    EXPECT_EQ(column(ModelTable::All), (QStringList{"0", "3", "0"}));
    panel.setSlice(&stack.getSlice(4));
    EXPECT_EQ(column(ModelTable::Here), (QStringList{"0", "1", "0"}));
    ASSERT_TRUE(deleteItem(stack, stack.getSlice(4).getItem(0)));
    QCoreApplication::processEvents();
    EXPECT_EQ(column(ModelTable::Here), (QStringList{"0", "0", "0"}));
    history().undo();
    QCoreApplication::processEvents();
    EXPECT_EQ(column(ModelTable::All), (QStringList{"0", "3", "0"}));
    ASSERT_TRUE(deleteSlices(stack, {&stack.getSlice(4)})); // the one that is shown
    QCoreApplication::processEvents();
    EXPECT_EQ(column(ModelTable::Here), (QStringList{"0", "0", "0"}));
}

TEST_F(ModelPanelTest, aClickChoosesShowsAndLocks) {
    EXPECT_EQ(views.getCurrent(), cell); // the first of the stack
    click(0, ModelTable::Name);
    EXPECT_EQ(views.getCurrent(), axon);
    EXPECT_TRUE(rows().index(0, ModelTable::Name).data(Qt::FontRole).value<QFont>().bold());
    click(1, ModelTable::Shown);
    EXPECT_TRUE(views.isHidden(*cell));
    click(1, ModelTable::Shown);
    click(1, ModelTable::Locked);
    EXPECT_TRUE(!views.isHidden(*cell) && views.isLocked(*cell));
    EXPECT_FALSE(history().isUndoable()); // no edit of the document
}

TEST_F(ModelPanelTest, aModelHasItsColourOnTheSelectedRowAndOnAFineScreen) {
    const auto icon = rows().index(1, ModelTable::Name).data(Qt::DecorationRole).value<QIcon>();
    const QColor color = colorOf(*cell);
    for (const QIcon::Mode mode : {QIcon::Normal, QIcon::Selected}) {
        EXPECT_EQ(icon.pixmap(QSize(16, 16), 1, mode).toImage().pixelColor(8, 8), color);
        const QImage fine = icon.pixmap(QSize(16, 16), 2, mode).toImage();
        ASSERT_EQ(fine.width(), 32);
        EXPECT_EQ(fine.pixelColor(16, 16), color);
    }
}

TEST_F(ModelPanelTest, modelsAreMadeAndNamedInPlace) {
    QSignalSpy outlining(&panel, &ModelPanel::outliningWanted);
    panel.resize(panel.minimumSizeHint());
    QCoreApplication::processEvents();
    EXPECT_GE(list.columnWidth(ModelTable::Name), 60); // what is typed is seen, beside a scroll bar, too
    panel.createModel();
    ASSERT_EQ(stack.getNumModels(), 4);
    EXPECT_EQ(views.getCurrent(), &stack.getModel(3));
    EXPECT_EQ(outlining.count(), 0);
    type("Nucleus");
    EXPECT_EQ(stack.getModel(3).getName(), "Nucleus");
    EXPECT_TRUE(QTest::qWaitFor([&] { return outlining.count() == 1; }, 2000)); // the keys go back to where is drawn,
    panel.renameCurrent();
    type("Nucleolus");
    QTest::qWait(10);
    EXPECT_EQ(outlining.count(), 1); // but not from the list in which one works
    history().undo();
    EXPECT_EQ(stack.getModel(3).getName(), "Nucleus");
    history().undo();
    history().undo();
    history().undo();
    EXPECT_EQ(stack.getNumModels(), 3);
    EXPECT_NE(views.getCurrent(), nullptr);
    EXPECT_EQ(rows().rowCount(), 3);
    history().redo();
    EXPECT_EQ(rows().rowCount(), 4);
}

TEST_F(ModelPanelTest, aNameThatIsTakenIsRefusedInWords) {
    click(0, ModelTable::Name);
    panel.renameCurrent();
    user.thenClick("OK");
    type("Cell");
    EXPECT_EQ(axon->getName(), "axon");
    EXPECT_FALSE(history().isUndoable());
    panel.renameCurrent();
    type("  Axon  7 ");
    EXPECT_EQ(axon->getName(), "Axon 7");
}

TEST_F(ModelPanelTest, theFilterKeepsWhatHoldsTheWord) {
    auto& filter = *panel.findChild<QLineEdit*>();
    for (int i = 0; i < 300; ++i)
        addModel(stack, "m" + std::to_string(i));
    panel.setStack(nullptr);
    panel.setStack(&stack);
    views.setCurrent(*dots);
    filter.setText("m12"); // rows go by the hundred, that of the current model among them
    EXPECT_EQ(column(ModelTable::Name).size(), 11);
    EXPECT_EQ(views.getCurrent(), dots);
    EXPECT_FALSE(list.currentIndex().isValid());
    filter.clear();
    EXPECT_EQ(list.currentIndex().data().toString(), "Dots <b>");
    filter.setText("ce");
    EXPECT_EQ(column(ModelTable::Name), QStringList{"Cell"});
    views.setCurrent(*axon); // which is not in the list now
    EXPECT_EQ(views.getCurrent(), axon);
    panel.createModel(); // that is to be seen
    EXPECT_EQ(filter.text(), "");
    EXPECT_EQ(rows().rowCount(), 304);
}

TEST_F(ModelPanelTest, aModelWithOutlinesIsDeletedAfterAQuestion) {
    views.setCurrent(*cell);
    user.thenReject();
    panel.deleteCurrent();
    EXPECT_EQ(stack.getNumModels(), 3);
    user.thenClick("Delete");
    panel.deleteCurrent();
    EXPECT_EQ(stack.getNumModels(), 2);
    EXPECT_EQ(views.getCurrent(), axon);
    views.setCurrent(*dots);
    panel.deleteCurrent(); // of which nothing is drawn
    panel.deleteCurrent();
    EXPECT_EQ(stack.getNumModels(), 0);
    EXPECT_EQ(views.getCurrent(), nullptr);
    button(panel, "New model").click(); // where the list was
    EXPECT_EQ(stack.getNumModels(), 1);
    EXPECT_NE(views.getCurrent(), nullptr);
}

TEST_F(ModelPanelTest, theSlicesThatLackTheCurrentModelAreNamed) {
    EXPECT_TRUE(gaps().startsWith("On 2 of 5 slices.")) << gaps().toStdString();
    EXPECT_TRUE(gaps().contains(">s2</a>, <a href=\"3\">s3</a>")) << gaps().toStdString();
    std::vector<const StackSlice*> wanted;
    QObject::connect(&panel, &ModelPanel::sliceRequested, [&wanted](StackSlice& slice) { wanted.push_back(&slice); });
    for (QLabel* label : panel.findChildren<QLabel*>())
        if (label->accessibleName() == "Where the current model is outlined")
            emit label->linkActivated("3");
    EXPECT_EQ(wanted, std::vector<const StackSlice*>{&stack.getSlice(3)});
    views.setCurrent(*axon);
    EXPECT_EQ(gaps(), "On 0 of 5 slices.");
}

TEST_F(ModelPanelTest, modelsOfAGroupAreListedShownAndLockedAsOne) {
    ASSERT_TRUE(groupModels(stack, {cell, dots}, " left <b> "));
    EXPECT_EQ(cell->getGroup(), "left <b>");
    ASSERT_EQ(column(ModelTable::Name), (QStringList{"left <b>", "axon"})); // groups come first
    const QModelIndex group = rows().index(0, 0);
    EXPECT_TRUE(list.isExpanded(group));
    ASSERT_EQ(rows().rowCount(group), 2);
    EXPECT_EQ(rows().index(0, ModelTable::Name, group).data().toString(), "Cell");
    EXPECT_EQ(column(ModelTable::All), (QStringList{"3", "0"}));
    EXPECT_EQ(column(ModelTable::Here), (QStringList{"2", "0"}));
    EXPECT_EQ(views.getCurrent(), cell); // as before: its row has moved only
    click(0, ModelTable::Shown);
    EXPECT_TRUE(views.isHidden(*cell) && views.isHidden(*dots) && !views.isHidden(*axon));
    views.setHidden(*dots, false);
    click(0, ModelTable::Shown); // one of them is shown: hides all
    EXPECT_TRUE(views.isHidden(*dots));
    click(0, ModelTable::Shown);
    EXPECT_FALSE(views.isHidden(*cell) || views.isHidden(*dots));
    views.setLocked(*cell, true);
    click(0, ModelTable::Locked);
    EXPECT_TRUE(views.isLocked(*cell) && views.isLocked(*dots) && !views.isLocked(*axon));
    click(0, ModelTable::Locked);
    EXPECT_FALSE(views.isLocked(*cell) || views.isLocked(*dots));
    EXPECT_EQ(views.getCurrent(), cell); // a group is none

    list.collapse(group);
    panel.filter().setText("dots");
    ASSERT_EQ(column(ModelTable::Name), QStringList{"left <b>"});
    EXPECT_TRUE(list.isExpanded(rows().index(0, 0)) && rows().rowCount(rows().index(0, 0)) == 1);
    panel.filter().setText("LEFT"); // the group's name stands for all its models
    EXPECT_EQ(rows().rowCount(rows().index(0, 0)), 2);
    panel.filter().clear();
    EXPECT_FALSE(list.isExpanded(rows().index(0, 0))); // folded by hand
    history().undo();
    EXPECT_EQ(column(ModelTable::Name), (QStringList{"axon", "Cell", "Dots <b>"}));
    EXPECT_FALSE(list.rootIsDecorated());
}

TEST_F(ModelPanelTest, groupsAreMadeRenamedDraggedToAndDissolvedAsSteps) {
    click(1, ModelTable::Name);
    QTest::mouseClick(list.viewport(), Qt::LeftButton, Qt::ControlModifier,
                      list.visualRect(rows().index(2, ModelTable::Name)).center());
    panel.groupSelected();
    EXPECT_TRUE(cell->getGroup() == "Group 1" && dots->getGroup() == "Group 1" && axon->getGroup().empty());
    type("Glia");
    QCoreApplication::processEvents(); // the row goes when it is not edited any more
    EXPECT_TRUE(cell->getGroup() == "Glia" && dots->getGroup() == "Glia");
    ASSERT_EQ(column(ModelTable::Name), (QStringList{"Glia", "axon"}));

    const std::unique_ptr<QMimeData> axonDragged(rows().mimeData({rows().index(1, ModelTable::Name)}));
    const QModelIndex member = rows().index(0, 0, rows().index(0, 0));
    ASSERT_TRUE(rows().canDropMimeData(axonDragged.get(), Qt::MoveAction, -1, -1, member));
    rows().dropMimeData(axonDragged.get(), Qt::MoveAction, -1, -1, member); // on a model: to its group
    EXPECT_EQ(axon->getGroup(), "Glia");
    EXPECT_EQ(column(ModelTable::Name), QStringList{"Glia"});
    rows().dropMimeData(axonDragged.get(), Qt::MoveAction, -1, -1, QModelIndex()); // where no row is
    EXPECT_EQ(axon->getGroup(), "");

    views.setCurrent(*cell);
    panel.groupSelected(QString());
    EXPECT_EQ(cell->getGroup(), "");
    ASSERT_TRUE(deleteModels(stack, {dots}));
    EXPECT_EQ(column(ModelTable::Name), (QStringList{"axon", "Cell"})); // the group went with its last model
    while (history().isUndoable())
        history().undo();
    EXPECT_EQ(column(ModelTable::Name), (QStringList{"axon", "Cell", "Dots <b>"}));
    EXPECT_EQ(dots->getGroup(), "");

    std::vector<Model*> many;
    for (int i = 0; i < 60; ++i) {
        ASSERT_TRUE(createModel(stack, nextModel(stack, PolygonPrimitive)));
        many.push_back(&stack.getModel(stack.getNumModels() - 1));
    }
    ASSERT_TRUE(groupModels(stack, many, "many"));
    EXPECT_EQ(column(ModelTable::Name), (QStringList{"many", "axon", "Cell", "Dots <b>"}));
    EXPECT_EQ(rows().rowCount(rows().index(0, 0)), 60);
    EXPECT_EQ(list.currentIndex().data().toString(), "Cell");
}

TEST_F(ModelPanelTest, nothingCanBeChangedWhileTheSliceIsLocked) {
    panel.setLocked(true);
    panel.createModel();
    panel.deleteCurrent();
    panel.renameCurrent();
    EXPECT_EQ(list.viewport()->findChild<QLineEdit*>(), nullptr);
    EXPECT_EQ(stack.getNumModels(), 3);
    panel.setLocked(false);
    EXPECT_TRUE(list.isEnabled());
}

TEST_F(ModelPanelTest, eachStackHasACurrentModelOfItsOwn) {
    VRLStack second;
    Model& only = addModel(second, "Only");
    views.setCurrent(*axon);
    views.setStack(&second);
    EXPECT_EQ(views.getCurrent(), &only);
    views.setStack(&stack);
    EXPECT_EQ(views.getCurrent(), axon);
    views.showOnly(*axon);
    EXPECT_TRUE(views.isHidden(*cell) && views.isHidden(*dots) && !views.isHidden(*axon));
    views.showAll();
    EXPECT_FALSE(views.isHidden(*cell));
}

} // namespace vorlen
