#pragma once

#include <initializer_list>
#include <string>
#include <unordered_map>

#include "document/stackio.h"

namespace vorlen {

class ImageSource;
class Model;
class ModelItem;
class ModelItemProperties;
class PixelCalibration;
class Slice;
class Stack;
template <class T>
class VoxelMatrix;
struct ImageStatement;

/// Writes a stack as a description file of version 1.03. One object writes one file.
///
/// What is written opens again: reading the file gives the document as far as the six digits of its numbers carry it,
/// and writing that once more gives the same bytes. Beyond the plain format this needs:
/// - an ImagesPath in front of a mosaic, or of one of its tiles, whose directory differs from the one in force;
/// - a PIXHEIGHT where the pixel height does not follow from width and aspect ratio;
/// - the standard images with their curves and samples, behind the poses;
/// - whole numbers without an exponent where the reader takes whole numbers;
/// - StackIO::protect() on names and file names that hold a "#", a line break or the like.
/// Slices of one name are written with names of their own, since outlines find their slice by its name. A lost image is
/// written as it was named, with its size where that is known.
///
/// Image directories are written relative to the file's directory unless the stack's policy is absolute. Relative names
/// of the file and of images are taken from the current directory.
///
/// Saving is all or nothing; see SafeFile.
class StackWriter : public StackIO {
public:
    /// Whether slices keep the image size that their file told, also where their image is of another one.
    void setKeepsStatedSizes(bool keeps) { __keepsStatedSizes = keeps; }

    /// Writes the stack. False when the file cannot be opened for writing. Throws FileWriteError when the writing
    /// itself fails, and ProgramError for a slice without an image source; the old file is whole in all these cases.
    bool write(const Stack& stack, const std::string& fileName);

    /// The text of the file, as it would be written into this directory.
    std::string toText(const Stack& stack, const std::string& directory);

    /// The text of a file that may lie anywhere: image directories are absolute, whatever the stack's policy.
    std::string toText(const Stack& stack);

    /// How voxels become bytes: cut to 0 to 255 and truncated, or scaled so that the range of the volume fills these.
    enum class VoxelBytes { Clamped, Scaled };

    /// Writes each plane of the volume as an 8-bit TIFF image with the calibration to imagesPath + name + "_"
    /// and the plane number of three digits or more + ".tif", overwriting, and a stack of these images to stackPath +
    /// name + ".sdf". Both paths carry their own "/" at the end. All slices get the calibration and the spacing.
    /// Throws what the image writer throws, and FileWriteError when the description cannot be written.
    template <class T>
    static void saveAsStack(const VoxelMatrix<T>& volume, const std::string& name, const std::string& imagesPath,
                            const std::string& stackPath, const PixelCalibration& calibration, float spacing,
                            VoxelBytes bytes = VoxelBytes::Clamped);

private:
    void nameSlices(const Stack& stack);
    const std::string& sliceName(const Slice& slice) const;
    void writeHeader(const Stack& stack);
    void writeSlices(const Stack& stack);
    void writeModels(const Stack& stack);
    void writePoses(const Stack& stack);
    void writeStandardImages(const Stack& stack);
    void writeModel(const Model& model);
    void writeItem(const Model& model, const ModelItem& item);
    void writeColor(const ModelItemProperties& look);
    void writeSize(const Slice& slice);
    void writeImage(const std::string& sliceName, const ImageSource& source);
    void appendArguments(const ImageStatement& statement, bool quoted);
    std::string toText(const Stack& stack, const std::string& directory, bool absolutePaths);
    void writeImagesPath(const std::string& imageFile, bool emptyLine);
    std::string imagesPath(const std::string& imageFile);

    void statement(Keyword keyword, float value);
    void statement(Keyword keyword, double value);
    void statement(Keyword keyword, int value);
    void statement(Keyword keyword, bool value);
    void statement(Keyword keyword, const std::string& value);
    void name(Keyword keyword, const std::string& value);
    void wholeNumber(Keyword keyword, float value);
    void plainNumbers(Keyword keyword, std::initializer_list<double> values);
    void annotation(const std::string& text);
    void append(int value);
    void appendString(const std::string& text);
    void appendFile(const std::string& path, bool quoted);
    void reportProgress(int numSteps);

    std::string __text;
    std::string __directory;
    bool __absolutePolicy = false;
    std::string __previousPath;
    std::string __lastImageDirectory;
    std::string __lastImagesPath;
    /// Of slices that share a name; empty when all have names of their own.
    std::unordered_map<const Slice*, std::string> __sliceNames;
    int __numSteps = 0;
    int __totalSteps = 1;
    unsigned int __share = 100; // that making the text has of the progress
    bool __keepsStatedSizes = false;
};

} // namespace vorlen
