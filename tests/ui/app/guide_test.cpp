#include <QProcess>

#include <gtest/gtest.h>

#include "document/stack.h"
#include "document/stackreader.h"
#include "reconstruction/modelmorphometry.h"
#include "support/temporaryfolder.h"

namespace vorlen {

// The walk of the guide outlines the nucleus of the sample anew with the tools of the slice editor, by mouse and keys
// in a window of its own. The truth of the nucleus is known in closed form.
TEST(Guide, whatItOutlinesMeasuresAsTheTruth) {
    const TemporaryFolder folder;
    const QString path = QString::fromStdString(folder.path());
    ASSERT_EQ(QProcess::execute(VORLEN_SAMPLE, {path}), 0);
    const QString outlined = path + "/outlined.sdf";
    ASSERT_EQ(QProcess::execute(VORLEN_GUIDE, {path + "/sample.sdf", path, outlined}), 0);
    Stack stack;
    ASSERT_TRUE(StackReader().read(stack, outlined.toStdString()));
    ModelMorphometry nucleus;
    nucleus.setModel(stack.getModel(stack.findModel("Nucleus")));
    nucleus.run();
    EXPECT_NEAR(nucleus.getVolume(), 512330.9, 0.02 * 512330.9);
    EXPECT_NEAR(nucleus.getArea(), 31418.84, 0.02 * 31418.84);
    for (const char* name : {"drawing", "automatic", "smoothing", "snake", "outlined"})
        EXPECT_FALSE(folder.read(std::string("guide-") + name + ".png").empty()) << name;
}

} // namespace vorlen
