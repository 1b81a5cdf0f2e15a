#pragma once

#include <cmath>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "document/stackwriter.h"
#include "editing/history/vrlactionhistory.h"
#include "editing/operations/outcome.h"
#include "editing/stacks/vrlstack.h"
#include "images/files/imagesourcefile.h"
#include "images/files/imagewriter.h"
#include "images/rasters/image.h"
#include "support/documentmaker.h"
#include "support/temporaryfolder.h"
#include "support/testcontours.h"

namespace vorlen {

/// A stack of one slice, whose small image has nothing on it, with a model of each geometry.
class OperationTest : public ::testing::Test {
protected:
    OperationTest()
        : polygon(addModel(stack, "Polygon")), other(addModel(stack, "Other")),
          line(addModel(stack, "Line", PolylinePrimitive)), dots(addModel(stack, "Dots", PolypointPrimitive)) {
        Image plain(8, 8, 8);
        plain.clear();
        slice = &addImage(plain);
    }

    VRLActionHistory& history() { return *stack.history(); }

    /// The document but for the slice that was segmented last, which an undo does not take back.
    std::string text() {
        stack.setLastSegmentedSlice("");
        return StackWriter().toText(stack, folder.path());
    }
    static Points verticesOf(const ModelItem& item) { return coordinates(item.getVertices()); }

    /// The operation is done, as one step that leads back to the document before and on to that after.
    void expectStep(const std::function<Outcome()>& operation) {
        history().clear();
        const std::string before = text();
        EXPECT_EQ(operation().getReason(), "");
        const std::string after = text();
        EXPECT_NE(before, after);
        ASSERT_TRUE(history().isUndoable());
        history().undo();
        EXPECT_FALSE(history().isUndoable());
        EXPECT_EQ(text(), before);
        history().redo();
        EXPECT_EQ(text(), after);
    }

    /// The operation is refused for this reason, and leaves no trace.
    void expectRefusal(const std::function<Outcome()>& operation, const std::string& reason) {
        history().clear();
        const std::string before = text();
        EXPECT_EQ(operation().getReason(), reason);
        EXPECT_EQ(text(), before);
        EXPECT_FALSE(history().isUndoable());
    }

    static void select(ModelItem& item, const std::vector<int>& vertices) {
        item.getSelection().set(false);
        for (const int i : vertices)
            item.getSelection().set(true, i, false);
    }

    /// A slice at the end with this image.
    StackSlice& addImage(const Image& image) {
        const std::string name = "image" + std::to_string(stack.getNumSlices());
        const std::string path = folder.file(name + ".tif");
        ImageWriter().write(image, path, true);
        ImageSourceFile source;
        source.setFilename(path);
        auto* const added = new StackSlice;
        added->setName(name);
        added->setImageSource(source);
        stack.addSlice(added);
        return *added;
    }

    TemporaryFolder folder;
    VRLStack stack;
    Model& polygon;
    Model& other;
    Model& line;
    Model& dots;
    StackSlice* slice = nullptr;
};

} // namespace vorlen
