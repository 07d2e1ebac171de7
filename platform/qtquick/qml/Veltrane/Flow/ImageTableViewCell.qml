import QtQuick
import Veltrane.Flow

// Keeps the room that the document gives the picture.
FlowRow {
    id: row

    required property ImageCell cell

    Item {
        height: row.cell.height
        width: parent.width
    }
}
