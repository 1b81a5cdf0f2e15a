#pragma once

#include "values/imagesource.h"

#include <memory>
#include <string>
#include <vector>

namespace vorlen {

struct ImageSourceKind;

/// Stands for an image that can't be had at present: keeps the statements that name it, so that a save loses nothing,
/// and its size, as far as somebody has told it.
///
/// It names no image, isDefined() is false, and reading it throws FileReadError with the reason. Statements that follow
/// are kept, whether the source that it stands for would take them or not.
class ImageSourcePlaceholder : public ImageSource {
public:
    /// In place of the source that this statement makes; the reason is a clause such as "Cannot open file".
    ImageSourcePlaceholder(const ImageStatement& statement, const std::string& reason);
    /// In place of a source that can't take its further statements any more.
    ImageSourcePlaceholder(const ImageSource& source, const std::string& reason);

    ImageSourcePlaceholder* clone() const override;
    int getType() const override;
    bool isDefined() const override;
    /// Height and width as they were set, 0 when they are not known.
    int getSize1() const override;
    int getSize2() const override;
    int getDepth() const override;
    const Colormap* getColormap() const override;
    /// The first file of the image, or the keyword.
    std::string getName() const override;
    void read(ImageReader& reader, Image& image) const override;
    ImageStatement getStatement() const override;
    std::vector<ImageStatement> getFurtherStatements() const override;
    bool addStatement(const ImageStatement& statement) override;

    void setSize1(int height) { __height = height; }
    void setSize2(int width) { __width = width; }
    /// Whether both sides are known.
    bool hasSize() const { return __height > 0 && __width > 0; }
    const std::string& getReason() const { return __reason; }

    /// The source that this one stands for, its files looked for in this directory, or in their own for an empty name.
    /// Throws what the reading of a header throws, and ValueError when no kind takes the statements.
    std::unique_ptr<ImageSource> resolve(const std::vector<ImageSourceKind>& kinds, const std::string& directory) const;

private:
    ImageStatement __statement;
    std::vector<ImageStatement> __further;
    std::string __reason;
    int __height = 0;
    int __width = 0;
};

} // namespace vorlen
