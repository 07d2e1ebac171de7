import QtQuick
import Veltrane.Flow

// A method: icon, title and what it is. The whole row takes the tap.
FlowRow {
    id: row

    required property MethodCell cell
    readonly property MethodScreenItem methods: row.screen as MethodScreenItem

    stops: [method]

    ListView.onPooled: display.shown = false
    ListView.onReused: display.shown = true

    CellDisplay {
        id: display
        cell: row.cell
    }
    Tappable {
        id: method

        readonly property bool last: row.ListView.view !== null && row.index === row.ListView.view.count - 1

        Accessible.name: row.cell.subTitle !== "" ? row.cell.title + ", " + row.cell.subTitle : row.cell.title
        Accessible.role: Accessible.Button
        focus: true
        height: Math.max(tile.height, words.height) + 28
        objectName: "method"
        width: parent.width

        Keys.onEnterPressed: row.methods.choose(row.index)
        Keys.onReturnPressed: row.methods.choose(row.index)
        onTapped: row.methods.choose(row.index)

        Rectangle {
            anchors.fill: parent
            anchors.leftMargin: -10
            anchors.rightMargin: -10
            antialiasing: true
            color: row.screen.palette.line
            objectName: "pressed"
            opacity: 0.45
            radius: 10
            visible: method.down
        }
        Item {
            id: tile
            anchors.left: parent.left
            anchors.verticalCenter: parent.verticalCenter
            height: 40
            objectName: "tile"
            width: 40

            Rectangle {
                anchors.fill: parent
                antialiasing: true
                color: row.screen.palette.line
                opacity: 0.28
                radius: 10
            }
            FadingPicture {
                anchors.fill: parent
                moves: !row.screen.stage.still && !row.screen.stage.reducedMotion
                objectName: "icon"
                picture: row.cell.icon
                radius: 10
            }
        }
        Column {
            id: words
            anchors.left: tile.right
            anchors.leftMargin: 14
            anchors.right: arrow.left
            anchors.rightMargin: 12
            anchors.verticalCenter: parent.verticalCenter
            spacing: 2

            Text {
                Accessible.ignored: true
                color: row.cell.titleColor
                font.pixelSize: row.points(17)
                font.weight: Font.DemiBold
                horizontalAlignment: Text.AlignLeft
                objectName: "title"
                text: row.cell.title
                textFormat: Text.PlainText
                visible: text !== ""
                width: parent.width
                wrapMode: Text.Wrap
            }
            Text {
                Accessible.ignored: true
                color: row.cell.subTitleColor
                font.pixelSize: row.points(14)
                horizontalAlignment: Text.AlignLeft
                objectName: "subTitle"
                text: row.cell.subTitle
                textFormat: Text.PlainText
                visible: text !== ""
                width: parent.width
                wrapMode: Text.Wrap
            }
        }
        Item {
            id: arrow
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            height: row.points(14)
            objectName: "arrow"
            width: row.points(8)

            Chevron {
                anchors.centerIn: parent
                color: row.screen.palette.muted
                rotation: row.screen.stage.mirrored ? 90 : -90
                size: row.points(10)
                stroke: 1.6 * row.textScale
            }
        }
        Rectangle {
            anchors.bottom: parent.bottom
            anchors.left: parent.left
            anchors.right: parent.right
            color: row.screen.palette.line
            height: 1
            visible: !method.last && !method.down
        }
        FocusRing {
            anchors.leftMargin: -10
            anchors.margins: 2
            anchors.rightMargin: -10
            border.color: row.screen.palette.focus
            objectName: "ring"
            radius: 10
            visible: method.activeFocus && row.ringVisible
        }
    }
}
