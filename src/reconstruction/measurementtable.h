#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "shapes/surfacecertificate.h"

namespace vorlen {

class Model;
class ModelDistances;
class ModelItem;
class ModelItemGeometry;
class ModelMorphometry;
class Stack;

/// A table of measurements as of the document when it was made: what its columns are called and mean, and its cells.
/// Windows and programs show the same tables, each the columns that it wants.
///
/// A measurement that fails leaves the rest of the table as it is: its cells tell why, and so does getFailures().
class MeasurementTable {
public:
    /// A column: how it is headed, and what it tells.
    struct Column {
        std::string name;        ///< "AverageX"
        std::string key;         ///< in a file: "barycenter"; neighbours of one key are a list
        std::string unit;        ///< "mm^2", or empty
        std::string description; ///< a sentence for the reader, or empty
        bool ranked = false;     ///< texts that have an order of their own, that of their slices
        std::string estimator{}; ///< how the number is come by, where there are several ways; or empty
    };

    /// Whether errors are estimated, which takes three times the work.
    enum class Errors : unsigned char { Unknown, Estimated };

    /// Whether the form of each model is measured, which takes about a second for each.
    enum class Shape : unsigned char { Unknown, Measured };

    enum class CellKind : unsigned char { Text, Count, Number, Missing };

    /// A row for each model of the stack, or of the list: Model, Geometry, Vertices, Contours, AverageX to AverageZ,
    /// CentroidX to CentroidZ, Area, DrawnArea, Volume, SectionVolume, SlabVolume, ClosedArea, ClosedVolume,
    /// Sphericity, SurfaceToVolume, Surface, Parts, Euler, Genus, EquivRadius, Axis1 to Axis3, PathLength, in world
    /// coordinates; with errors VolumeError, AreaError and ClosedAreaError; with the shape Width, Height, Depth,
    /// OrientedBox1 to OrientedBox3, LargestFeret, SmallestFeret, MeanThickness, LargestThickness, SkeletonLength,
    /// Branches and Ends.
    ///
    /// Volume is that of the closed surface where this is sound, else that of the sections.
    static MeasurementTable ofModels(const Stack& stack, Errors errors = Errors::Unknown, Shape shape = Shape::Unknown);
    static MeasurementTable ofModels(const Stack& stack, const std::vector<const Model*>& models,
                                     Errors errors = Errors::Unknown, Shape shape = Shape::Unknown);

    /// A row for each item of the stack, or of the model, slice by slice: Model, Slice, Vertices, Length, DrawnLength,
    /// Area, AverageX, AverageY, Z, in the coordinates of the item's slice.
    static MeasurementTable ofItems(const Stack& stack);
    static MeasurementTable ofItems(const Stack& stack, const Model& model);

    /// A row for each vertex of the model, slice by slice: Slice, X, Y, Z, in the coordinates of its slice.
    static MeasurementTable ofPoints(const Stack& stack, const Model& model);

    /// A row for each slice: Slice, Position, and for each model the number of its contours, or of its points.
    static MeasurementTable ofSlices(const Stack& stack);

    /// A row for each pair of surfaces, or for each pair of the given one and another: First, Second, Surfaces (closed
    /// or open), Least, MeanToSecond, MeanToFirst, Mean, FarthestToSecond, FarthestToFirst, Hausdorff. Tells its
    /// monitors how many pairs are through, and ends with the present one when it is cancelled.
    static MeasurementTable ofDistances(ModelDistances& distances, int surface = -1);

    const std::vector<Column>& getColumns() const { return __columns; }
    int getNumRows() const { return int(__cells.size() / __columns.size()); }

    /// Places of the columns of these names. A name that there is not is left out.
    std::vector<int> find(const std::vector<std::string>& names) const;

    CellKind getKind(int row, int column) const { return cell(row, column).kind; }

    /// A text, or why a measure is missing; empty for numbers.
    const std::string& getText(int row, int column) const { return __texts[cell(row, column).text]; }

    /// A count or a number; for a text of a ranked column its rank.
    double getValue(int row, int column) const { return cell(row, column).value; }

    /// How the number of a cell was come by: by what its column says, or, where that was not to be had, otherwise.
    /// Empty where there is one way only, and for other cells.
    const std::string& getEstimator(int row, int column) const;

    /// What holds of the closed surface of a row's model; null in other tables, and where there is no such surface.
    const SurfaceCertificate* getCertificate(int row) const;

    /// A sentence for each row whose measurement failed: what and why.
    const std::vector<std::string>& getFailures() const { return __failures; }

private:
    struct Cell {
        double value = 0;
        unsigned int text = 0; // place among the texts
        CellKind kind = CellKind::Text;
    };

    struct ItemOnSlice {
        const ModelItem* item;
        int slice;
    };

    struct FailedItem {
        std::size_t row;
        std::string why;
    };

    explicit MeasurementTable(std::vector<Column> columns);

    const Cell& cell(int row, int column) const {
        return __cells[std::size_t(row) * __columns.size() + std::size_t(column)];
    }
    unsigned int addText(const std::string& text);
    void addTextCell(unsigned int text, int rank = 0);
    void addCount(int count);
    void addNumber(double number, unsigned int estimator = 0);
    void addMissing(unsigned int reason);
    void addFailure(const std::string& what, const std::string& why);
    void addModel(const ModelMorphometry& morphometry);
    void addVolumes(const ModelMorphometry& morphometry, unsigned int reason);
    void addSurface(const ModelMorphometry& morphometry, unsigned int reason);
    void addErrors(const ModelMorphometry& morphometry);
    void addShape(const ModelMorphometry& morphometry);
    void addPoints(const ModelItemGeometry& geometry, unsigned int slice, int rank);
    void addDistances(const ModelDistances& distances, int first, int second);

    std::vector<FailedItem> setItems(const std::vector<ItemOnSlice>& items, const std::vector<double>& positions);
    void setItemNames(const std::vector<ItemOnSlice>& items, const Stack& stack);
    void setItem(std::size_t row, const ModelItemGeometry& geometry);
    void failItem(const FailedItem& failed, const std::string& slice);
    unsigned int noteFailure(const std::string& what, const std::string& why);
    template <class Includes>
    static MeasurementTable ofItemsThat(const Stack& stack, const Includes& includes);

    std::vector<Column> __columns;
    std::vector<Cell> __cells; // row by row
    std::vector<std::string> __texts;
    std::vector<std::string> __failures;
    std::vector<SurfaceCertificate> __certificates; // of the rows, of models alone
};

} // namespace vorlen
