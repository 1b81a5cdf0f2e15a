#include <QRadioButton>
#include <QSignalSpy>
#include <QToolButton>

#include <gtest/gtest.h>

#include "ui/session/vrlconfig.h"
#include "ui/slices/vrlchanneleditor.h"
#include "ui/slices/vrlmodetoolbar.h"
#include "ui/slices/vrlnavigationtoolbar.h"

namespace vorlen {

TEST(VRLChannelEditor, imagesOfOneColourLeaveNoChoice) {
    VRLChannelEditor editor;
    EXPECT_EQ(editor.title(), "Channel selector ");
    EXPECT_FALSE(editor.isEnabled());
    for (int content = GrayContent; content <= BlueContent; ++content) {
        editor.setChannel(ImageColorContent(content));
        EXPECT_FALSE(editor.isEnabled());
        EXPECT_EQ(editor.getChannel(), content);
    }
    for (const ImageColorContent content : {MixedContent, UndefinedContent}) {
        editor.setChannel(content);
        EXPECT_TRUE(editor.isEnabled());
        EXPECT_EQ(editor.getChannel(), 0);
        editor.findChildren<QRadioButton*>()[2]->click();
        EXPECT_EQ(editor.getChannel(), 2);
    }
}

TEST(VRLModeToolBar, oneOfTheThreeButtonsIsDown) {
    VRLModeToolBar bar;
    const auto buttons = bar.findChildren<QToolButton*>();
    ASSERT_EQ(buttons.size(), 3);
    EXPECT_TRUE(buttons[0]->isChecked());
    QSignalSpy modes(&bar, &VRLModeToolBar::modeClicked);
    for (const int i : {1, 2, 0})
        buttons[i]->click();
    EXPECT_TRUE(buttons[0]->isChecked());
    EXPECT_FALSE(buttons[1]->isChecked());
    ASSERT_EQ(modes.count(), 3);
    EXPECT_EQ(modes[0][0].value<CanvasMode>(), BackgroundMode);
    EXPECT_EQ(modes[1][0].value<CanvasMode>(), ForegroundMode);
    EXPECT_EQ(modes[2][0].value<CanvasMode>(), AllgroundMode);
    EXPECT_EQ(buttons[1]->toolTip(), "Show images only");
    EXPECT_EQ(buttons[1]->iconSize(), toolBarIconSize);
    EXPECT_EQ(bar.minimumSize(), bar.sizeHint());
}

TEST(VRLNavigationToolBar, eachButtonHasItsSignal) {
    VRLNavigationToolBar bar;
    const auto buttons = bar.findChildren<QToolButton*>();
    ASSERT_EQ(buttons.size(), 4);
    QSignalSpy last(&bar, &VRLNavigationToolBar::lastClicked);
    QSignalSpy next(&bar, &VRLNavigationToolBar::nextClicked);
    QSignalSpy previous(&bar, &VRLNavigationToolBar::previousClicked);
    QSignalSpy first(&bar, &VRLNavigationToolBar::firstClicked);
    QSignalSpy* const spies[] = {&last, &next, &previous, &first};
    for (int i = 0; i < 4; ++i) {
        EXPECT_FALSE(buttons[i]->icon().isNull());
        buttons[i]->click();
        for (int k = 0; k < 4; ++k)
            EXPECT_EQ(spies[k]->count(), k <= i ? 1 : 0);
    }
}

} // namespace vorlen
