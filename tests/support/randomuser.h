#pragma once

#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include "document/pose.h"
#include "editing/actions/vrlinsertvertexaction.h"
#include "editing/actions/vrlitemcreationaction.h"
#include "editing/actions/vrlitemdeletionaction.h"
#include "editing/actions/vrlitemselectionattributesaction.h"
#include "editing/actions/vrlitemselectionconversionaction.h"
#include "editing/actions/vrlitemverticeschangeaction.h"
#include "editing/actions/vrlmovevertexaction.h"
#include "editing/actions/vrlremoveselectionaction.h"
#include "editing/actions/vrlremovevertexaction.h"
#include "editing/actions/vrlselectionaction.h"
#include "editing/history/editstep.h"
#include "editing/history/vrlactionhistory.h"
#include "editing/operations/modeloperations.h"
#include "editing/operations/sliceoperations.h"
#include "editing/operations/stackoperations.h"
#include "editing/stacks/vrlstack.h"
#include "support/documentmaker.h"
#include "support/fixedsource.h"

namespace vorlen {

/// A user who does anything to a stack, by the numbers of a generator.
class RandomUser {
public:
    RandomUser(VRLStack& stack, unsigned int seed) : __stack(stack), __random(seed) {}

    int below(int n) { return static_cast<int>(__random() % static_cast<unsigned int>(n)); }

    void edit() {
        if (below(4) == 0)
            return editDocument();
        if (__stack.getNumSlices() == 0 || __stack.getNumModels() == 0)
            return;
        StackSlice& slice = anySlice();
        if (slice.getNumItems() == 0 || below(10) == 0)
            return drawItem(slice);
        editItem(slice.getItem(below(slice.getNumItems())));
    }

private:
    StackSlice& anySlice() { return __stack.getSlice(below(__stack.getNumSlices())); }
    Model& anyModel() { return __stack.getModel(below(__stack.getNumModels())); }
    std::string anyName() { return "n" + std::to_string(below(1000)); }
    Vector<double> anyPoint() { return point(below(200) / 4.0, below(200) / 4.0); } // between pixels, mostly
    Registration anyRegistration() { return {below(9) * 0.25, below(9) / 3.0, static_cast<float>(below(90) - 45)}; }

    PixelCalibration anyCalibration() {
        PixelCalibration calibration;
        calibration.setPixelWidth(static_cast<float>(1 + below(9)));
        calibration.setAspectRatio(static_cast<float>(1 + below(3)));
        calibration.compute();
        return calibration;
    }

    template <class Action, class... Sets>
    void push(ModelItem& item, Sets... sets) {
        auto action = std::make_unique<Action>(item);
        (sets(*action), ...);
        EditStep step(*__stack.history());
        step.apply(std::move(action));
        step.commit();
    }

    /// One or several, in one step.
    void drawItem(StackSlice& slice) {
        EditStep step(*__stack.history());
        for (int n = below(3); n >= 0; --n) {
            auto* item = new ModelItem;
            item->setModel(&anyModel());
            item->setSlice(n == 0 ? &slice : &anySlice());
            item->setVertices(makeVertices({{below(50), below(50)}, {below(50), below(50)}, {below(50), below(50)}}));
            step.apply(std::make_unique<VRLItemCreationAction>(*item));
        }
        step.commit();
    }

    void editItem(ModelItem& item) {
        const int n = item.getSize();
        const int choice = below(9);
        if (choice == 0)
            push<VRLInsertVertexAction>(item, [&](auto& action) {
                action.setIndex(below(n + 1));
                action.setPoint(anyPoint());
            });
        else if (choice == 1 && n > 0)
            push<VRLRemoveVertexAction>(item, [&](auto& action) { action.setIndex(below(n)); });
        else if (choice == 2 && n > 0)
            push<VRLMoveVertexAction>(item, [&](auto& action) {
                action.setIndex(below(n));
                action.setPoint(anyPoint());
            });
        else if (choice == 3)
            push<VRLSelectionAction>(item, [&](auto& action) {
                ModelItemSelection selection = item.getSelection();
                for (int i = 0; i < n; ++i)
                    selection.set(below(2) == 0, i, false);
                action.setSelection(selection);
            });
        else if (choice == 4)
            push<VRLRemoveSelectionAction>(item);
        else if (choice == 5)
            push<VRLItemDeletionAction>(item);
        else if (choice == 6)
            push<VRLItemSelectionAttributesAction>(item, [&](auto& action) {
                ModelItemProperties properties;
                if (below(2) == 0)
                    properties.setColor(0, 255, 0);
                action.setProperties(properties);
            });
        else if (choice == 7)
            convert(item);
        else
            push<VRLItemVerticesChangeAction>(item, [&](auto& action) {
                action.setVertices(makeVertices({{below(50), below(50)}, {below(50), below(50)}}));
            });
    }

    void convert(ModelItem& item) {
        Model& destination = anyModel();
        if (destination.getProperties().getGeometry() == item.getModel()->getProperties().getGeometry())
            push<VRLItemSelectionConversionAction>(item, [&](auto& action) { action.setModel(destination); });
    }

    void editDocument() {
        const bool hasSlices = __stack.getNumSlices() > 0;
        switch (below(9)) {
        case 0:
            return editModels();
        case 1:
            return insertOrDeleteSlices();
        case 2:
            if (hasSlices)
                editSlice(anySlice());
            return;
        case 3: {
            std::vector<int> order;
            for (int i = 0; i < __stack.getNumSlices(); ++i)
                order.push_back(i);
            std::shuffle(order.begin(), order.end(), __random);
            EXPECT_TRUE(reorderSlices(__stack, order));
            return;
        }
        case 4: {
            std::vector<Registration> registrations;
            for (int i = 0; i < __stack.getNumSlices(); ++i)
                registrations.push_back(anyRegistration());
            EXPECT_TRUE(setRegistrations(__stack, registrations));
            return;
        }
        case 5:
            return editStack();
        case 6: {
            Pose pose = Pose::canonicalPose1();
            pose.setZoom(100 + below(9) / 8.0);
            pose.setXTranslation(below(9) / 4.0 - 1);
            EXPECT_TRUE(recordPose(__stack, pose, anyName()));
            return;
        }
        case 7:
            deletePose(__stack, below(5));
            return;
        default:
            deleteModels(__stack, __stack.getNumModels() < 3 ? std::vector<Model*>() : std::vector{&anyModel()});
        }
    }

    void editModels() {
        ModelChange change;
        if (below(2) == 0) {
            change.properties.setSurfaceOpacity(static_cast<float>(below(256)));
            change.properties.setGroup(__stack.getNumModels() % 2 == 0 ? "even" : "");
        }
        change.itemProperties.setLineWidth(static_cast<float>(1 + below(5)));
        if (below(2) == 0 || __stack.getNumModels() == 0) {
            change.name = anyName();
            change.properties.setGeometry(below(2) == 0 ? PolygonPrimitive : PolypointPrimitive);
            createModel(__stack, change); // refused where the name is taken
        } else {
            changeModels(__stack, {&anyModel(), &anyModel()}, change);
            renameModel(__stack, anyModel(), anyName());
        }
    }

    void insertOrDeleteSlices() {
        if (__stack.getNumSlices() > 8 || (__stack.getNumSlices() > 1 && below(2) == 0)) {
            EXPECT_TRUE(deleteSlices(__stack, {&anySlice(), &anySlice()}));
            return;
        }
        std::vector<std::unique_ptr<StackSlice>> slices;
        for (int n = below(3); n >= 0; --n) {
            slices.push_back(std::make_unique<StackSlice>());
            slices.back()->setName(anyName());
            slices.back()->setImageSource(FixedSource(50, 50));
        }
        EXPECT_TRUE(insertSlices(__stack, below(__stack.getNumSlices() + 1), std::move(slices)));
    }

    void editSlice(StackSlice& slice) {
        SliceChange change;
        if (below(2) == 0)
            change.name = __stack.uniqueSliceName(anyName()); // a taken one is refused
        if (below(2) == 0)
            change.annotation = anyName();
        if (below(2) == 0)
            change.spacing = static_cast<float>(1 + below(20));
        else
            change.position = static_cast<float>(below(100));
        if (below(2) == 0)
            change.calibration = anyCalibration();
        const FixedSource source(below(90), 40);
        if (below(2) == 0)
            change.imageSource = &source;
        EXPECT_TRUE(changeSlice(__stack, slice, change));
    }

    void editStack() {
        StackChange change;
        if (below(2) == 0)
            change.name = anyName();
        if (below(2) == 0)
            change.annotation = anyName();
        if (below(2) == 0)
            change.unit = LengthUnit(-3 * (1 + below(3)));
        change.spacing = static_cast<float>(1 + below(9));
        change.calibration = anyCalibration();
        for (int i = 0; i < __stack.getNumSlices(); ++i) {
            if (below(2) == 0)
                change.spacingSlices.push_back(&__stack.getSlice(i));
            if (below(2) == 0)
                change.calibrationSlices.push_back(&__stack.getSlice(i));
        }
        change.absoluteImagesPath = below(2) == 0;
        EXPECT_TRUE(changeStack(__stack, change));
    }

    VRLStack& __stack;
    std::mt19937 __random;
};

/// The document that random users begin with: three slices with images, an outline and points.
inline void makeDocument(Stack& stack) {
    addSlices(stack, 3);
    for (int i = 0; i < 3; ++i)
        stack.getSlice(i).setImageSource(FixedSource(50, 50));
    addItem(addModel(stack, "polygons"), stack.getSlice(1), {{0, 0}, {10, 0}, {10, 10}});
    addItem(addModel(stack, "points", PolypointPrimitive), stack.getSlice(1), {{1, 1}, {2, 2}, {3, 3}});
}

} // namespace vorlen
