import QtQuick
import Veltrane.Flow

// Methods to choose from: one stop for Tab, within it the arrows move.
RowList {
    id: methods

    // Where the user was, or the first row.
    function enterOnce(by) {
        return methods.currentIndex >= 0 ? methods.focusRow(methods.currentIndex, by) : methods.enter(1);
    }

    Accessible.role: Accessible.List
    topMargin: methods.screen.marginTop - 2

    delegate: MFATableViewCell {
    }

    Keys.onDownPressed: methods.step(1)
    Keys.onUpPressed: methods.step(-1)
}
