import QtQuick
import QtQuick.Controls.Basic
import Veltrane.Flow

// The rows of a screen and the keyboard's way through them.
ListView {
    id: list

    required property ListScreenItem screen

    // The control of a row, brought into view: for programs that act as a user.
    function controlAt(index) {
        list.positionViewAtIndex(index, ListView.Contain);
        const row = list.itemAtIndex(index) as FlowRow;
        return row !== null && row.stops.length > 0 ? row.stops[0] : null;
    }

    // Brings the keyboard to the first row, or the last one; false when no row takes it.
    function enter(by) {
        return list.focusRow(list.screen.rows.nextFocusRow(by > 0 ? -1 : list.count, by), by);
    }
    // On opening: the row that waits for the user, if it can be seen without scrolling.
    function focusFirst() {
        if (list.currentIndex >= 0 || !list.screen.active)
            return;
        list.forceLayout();
        let first = list.waitingRow();
        // Elsewhere the keyboard would not be seen until it is in use.
        if (first < 0 && list.screen.stage.keyboardInUse)
            first = list.screen.rows.nextFocusRow(-1, 1);
        const row = list.itemAtIndex(first);
        if (row !== null && row.y + row.height <= list.contentY + list.height)
            list.focusRow(first, 1);
    }
    function focusRow(index, by) {
        if (index < 0)
            return false;
        list.positionViewAtIndex(index, ListView.Contain);
        const row = list.itemAtIndex(index) as FlowRow;
        return row !== null && row.takeFocus(by);
    }
    // Scrolls just so far that the row with the keyboard can be seen, with some room around it.
    function reveal() {
        const row = list.currentItem;
        if (row === null)
            return;
        const least = list.originY - list.topMargin;
        const most = Math.max(least, list.originY + list.contentHeight + list.bottomMargin - list.height);
        const below = row.y + row.height + 16 - list.height;
        const above = row.y - 12;
        if (list.contentY < below)
            list.contentY = Math.min(below, most);
        if (list.contentY > above)
            list.contentY = Math.max(above, least);
    }
    function step(by) {
        const row = list.currentItem as FlowRow;
        if (row !== null && row.activeFocus && row.step(by))
            return true;
        return list.focusRow(list.screen.rows.nextFocusRow(list.currentIndex, by), by);
    }
    // The row that a keyboard on the screen should open for; -1: none. Lists say which.
    function waitingRow() {
        return -1;
    }

    bottomMargin: list.screen.marginBottom
    boundsBehavior: Flickable.StopAtBounds
    currentIndex: -1
    highlightFollowsCurrentItem: false
    keyNavigationEnabled: false
    model: list.screen.rows
    reuseItems: true
    topMargin: list.screen.marginTop

    onCountChanged: opening.restart()
    // A keyboard on the screen takes its part of the height: the field stays in view above it.
    onCurrentItemChanged: list.reveal()
    onHeightChanged: list.reveal()

    // Not for the first frame, which nobody scrolls.
    Timer {
        interval: 250
        running: true

        onTriggered: list.ScrollBar.vertical = scrollBar.createObject(list)
    }
    Component {
        id: scrollBar

        ScrollBar {
        }
    }
    // Once the rows have been laid out.
    Timer {
        id: opening
        interval: 0

        onTriggered: list.focusFirst()
    }
    Connections {
        function onPhaseChanged() {
            opening.restart();
        }

        target: list.screen
    }
}
