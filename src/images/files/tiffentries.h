#pragma once

#include <string>

namespace vorlen {

/// Whether a TIFF or BigTIFF file may be given to a reader that takes memory by what the file tells: the values of
/// every entry of every directory are at most as long as the file, all together not much longer, and no tile is larger
/// than a picture that is believed. Of what is cut or points behind the end nothing is judged: no reader gets so far,
/// nor does it take memory for it. False for a file that can't be read.
bool hasBelievableEntries(const std::string& filename);

} // namespace vorlen
