#include "dialogs/GridEditing.h"

#include <QAbstractItemView>

namespace tesselex {

void CommitOpenEditor(QAbstractItemView& view) {
    // Moving the current cell commits and closes the editor of the cell it leaves.
    const QModelIndex current = view.currentIndex();
    view.setCurrentIndex(QModelIndex());
    view.setCurrentIndex(current);
}

}  // namespace tesselex
