#pragma once

#include <string>
#include <vector>

#include "editing/operations/outcome.h"
#include "registration/elasticfield.h"

namespace vorlen {

class ProgressSubject;
class Stack;

/// How sections that are squeezed or torn are bent onto their neighbours.
struct ElasticOptions {
    double spacing = 32;  ///< distance of the nodes, in working pixels
    double reach = 32;    ///< how far a piece of a section may lie off, in working pixels
    double stiffness = 1; ///< of the sections, against what their images say
    int first = 0;        ///< places of the first and the last slice that may be bent; -1: the last of the stack
    int last = -1;
    std::vector<int> locked; ///< places of slices that stay as they are
};

/// What became of one slice.
struct SliceBending {
    std::string name;
    bool bent = false;
    std::string reason;                     ///< in words, why it was left as it is
    int numBlocks = 0;                      ///< blocks of it that were found on the slices before it
    double rms = 0, greatest = 0;           ///< ways of its nodes, in pixels of the image
    double scoreBefore = 0, scoreAfter = 0; ///< correlation with the slice before it; 0 for the first
};

/// What was found about a stack: a field for each slice, null where the slice stays as it is.
struct ElasticAlignment {
    std::vector<ElasticField> fields;
    std::vector<SliceBending> slices;
    bool cancelled = false; ///< then all fields are null
};

/// Looks how the slices of a registered stack are to be bent so that they fit each other: blocks of each are looked for
/// on the two slices before it, from coarse to fine, and all slices, as elastic sheets, come to rest together. The
/// stack and its registrations stay as they are.
///
/// A slice whose image can't be read, that is folded by what was found, or that would fit the slice before it less than
/// it did, is left as it is and named, and the others come to rest without it. Throws UsageError for options that
/// checkElasticOptions() refuses.
ElasticAlignment findElasticAlignment(const Stack& stack, const ElasticOptions& options, ProgressSubject& progress);

/// Refused are fewer than two slices, slices that there are not, and values that are not above 0 or beyond reason:
/// spacing from 8 to 512, reach from 2 to 128, stiffness from 0.001 to 1000.
Outcome checkElasticOptions(const Stack& stack, const ElasticOptions& options);

/// Makes the bent stack of a stack that was given up for it: images of bent slices are resampled once (cubic
/// convolution) into new TIFF files named BASE-0001.tif and so on in the folder, and become those of the slices;
/// outlines go along, by their vertices. Names, sizes, registrations and all else stay. Images with a palette become
/// those of its colours; what comes from beyond the old image is black.
///
/// Nothing of the stack is changed when it is refused: for another number of fields than slices, a folded field, or a
/// file that exists and must stay. Throws what reading and writing images throws; new files are then removed again, and
/// the stack is as it was. When cancelled the same, and refused.
Outcome bendStack(Stack& stack, const std::vector<ElasticField>& fields, const std::string& folder,
                  const std::string& base, bool overwrite, ProgressSubject& progress);

/// The fields as text, a line for each slice and for each row of nodes, by which outlines drawn later on the old stack
/// are carried over too. Written as a whole or not at all; throws FileWriteError.
void saveElasticFields(const std::string& fileName, const Stack& stack, const std::vector<ElasticField>& fields,
                       bool overwrite);

/// The fields of this file for the slices of a stack, by their names; slices that it does not name get none. Throws
/// FileReadError for a file that can't be read, is no such file, or is cut off.
std::vector<ElasticField> loadElasticFields(const std::string& fileName, const Stack& stack);

} // namespace vorlen
