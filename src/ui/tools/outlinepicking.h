#pragma once

class QPointF;

namespace vorlen {

class ModelItem;
class ToolHost;

/// The item that a press at the place of the image means: one whose line is within the tolerance, in pixels, else the
/// smallest outline around the place; what is selected goes first. Only what can be touched; null for none.
ModelItem* itemMeantAt(const ToolHost& host, const QPointF& place, double tolerance);

/// Selects the item, all of it, and nothing else of its slice.
void selectAlone(ToolHost& host, ModelItem& item);

} // namespace vorlen
