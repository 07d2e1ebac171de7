import QtQuick
import Veltrane.Flow

// A method: icon, title and what it is. The whole row takes the tap.
FlowRow {
    id: row

    required property MethodCell cell
    readonly property MethodScreenItem methods: row.screen as MethodScreenItem
    readonly property bool mirrored: row.screen.stage.mirrored

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

        readonly property bool ringed: method.activeFocus && row.ringVisible
        // Worked out, not anchored: a text whose width changes is laid out again.
        readonly property real wordsHeight: title.height + (row.cell.subTitle !== "" ? 2 + subTitle.height : 0)
        readonly property real wordsWidth: Math.max(0, method.width - 40 - 14 - 12 - arrow.implicitWidth)
        readonly property real wordsX: row.mirrored ? arrow.implicitWidth + 12 : 40 + 14

        Accessible.name: row.cell.subTitle !== "" ? row.cell.title + ", " + row.cell.subTitle : row.cell.title
        Accessible.role: Accessible.Button
        focus: true
        height: Math.max(40, method.wordsHeight) + 28
        objectName: "method"
        width: parent.width

        Keys.onEnterPressed: row.methods.choose(row.index)
        Keys.onReturnPressed: row.methods.choose(row.index)
        onTapped: row.methods.choose(row.index)

        // Shows a press, and where the keyboard is.
        Rectangle {
            anchors.bottomMargin: 2
            anchors.fill: parent
            anchors.leftMargin: -10
            anchors.rightMargin: -10
            anchors.topMargin: 2
            antialiasing: true
            border.color: row.screen.palette.focus
            border.width: method.ringed ? 2 : 0
            color: method.down ? Qt.alpha(row.screen.palette.line, 0.45) : "transparent"
            objectName: method.ringed ? "ring" : "pressed"
            radius: 10
            visible: method.ringed || method.down
        }
        Rectangle {
            id: tile
            anchors.left: parent.left
            anchors.verticalCenter: parent.verticalCenter
            antialiasing: true
            color: Qt.alpha(row.screen.palette.line, 0.28)
            height: 40
            objectName: "tile"
            radius: 10
            width: 40

            PictureView {
                anchors.fill: parent
                objectName: "icon"
                picture: row.cell.icon
                radius: 10
            }
        }
        Text {
            id: title
            Accessible.ignored: true
            color: row.cell.titleColor
            font.pixelSize: row.points(17)
            font.weight: Font.DemiBold
            horizontalAlignment: Text.AlignLeft
            objectName: "title"
            text: row.cell.title
            textFormat: Text.PlainText
            width: method.wordsWidth
            wrapMode: Text.Wrap
            x: method.wordsX
            y: (method.height - method.wordsHeight) / 2
        }
        Text {
            id: subTitle
            Accessible.ignored: true
            color: row.cell.subTitleColor
            font.pixelSize: row.points(14)
            horizontalAlignment: Text.AlignLeft
            objectName: "subTitle"
            text: row.cell.subTitle
            textFormat: Text.PlainText
            width: method.wordsWidth
            wrapMode: Text.Wrap
            x: method.wordsX
            y: title.y + title.height + 2
        }
        Chevron {
            id: arrow
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            color: row.screen.palette.muted
            direction: row.mirrored ? Chevron.Left : Chevron.Right
            objectName: "arrow"
            size: row.points(10)
            stroke: 1.6 * row.textScale
        }
        Rectangle {
            anchors.bottom: parent.bottom
            color: row.screen.palette.line
            height: 1
            visible: !method.last && !method.down
            width: parent.width
        }
    }
}
