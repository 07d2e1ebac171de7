import QtQuick
import Veltrane.Flow

// A message box. The keyboard stays on its actions.
FocusScope {
    id: box

    readonly property real textScale: box.view.stage.textScale
    required property AlertItem view

    function step(by) {
        let at = 0;
        while (at < actions.count && !(actions.itemAt(at) as AlertAction).activeFocus)
            ++at;
        const next = (at + by + actions.count) % actions.count;
        actions.itemAt(next).forceActiveFocus(Qt.TabFocusReason);
    }

    Accessible.description: box.view.title !== "" ? box.view.message : ""
    Accessible.name: box.view.title !== "" ? box.view.title : box.view.message
    Accessible.role: Accessible.AlertMessage
    focus: true

    Component.onCompleted: if (actions.count > 0)
        actions.itemAt(actions.count - 1).focus = true
    Keys.onBacktabPressed: box.step(-1)
    Keys.onTabPressed: box.step(1)

    Rectangle {
        anchors.centerIn: parent
        antialiasing: true
        color: box.view.palette.background
        height: texts.height + buttons.height
        objectName: "alertBox"
        radius: 14
        width: Math.min(box.width - 40, Math.round(280 * Math.min(1.5, box.textScale)))

        MouseArea {
            anchors.fill: parent
        }
        Flickable {
            id: texts
            boundsBehavior: Flickable.StopAtBounds
            clip: true
            contentHeight: lines.height
            height: Math.min(lines.height, box.height - buttons.height - 40)
            width: parent.width

            Column {
                id: lines
                bottomPadding: 18
                leftPadding: 16
                rightPadding: 16
                spacing: 6
                topPadding: 20
                width: parent.width

                Text {
                    color: box.view.palette.input
                    font.pixelSize: Math.round(17 * box.textScale)
                    font.weight: Font.DemiBold
                    horizontalAlignment: Text.AlignHCenter
                    text: box.view.title
                    textFormat: Text.PlainText
                    visible: text !== ""
                    width: parent.width - 32
                    wrapMode: Text.Wrap
                }
                Text {
                    color: box.view.palette.input
                    font.pixelSize: Math.round(14 * box.textScale)
                    horizontalAlignment: Text.AlignHCenter
                    lineHeight: Math.round(20 * box.textScale)
                    lineHeightMode: Text.FixedHeight
                    objectName: "alertMessage"
                    text: box.view.message
                    textFormat: Text.PlainText
                    visible: text !== ""
                    width: parent.width - 32
                    wrapMode: Text.Wrap
                }
            }
        }
        Column {
            id: buttons
            anchors.top: texts.bottom
            width: parent.width

            Repeater {
                id: actions
                model: box.view.actions

                delegate: AlertAction {
                    lined: true
                }
            }
        }
    }
}
