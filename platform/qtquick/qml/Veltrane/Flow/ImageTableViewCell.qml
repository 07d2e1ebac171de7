import QtQuick
import Veltrane.Flow

// A picture. Its room is there before it has arrived, so that nothing jumps.
FlowRow {
    id: row

    required property ImageCell cell
    readonly property bool code: row.cell.picture.code

    ListView.onPooled: display.shown = false
    ListView.onReused: display.shown = true

    CellDisplay {
        id: display
        cell: row.cell
    }
    Item {
        height: row.cell.height
        visible: row.cell.height > 0
        width: parent.width

        // What reads a code needs white around it, whatever the colours of the screen.
        Rectangle {
            antialiasing: true
            border.color: row.screen.palette.line
            border.width: 1
            color: "white"
            height: view.drawn.height + 2 * view.quiet
            objectName: "paper"
            radius: 8
            visible: row.code
            width: view.drawn.width + 2 * view.quiet
            x: view.x + view.drawn.x - view.quiet
            y: view.y + view.drawn.y - view.quiet
        }
        FadingPicture {
            id: view

            readonly property real quiet: row.code ? Math.min(12, parent.height / 16) : 0

            Accessible.ignored: !view.picture.here
            Accessible.name: row.code ? qsTranslate("Veltrane.Flow", "Code to scan") : qsTranslate("Veltrane.Flow", "Picture")
            Accessible.role: Accessible.Graphic
            anchors.fill: parent
            anchors.margins: view.quiet
            moves: !row.screen.stage.still && !row.screen.stage.reducedMotion
            objectName: "picture"
            picture: row.cell.picture
        }
    }
}
