#include <gtest/gtest.h>

#include "document/stackwriter.h"
#include "support/randomuser.h"

namespace vorlen {

// Ten thousand random edits of all kinds, all undone and redone again: at every hundredth step the document is, to the
// byte, what it was there before.
TEST(RandomEdits, areUndoneToTheFirstDocumentAndRedoneToTheLast) {
    VRLStack stack;
    makeDocument(stack);
    // The file, and the order of the items on the slices.
    const auto text = [&stack] {
        std::string all = StackWriter().toText(stack, "/");
        for (int i = 0; i < stack.getNumSlices(); ++i)
            for (int k = 0; k < stack.getSlice(i).getNumItems(); ++k) {
                const ModelItem& item = stack.getSlice(i).getItem(k);
                all += item.getModel()->getName() + std::to_string(item.getSize()) + " ";
            }
        return all;
    };
    std::vector<std::string> texts = {text()};
    RandomUser user(stack, 11);
    VRLActionHistory& history = *stack.history();
    int numSteps = 0;
    const QObject listener; // goes before the stack, whose history tells when it is cleared
    QObject::connect(&history, &VRLActionHistory::changed, &listener, [&numSteps] { ++numSteps; });
    while (numSteps < 10000) {
        const int before = numSteps;
        user.edit();
        for (int step = before + 1; step <= numSteps; ++step)
            texts.push_back(step == numSteps && step % 100 == 0 ? text() : std::string());
    }
    texts.back() = text();
    const int last = numSteps;
    const auto check = [&](int step) {
        const std::string& expected = texts[static_cast<std::size_t>(step)];
        if (!expected.empty()) {
            ASSERT_EQ(text(), expected) << "after step " << step;
        }
    };
    for (int step = last - 1; step >= 0; --step) {
        ASSERT_TRUE(history.isUndoable());
        ASSERT_FALSE(history.getUndoDescription(true).startsWith("(No")) << "after step " << step;
        history.undo();
        check(step);
    }
    EXPECT_FALSE(history.isUndoable());
    for (int step = 1; step <= last; ++step) {
        history.redo();
        check(step);
    }
    EXPECT_FALSE(history.isRedoable());
    // What was taken out of the document goes with the history, half of it undone.
    for (int step = 0; step < last / 2; ++step)
        history.undo();
}

} // namespace vorlen
