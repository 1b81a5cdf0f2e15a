/// What a screen reader and a user of the keyboard meet in every dialog of this room.

#include <QAbstractSpinBox>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QTest>

#include <gtest/gtest.h>

#include "editing/stacks/vrlstack.h"
#include "support/dialogdriver.h"
#include "support/documentmaker.h"
#include "ui/models/vrlmodeldialog.h"
#include "ui/models/vrlmodelitemdialog.h"
#include "ui/models/vrlpreferencesdialog.h"
#include "ui/models/vrlslicepropertiesdialog.h"
#include "ui/models/vrlstackannotationdialog.h"
#include "ui/models/vrlstackpropertiesdialog.h"

namespace vorlen {

namespace {

bool isControl(const QWidget& widget) {
    if (widget.objectName().startsWith("qt_") || widget.focusPolicy() == Qt::NoFocus)
        return false; // parts of other controls
    return qobject_cast<const QAbstractButton*>(&widget) || qobject_cast<const QComboBox*>(&widget) ||
           qobject_cast<const QLineEdit*>(&widget) || qobject_cast<const QAbstractSpinBox*>(&widget) ||
           qobject_cast<const QListWidget*>(&widget) || qobject_cast<const QPlainTextEdit*>(&widget);
}

} // namespace

TEST(Accessibility, everyControlHasANameAndNothingIsCutOff) {
    VRLModelDialog models;
    VRLModelItemDialog item;
    VRLStackPropertiesDialog stack;
    VRLSlicePropertiesDialog slice;
    VRLStackAnnotationDialog annotation;
    VRLPreferencesDialog preferences;
    for (QDialog* dialog : std::initializer_list<QDialog*>{&models, &item, &stack, &slice, &annotation, &preferences}) {
        dialog->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(dialog));
        int numControls = 0;
        for (const QWidget* widget : dialog->findChildren<QWidget*>()) {
            if (!widget->isVisible())
                continue;
            if (isControl(*widget)) {
                ++numControls;
                const auto* button = qobject_cast<const QAbstractButton*>(widget);
                EXPECT_TRUE(!widget->accessibleName().isEmpty() || (button != nullptr && !button->text().isEmpty()))
                    << dialog->metaObject()->className() << ": a " << widget->metaObject()->className();
            }
            if (isControl(*widget) || qobject_cast<const QLabel*>(widget) != nullptr) {
                EXPECT_GE(widget->width(), widget->minimumSizeHint().width()) << widget->accessibleName().toStdString();
                EXPECT_GE(widget->height(), widget->minimumSizeHint().height());
            }
        }
        EXPECT_GE(numControls, 3);
        dialog->hide();
    }
}

TEST(Accessibility, tabGoesThroughTheStackPropertiesFromTheTopDown) {
    VRLStack document;
    VRLStackPropertiesDialog dialog;
    dialog.setStack(document);
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
    control<QLineEdit>(dialog, "Stack name").setText("x");
    control<QLineEdit>(dialog, "Slice spacing").setText("1");
    control<QLineEdit>(dialog, "Stack name").setFocus();
    int lastBottom = 0;
    for (int i = 0; i < 6; ++i) {
        const QWidget* focus = dialog.focusWidget();
        ASSERT_NE(focus, nullptr);
        const int top = focus->mapTo(&dialog, QPoint(0, 0)).y();
        EXPECT_GE(top, lastBottom) << focus->accessibleName().toStdString();
        lastBottom = top + focus->height() / 2;
        QTest::keyClick(dialog.focusWidget(), Qt::Key_Tab);
    }
}

// The return key presses no button by accident.
TEST(Accessibility, returnInTheNameOfANewModelMakesIt) {
    VRLStack stack;
    VRLModelDialog dialog;
    dialog.setStack(stack);
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
    button(dialog, "New").click();
    QTest::keyClicks(dialog.focusWidget(), "typed");
    QTest::keyClick(dialog.focusWidget(), Qt::Key_Return);
    ASSERT_EQ(stack.getNumModels(), 1);
    EXPECT_EQ(stack.getModel(0).getName(), "typed");
    EXPECT_TRUE(dialog.isVisible());
}

} // namespace vorlen
