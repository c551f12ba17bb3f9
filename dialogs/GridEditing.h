#pragma once
// Ends the edit of a grid cell that is still open, keeping what was typed, so a button that
// reads the grid sees the text even when the user did not leave the cell first.

class QAbstractItemView;

namespace tesselex {

void CommitOpenEditor(QAbstractItemView& view);

}  // namespace tesselex
