import QtQuick
import Veltrane.Flow

// What every row has: its place in the column and the stops that the keyboard finds in it.
FocusScope {
    id: row

    required property int index
    required property TemplateScreenItem screen
    default property alias content: column.data
    readonly property real textScale: row.screen.stage.textScale
    readonly property bool ringVisible: row.screen.stage.keyboardInUse
    // In the order of Tab.
    property list<Item> stops
    property real gapAbove: 0

    function points(size) {
        return Math.round(size * row.textScale);
    }
    // Puts the keyboard on the first stop, or the last one when it comes from below.
    function takeFocus(by) {
        if (row.stops.length === 0)
            return false;
        const stop = row.stops[by > 0 ? 0 : row.stops.length - 1];
        stop.forceActiveFocus(by > 0 ? Qt.TabFocusReason : Qt.BacktabFocusReason);
        return true;
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

    height: row.implicitHeight
    implicitHeight: row.gapAbove + column.childrenRect.height
    width: ListView.view ? ListView.view.width : 0

    onActiveFocusChanged: {
        const list = row.ListView.view;
        if (!row.activeFocus || list === null)
            return;
        list.currentIndex = row.index;
        list.positionViewAtIndex(row.index, ListView.Contain);
    }

    Item {
        id: column

        readonly property real room: row.width - row.screen.marginLeft - row.screen.marginRight

        height: column.childrenRect.height
        width: Math.max(0, Math.min(480, column.room))
        x: row.screen.marginLeft + (column.room - column.width) / 2
        y: row.gapAbove
    }
}
