import QtQuick
import Veltrane.Flow

FlowRow {
    id: row

    required property ButtonCell cell

    gapAbove: 12
    stops: [button]

    FlowButton {
        id: button
        fill: row.cell.background
        focus: true
        ink: row.cell.titleColor
        objectName: "button"
        radius: row.cell.radius
        ringColor: row.screen.palette.focus
        ringVisible: button.activeFocus && row.ringVisible
        text: row.cell.title
        textScale: row.textScale
        waiting: row.screen.busy
        width: parent.width

        Keys.onEnterPressed: button.clicked()
        Keys.onReturnPressed: button.clicked()
        onClicked: if (!button.waiting)
            row.cell.press()
    }
}
