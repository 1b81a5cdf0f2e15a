#pragma once

#include <string>

namespace vorlen {

class CalibrationCurve;
class Model;
class ModelItem;
class ModelItemProperties;
class ModelProperties;
class Pose;
class Stack;
class StackSlice;
class StandardImage;
class StandardSample;

/// Where in the document the reader of a stack description stands: the objects that the next statement acts on.
///
/// The setters keep the objects exclusive of one another, as the statements need it: a slice statement behind a model
/// has no slice. Nothing is owned; all pointers are null at first, and a setter also takes null.
class StackIOContext {
public:
    void setFileName(const std::string& fileName);
    const std::string& getFileName() const;
    /// Directory in which the images of the following slices lie.
    void setImagesPath(const std::string& path);
    const std::string& getImagesPath() const;

    void setStack(Stack* stack);
    Stack* getStack() const;
    /// Clears model, item and sample.
    void setSlice(StackSlice* slice);
    StackSlice* getSlice() const;
    /// Clears slice and item.
    void setModel(Model* model);
    Model* getModel() const;
    /// Clears slice and model.
    void setItem(ModelItem* item);
    ModelItem* getItem() const;
    /// Clears nothing.
    void setPose(Pose* pose);
    Pose* getPose() const;
    void setRelativePosition(double position);
    double getRelativePosition() const;
    /// Clears slice, model, item and calibration curve.
    void setStandardImage(StandardImage* image);
    StandardImage* getStandardImage() const;
    /// Clears slice and standard image.
    void setCalibrationCurve(CalibrationCurve* curve);
    CalibrationCurve* getCalibrationCurve() const;
    /// Clears slice, model, item and standard image.
    void setSample(StandardSample* sample);
    StandardSample* getSample() const;

    /// Properties of the current model; null without a model.
    ModelProperties* getModelProperties() const;
    /// Item properties of the current model; without a model those of the current item; null without both.
    ModelItemProperties* getModelItemProperties() const;

private:
    std::string __fileName;
    std::string __imagesPath;
    Stack* __stack = nullptr;
    StackSlice* __slice = nullptr;
    Model* __model = nullptr;
    ModelItem* __item = nullptr;
    Pose* __pose = nullptr;
    double __relativePosition = 0;
    StandardImage* __standardImage = nullptr;
    CalibrationCurve* __calibrationCurve = nullptr;
    StandardSample* __sample = nullptr;
};

} // namespace vorlen
