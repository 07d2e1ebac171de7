import QtQuick
import Veltrane.Flow

// What every row has: its place in the column and the stops that the keyboard finds in it.
FocusScope {
    id: row

    default property alias content: column.data
    property real gapAbove: 0
    required property int index
    readonly property bool ringVisible: row.screen.stage.keyboardInUse
    required property ListScreenItem screen
    // In the order of Tab.
    property list<Item> stops
    readonly property real textScale: row.screen.stage.textScale

    function points(size) {
        return Math.round(size * row.textScale);
    }
    // False when the keyboard has passed the row's last stop.
    function step(by) {
        let at = 0;
        while (at < row.stops.length && !row.stops[at].activeFocus)
            ++at;
        const next = at + by;
        if (next < 0 || next >= row.stops.length)
            return false;
        row.stops[next].forceActiveFocus(by > 0 ? Qt.TabFocusReason : Qt.BacktabFocusReason);
        return true;
    }
    // Puts the keyboard on the first stop, or the last one when it comes from below.
    function takeFocus(by) {
        if (row.stops.length === 0)
            return false;
        const stop = row.stops[by > 0 ? 0 : row.stops.length - 1];
        stop.forceActiveFocus(by > 0 ? Qt.TabFocusReason : Qt.BacktabFocusReason);
        return true;
    }

    height: row.implicitHeight
    implicitHeight: row.gapAbove + column.childrenRect.height
    width: ListView.view ? ListView.view.width : 0

    onActiveFocusChanged: if (row.activeFocus && row.ListView.view)
        row.ListView.view.currentIndex = row.index

    Item {
        id: column

        readonly property real room: row.width - row.screen.marginLeft - row.screen.marginRight

        height: column.childrenRect.height
        width: Math.max(0, Math.min(480, column.room))
        x: row.screen.marginLeft + (column.room - column.width) / 2
        y: row.gapAbove
    }
}
