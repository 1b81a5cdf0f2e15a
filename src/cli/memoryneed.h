#pragma once

#include <string>
#include <vector>

namespace vorlen {

/// About how much memory a command takes for a stack, in bytes: so many for each byte of its description, for each
/// pixel of its greatest section, for each vertex of its greatest mesh, and for itself.
///
/// The numbers of info, check and measure were measured on stacks of four sizes, those of register, normalize and
/// render are from the table of docs/cluster.md, with about half as much again; those of the others are estimates. What
/// depends on the forms of surfaces may take more, which is why jobs of a study that run out are tried again with more.
struct MemoryNeed {
    double ofDescription = 8;
    double ofPixel = 0;
    double ofMeshVertex = 0; ///< of the greatest mesh of rows and columns that a model asks for
    double own = 40. * (1 << 20);
    bool together = false; ///< all stacks are held at once
};

/// Bytes as text, in whole MiB, or in GiB from 1000 of them on.
std::string memoryText(double bytes);

/// Tells for --dry-run what each stack takes, or all together, from their descriptions alone. The exit status; a stack
/// that can't be read is told of.
int tellMemory(const std::vector<std::string>& files, const MemoryNeed& need);

/// The same for files that are no stacks: so many bytes for each of theirs.
int tellMemoryOfFiles(const std::vector<std::string>& files, double ofByte);

} // namespace vorlen
