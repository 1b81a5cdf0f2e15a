#pragma once

#include <memory>
#include <string>
#include <vector>

namespace vorlen {

class ImageSource;
class Model;
class ModelItem;
class Pose;
class Stack;
class StackSlice;
struct ImageSourceKind;

/// The parts of a document as bytes, each by itself: what a part says of itself and all that a save would write of it,
/// at full precision and with what only memory knows, such as a slice that follows the default spacing. Names of other
/// parts are not in it but for the slice of an item, which goes by its place in the stack.
///
/// Equal states have equal bytes. Giving a state to a part throws FileFormatError for bytes that are none, and the part
/// is then as it was.
namespace partstates {

/// Without what is drawn: name, note, unit, spacing, the slices last worked on.
std::string ofStack(const Stack& stack);
void give(const std::string& state, Stack& stack);

/// Of a slice without its image, and of its image alone: statements with absolute file names.
std::string ofSlice(const StackSlice& slice);
void give(const std::string& state, StackSlice& slice);
std::string ofImage(const StackSlice& slice);

/// The image of such statements, or a placeholder for one that can't be had at present; null for none.
std::unique_ptr<ImageSource> makeImage(const std::string& state, const std::vector<ImageSourceKind>& kinds);

/// Without its items.
std::string ofModel(const Model& model);
void give(const std::string& state, Model& model);

/// With the place of its slice in the stack that the item is in.
std::string ofItem(const ModelItem& item, const Stack& stack);
/// The slice is one of these and is set; without them it stays as it is. No list is touched, and nothing is selected.
void give(const std::string& state, ModelItem& item, const std::vector<StackSlice*>* slices);

std::string ofPose(const Pose& pose);
void give(const std::string& state, Pose& pose);

} // namespace partstates

} // namespace vorlen
