#pragma once

#include <concepts>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "document/model.h"
#include "document/poseowner.h"
#include "document/stackslice.h"
#include "document/standardimage.h"
#include "document/unreadtext.h"
#include "images/rasters/greyscale.h"
#include "numerics/maths.h"
#include "values/imagecolorcontent.h"

namespace vorlen {

template <class T>
class VoxelMatrix;

/// The document: the sections in their order along the cutting axis, and the structures drawn on them.
///
/// Owns its slices, models, standard images and poses. What is taken out by a remove operation belongs to the caller
/// until it is added again. Indices are the caller's contract.
class Stack : public PoseOwner, public UnreadText {
public:
    Stack();
    ~Stack() override;

    void setName(const std::string& name);
    const std::string& getName() const { return __name; }

    void setAnnotation(const std::string& annotation);
    const std::string& getAnnotation() const { return __annotation; }

    /// Directory of the images; stored with a separator at its end, but for an empty path, which stays empty.
    void setImagesPath(const std::string& path);
    const std::string& getImagesPath() const { return __imagesPath; }

    /// Whether the images path is saved as it stands, not relative to the stack's file.
    void setAbsoluteImagesPathPolicy(bool absolute);
    bool getAbsoluteImagesPathPolicy() const { return __absoluteImagesPathPolicy; }

    /// Distance of a slice without a position of its own to the slice before, in the length unit; two names for one
    /// value.
    /// One of single precision stands for its shortest decimal.
    void setDefaultSliceSpacing(double spacing);
    void setDefaultSliceSpacing(std::same_as<float> auto spacing) {
        setDefaultSliceSpacing(Maths::shortestDecimal(spacing));
    }
    double getDefaultSliceSpacing() const { return __defaultRelativePosition; }
    void setDefaultRelativePosition(double position);
    void setDefaultRelativePosition(std::same_as<float> auto position) { setDefaultSliceSpacing(position); }
    double getDefaultRelativePosition() const { return __defaultRelativePosition; }

    void setDefaultSliceThickness(float thickness);
    float getDefaultSliceThickness() const { return __defaultSliceThickness; }

    void setDefaultPixelCalibration(const PixelCalibration& calibration);
    PixelCalibration& getDefaultPixelCalibration() { return __defaultPixelCalibration; }
    const PixelCalibration& getDefaultPixelCalibration() const { return __defaultPixelCalibration; }

    /// Names of the slices that the user last worked on.
    void setLastSegmentedSlice(const std::string& name);
    const std::string& getLastSegmentedSlice() const { return __lastSegmentedSlice; }
    void setLastRegisteredSlice(const std::string& name);
    const std::string& getLastRegisteredSlice() const { return __lastRegisteredSlice; }

    /// How the grey values of images beyond bytes are looked at; nothing until it has been found or set.
    void setGreyScale(const std::optional<GreyScale>& scale) { __greyScale = scale; }
    const std::optional<GreyScale>& getGreyScale() const { return __greyScale; }

    /// The unit of the default pixel calibration. Setting it sets that of all slices too.
    const LengthUnit& getLengthUnit() const;
    void setLengthUnit(const LengthUnit& unit);

    int getNumSlices() const { return int(__slices.size()); }
    int getSize() const { return getNumSlices(); }
    StackSlice& getSlice(int i) { return *__slices[std::size_t(i)]; }
    const StackSlice& getSlice(int i) const { return *__slices[std::size_t(i)]; }

    /// Place of the first slice of this very name, or of this slice; -1 if none.
    int findSlice(const std::string& name) const;
    int findSlice(const StackSlice& slice) const;

    /// The name, or, if a slice has it, the name with the first number in brackets that is free, as "name (2)".
    /// Outlines find their slice by its name in a file.
    std::string uniqueSliceName(const std::string& name) const;

    /// Take over the slice, which must have been made by new, at the end or in front of slice i, and set its stack.
    /// Nothing when the slice is in this stack already.
    void addSlice(StackSlice* slice);
    void addSlice(StackSlice* slice, int i);

    /// Take slice i out. The slice behind it keeps its absolute position, when there are slices on both sides.
    /// deleteSlice() deletes the slice with its items; removeSlice() returns it to the caller, who owns it.
    void deleteSlice(int i);
    StackSlice* removeSlice(int i);

    /// Slice order[i] comes to place i; what else there is about the slices goes with them. Throws SizeError unless the
    /// order names each slice once.
    void reorderSlices(const std::vector<int>& order);

    /// The ends of a stack that has slices.
    StackSlice& getFirstSlice() { return *__slices.front(); }
    const StackSlice& getFirstSlice() const { return *__slices.front(); }
    StackSlice& getLastSlice() { return *__slices.back(); }
    const StackSlice& getLastSlice() const { return *__slices.back(); }

    /// The neighbours of a slice of this stack; the slice itself at the ends, or when it is not in this stack.
    StackSlice& getNextSlice(StackSlice& slice) const;
    const StackSlice& getNextSlice(const StackSlice& slice) const;
    StackSlice& getPreviousSlice(StackSlice& slice) const;
    const StackSlice& getPreviousSlice(const StackSlice& slice) const;

    /// The absolute positions of all slices, in order, in one walk.
    std::vector<double> getAbsolutePositions() const;

    /// True for one slice, and for more when all have the size of the first, all but the first are registered by
    /// nothing, and the distances are all the same. A slice without an image counts as of size 0 by 0.
    bool isRegular() const;

    int getNumModels() const { return int(__models.size()); }
    Model& getModel(int i) { return *__models[std::size_t(i)]; }
    const Model& getModel(int i) const { return *__models[std::size_t(i)]; }

    /// Place of the first model of this very name, or of this model; -1 if none.
    int findModel(const std::string& name) const;
    int findModel(const Model& model) const;

    /// As uniqueSliceName().
    std::string uniqueModelName(const std::string& name) const;

    /// Takes over the model, which must have been made by new, and puts its items on their slices. Nothing when the
    /// model is in this stack already.
    void addModel(Model* model);

    /// The same in front of model i.
    void addModel(Model* model, int i);

    /// Takes the model out, and its items off their slices; the model keeps them, and the caller owns the model.
    /// Nothing when the model is not in this stack.
    void removeModel(Model& model);

    /// Deletes the model with its items, also from their slices.
    void deleteModel(int i);

    /// Deletes the models from the last to the first.
    void deleteAllModels();

    /// Whether there is a model of this geometry; whether there is one with items.
    bool hasGeometryModels(MPrimitive geometry) const;
    bool hasGeometryModelItems(MPrimitive geometry) const;

    /// Number of standard images.
    int getNumCalibration() const { return int(__standardImages.size()); }
    StandardImage& getStandardImage(int i) { return *__standardImages[std::size_t(i)]; }
    const StandardImage& getStandardImage(int i) const { return *__standardImages[std::size_t(i)]; }

    /// Takes over the standard image, which must have been made by new.
    void addStandardImage(StandardImage* image);

    /// The curve of standard image i, or of the first of this name; null for no image of the name or no curve.
    CalibrationCurve* getCalibration(int i) const;
    CalibrationCurve* getCalibration(const std::string& name) const;

    /// What the images of all slices have in common: undefined for no slices, mixed when two differ. Loads the images
    /// in order, up to the first that differs; throws what Slice::load() throws.
    ImageColorContent colorContent() const;

    /// The images as a volume, a plane for each slice, with the calibration of the stack: pixel width and height,
    /// default slice spacing. Gray content makes each image gray; red, green and blue take that channel; any other
    /// content leaves the planes at 0. An empty stack gives an empty volume. Throws SizeError, naming the slice, when
    /// an image differs from the first in size, and what Slice::load() throws.
    /// For unsigned char, int, float, double, long double.
    template <class T>
    VoxelMatrix<T> toVoxelMatrix(ImageColorContent content) const;

    /// Deletes slices, models and standard images, and forgets the last slices' names. Poses stay.
    void clear();

    /// Statements of a file that should have made objects of their own.
    UnreadText& unreadObjects() { return __unreadObjects; }
    const UnreadText& unreadObjects() const { return __unreadObjects; }

private:
    void insertSlice(StackSlice* slice, int i);
    std::unique_ptr<StackSlice> takeSlice(int i);
    void renumberSlices(int first);
    float previousPosition(int i) const;
    double absolutePosition(int i) const;
    double relativeStep(const StackSlice& slice) const;

    friend class StackSlice;

    std::string __name;
    std::string __annotation;
    std::string __imagesPath;
    bool __absoluteImagesPathPolicy = false;
    std::vector<std::unique_ptr<StackSlice>> __slices;
    std::vector<std::unique_ptr<Model>> __models;
    float __defaultSliceThickness = 0;
    double __defaultRelativePosition = 0;
    PixelCalibration __defaultPixelCalibration;
    std::vector<std::unique_ptr<StandardImage>> __standardImages;
    std::string __lastSegmentedSlice;
    std::optional<GreyScale> __greyScale;
    std::string __lastRegisteredSlice;
    UnreadText __unreadObjects;
};

/// Fills the volume as Stack::toVoxelMatrix() does and gives it the stack's size; its calibration stays, and so do the
/// planes of a volume of that size where the content leaves them.
template <class T>
void stackToVolume(const Stack& stack, VoxelMatrix<T>& volume, ImageColorContent content);

} // namespace vorlen
