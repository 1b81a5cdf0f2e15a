#pragma once

#include <string>
#include <vector>

namespace vorlen {

/// How much memory a command takes for a stack, from above, in bytes: so many for each byte of its description, for
/// each pixel of its greatest section, and for itself.
///
/// The numbers were measured on stacks of 20 to 2,000 sections with up to 400 outlines of some thousand vertices, with
/// about half as much again; docs/cluster.md has a table. What depends on the forms of surfaces may take more in a rare
/// stack, which is why jobs of a study that run out are tried again with more.
struct MemoryNeed {
    double ofDescription = 8;
    double ofPixel = 0;
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
