import QtQuick
import Veltrane.Flow

// An account or a place to pick. The whole row takes the tap.
Tappable {
    id: choice

    required property int index
    required property PasskeyItem item
    required property string modelData
    readonly property bool ringed: choice.activeFocus && choice.item.stage.keyboardInUse

    Accessible.name: choice.modelData
    Accessible.role: Accessible.ListItem
    height: Math.max(56, name.implicitHeight + 24)
    objectName: "passkeyChoice"
    width: ListView.view ? ListView.view.width : 0

    Keys.onEnterPressed: event => {
        if (!event.isAutoRepeat)
            choice.tapped();
    }
    Keys.onReturnPressed: event => {
        if (!event.isAutoRepeat)
            choice.tapped();
    }
    onTapped: choice.item.choose(choice.index)

    Item {
        id: column
        height: parent.height
        opacity: choice.item.busy ? 0.45 : 1
        width: Math.max(0, Math.min(480, choice.width - 40))
        x: (choice.width - width) / 2

        Rectangle {
            anchors.bottomMargin: 2
            anchors.fill: parent
            anchors.leftMargin: -10
            anchors.rightMargin: -10
            anchors.topMargin: 2
            antialiasing: true
            border.color: choice.item.palette.focus
            border.width: choice.ringed ? 2 : 0
            color: choice.down ? Qt.alpha(choice.item.palette.line, 0.45) : "transparent"
            radius: 10
            visible: choice.ringed || choice.down
        }
        Text {
            id: name
            Accessible.ignored: true
            anchors.left: parent.left
            anchors.right: arrow.left
            anchors.rightMargin: 12
            anchors.verticalCenter: parent.verticalCenter
            color: choice.item.palette.input
            font.pixelSize: Math.round(17 * choice.item.stage.textScale)
            horizontalAlignment: Text.AlignLeft
            text: choice.modelData.replace(/[.@]/g, "$&\u200b")
            textFormat: Text.PlainText
            wrapMode: Text.Wrap
        }
        Chevron {
            id: arrow
            anchors.right: parent.right
            anchors.rightMargin: (arrow.height - arrow.width) / 2
            anchors.verticalCenter: parent.verticalCenter
            color: choice.item.palette.muted
            rotation: choice.item.stage.mirrored ? 90 : -90
            size: Math.round(10 * choice.item.stage.textScale)
            stroke: 1.6 * choice.item.stage.textScale
        }
        Rectangle {
            anchors.bottom: parent.bottom
            color: choice.item.palette.line
            height: 1
            visible: !choice.down
            width: parent.width
        }
    }
}
