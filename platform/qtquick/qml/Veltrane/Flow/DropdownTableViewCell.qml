import QtQuick
import Veltrane.Flow

FlowRow {
    id: row

    required property DropdownCell cell

    stops: [button]

    Text {
        id: caption
        Accessible.ignored: true
        color: row.cell.captionColor
        font.pixelSize: row.points(14)
        horizontalAlignment: Text.AlignLeft
        text: row.cell.caption
        textFormat: Text.PlainText
        visible: caption.text !== ""
        width: parent.width
        wrapMode: Text.Wrap
    }
    Tappable {
        id: button
        Accessible.description: row.cell.hasChoice ? row.cell.title : ""
        Accessible.name: row.cell.caption !== "" ? row.cell.caption : row.cell.title
        Accessible.role: Accessible.ButtonDropDown
        focus: true
        height: Math.max(48, title.implicitHeight + 24)
        objectName: "dropdown"
        width: parent.width
        y: caption.visible ? caption.height + 6 : 0

        Keys.onEnterPressed: row.cell.open()
        Keys.onReturnPressed: row.cell.open()
        onTapped: row.cell.open()

        Rectangle {
            anchors.fill: parent
            antialiasing: true
            border.color: row.cell.borderColor
            border.width: row.cell.borderWidth
            color: button.down ? row.screen.palette.line : "transparent"
            radius: row.cell.radius
        }
        FocusRing {
            border.color: row.screen.palette.focus
            objectName: "ring"
            radius: row.cell.radius + 4
            visible: button.activeFocus && row.ringVisible
        }
        Text {
            id: title
            anchors.left: parent.left
            anchors.leftMargin: 14
            anchors.right: arrow.left
            anchors.rightMargin: 8
            anchors.verticalCenter: parent.verticalCenter
            color: row.cell.hasChoice ? row.screen.palette.input : row.screen.palette.muted
            font.pixelSize: row.points(16)
            horizontalAlignment: Text.AlignLeft
            text: row.cell.title
            textFormat: Text.PlainText
            wrapMode: Text.Wrap
        }
        Chevron {
            id: arrow
            anchors.right: parent.right
            anchors.rightMargin: 14
            anchors.verticalCenter: parent.verticalCenter
            color: row.screen.palette.input
            size: row.points(10)
            stroke: 1.6 * row.textScale
        }
    }
}
