#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QSpinBox>
#include <QTest>

#include "support/dialogdriver.h"
#include "ui/tools/vrlsnakeconfigdialog.h"
#include "ui/tools/vrlsnakeconfigeditor.h"

namespace vorlen {

namespace {

QCheckBox& checkBox(const QWidget& window, const QString& text) {
    for (QCheckBox* box : window.findChildren<QCheckBox*>())
        if (box->text() == text)
            return *box;
    throw std::runtime_error("no check box named " + text.toStdString());
}

} // namespace

TEST(SnakeConfigEditor, hasTheRangesStepsAndToolTipsOfEachParameter) {
    const VRLSnakeConfigEditor editor;
    struct Range {
        const char* name;
        double minimum, maximum, step;
    };
    for (const Range& range :
         {Range{"Alpha", 0.5, 5, 0.5}, Range{"Threshold", 1, 50, 0.5}, Range{"Reg. max", 0.1, 10, 0.1}}) {
        const auto& box = control<QDoubleSpinBox>(editor, range.name);
        EXPECT_EQ(box.minimum(), range.minimum) << range.name;
        EXPECT_EQ(box.maximum(), range.maximum) << range.name;
        EXPECT_EQ(box.singleStep(), range.step) << range.name;
        EXPECT_EQ(box.decimals(), 1) << range.name;
        EXPECT_EQ(box.size(), QSize(50, 25)) << range.name;
        EXPECT_FALSE(box.toolTip().isEmpty()) << range.name;
    }
    const auto& scale = control<QSpinBox>(editor, "Scale");
    EXPECT_EQ(scale.minimum(), 1);
    EXPECT_EQ(scale.maximum(), 10);
    EXPECT_EQ(scale.size(), QSize(50, 25));
    EXPECT_EQ(checkBox(editor, "Run on every slice").toolTip(),
              "Check this option to run the snake on every slice of the stack.");
    EXPECT_EQ(checkBox(editor, "Use propagation").toolTip(),
              "This option is relevant only when running the snake on every slice of the stack.\n- If this option is "
              "checked, the snake will be propagated from the current slice to the next/previous one and so on.\n- "
              "Otherwise, the snake will be run independently on each slice, taking the current contour for "
              "initialization.");
}

// Where the user's language writes 0,5, both are half.
TEST(SnakeConfigEditor, takesPointsAndCommasForTheDecimalMark) {
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    for (const char* typed : {"0.5", "0,5"}) {
        VRLSnakeConfigEditor editor;
        auto& box = control<QDoubleSpinBox>(editor, "Reg. max");
        box.selectAll();
        QTest::keyClicks(&box, typed);
        EXPECT_EQ(box.text(), "0.5") << typed;
        EXPECT_EQ(editor.getConfig().getRegMax(), 0.5f) << typed;
    }
    QLocale::setDefault(before);
}

TEST(SnakeConfigEditor, offersPropagationOnlyForARunOnEverySlice) {
    VRLSnakeConfigEditor editor;
    QCheckBox& all = checkBox(editor, "Run on every slice");
    QCheckBox& propagation = checkBox(editor, "Use propagation");
    EXPECT_FALSE(all.isChecked());
    EXPECT_FALSE(propagation.isChecked());
    QCheckBox& passesOver = checkBox(editor, "Pass over outlined slices");
    EXPECT_TRUE(passesOver.isChecked());
    EXPECT_FALSE(propagation.isEnabled() || passesOver.isEnabled());
    all.click();
    EXPECT_TRUE(propagation.isEnabled() && passesOver.isEnabled());
    all.click();
    EXPECT_FALSE(propagation.isEnabled());
    VRLSnakeConfig config;
    config.setRunOverStack(true);
    editor.setConfig(config);
    EXPECT_TRUE(propagation.isEnabled());
}

TEST(SnakeConfigEditor, givesBackWhatItWasGivenButTheFieldsWithoutAControl) {
    VRLSnakeConfig config;
    config.setAlpha(1.5f);
    config.setGradThreshold(33.5f);
    config.setRegMax(0.3f);
    config.setRegMin(7);
    config.setDistance(3);
    config.setAdaptive(true);
    config.setScale(4);
    config.setRunOverStack(true);
    config.setPropagationEnabled(true);
    config.setPassingOver(false);
    VRLSnakeConfigDialog dialog;
    EXPECT_EQ(dialog.windowTitle(), "Snake parameters");
    dialog.setConfig(config);
    const VRLSnakeConfig read = dialog.getConfig();
    EXPECT_EQ(read.getAlpha(), 1.5f);
    EXPECT_EQ(read.getGradThreshold(), 33.5f);
    EXPECT_EQ(read.getRegMax(), 0.3f);
    EXPECT_EQ(read.getRegMin(), VRLSnakeConfig().getRegMin());
    EXPECT_EQ(read.getDistance(), VRLSnakeConfig().getDistance());
    EXPECT_TRUE(read.isAdaptive());
    EXPECT_EQ(read.getScale(), 4u);
    EXPECT_TRUE(read.getRunOverStack());
    EXPECT_TRUE(read.isPropagationEnabled());
    EXPECT_FALSE(read.isPassingOver());

    config.setAlpha(0.01f);
    config.setGradThreshold(1e9f);
    config.setScale(4000000000u);
    dialog.setConfig(config);
    EXPECT_EQ(dialog.getConfig().getAlpha(), 0.5f);
    EXPECT_EQ(dialog.getConfig().getGradThreshold(), 50.0f);
    EXPECT_EQ(dialog.getConfig().getScale(), 10u);

    const VRLSnakeConfig plain{static_cast<const SnakeConfig&>(config)};
    EXPECT_EQ(plain.getDistance(), 3);
    EXPECT_FALSE(plain.getRunOverStack());
    EXPECT_FALSE(plain.isPropagationEnabled());
}

TEST(SnakeConfigDialog, isAnsweredByItsButtonsAndByReturn) {
    VRLSnakeConfigDialog dialog;
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
    button(dialog, "OK").click();
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    dialog.show();
    button(dialog, "Cancel").click();
    EXPECT_EQ(dialog.result(), QDialog::Rejected);
    dialog.show();
    QTest::keyClick(&dialog, Qt::Key_Return);
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
}

} // namespace vorlen
