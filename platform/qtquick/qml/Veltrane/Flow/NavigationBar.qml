import QtQuick
import Veltrane.Flow

// Title in the middle, back at the leading edge, cancel at the trailing one.
Rectangle {
    id: bar

    readonly property real side: Math.max(cancel.width, back.visible ? back.width : 0) + 8
    // A title too wide for the space between the words gets a line of its own.
    readonly property bool tall: metrics.advanceWidth > bar.width - 2 * bar.side - 8
    required property ScreenItem view

    // Moves the keyboard through the words; false once it has left the bar.
    function step(by) {
        const first = back.visible ? back : cancel;
        let next = null;
        if (!back.activeFocus && !cancel.activeFocus)
            next = by > 0 ? first : cancel;
        else if (back.visible && back.activeFocus === (by > 0))
            next = by > 0 ? cancel : back;
        if (next === null)
            return false;
        next.forceActiveFocus(by > 0 ? Qt.TabFocusReason : Qt.BacktabFocusReason);
        return true;
    }

    color: bar.view.palette.barBackground
    implicitHeight: bar.tall ? words.height + title.implicitHeight + 12 : words.height

    TextMetrics {
        id: metrics
        font: title.font
        text: title.text
    }
    Item {
        id: words
        anchors.left: parent.left
        anchors.right: parent.right
        height: Math.max(52, cancel.implicitHeight + 8)

        BarButton {
            id: back
            anchors.left: parent.left
            anchors.leftMargin: 8
            anchors.verticalCenter: parent.verticalCenter
            arrow: true
            objectName: "backButton"
            text: qsTranslate("Veltrane.Flow", "Back")
            view: bar.view
            visible: bar.view.canGoBack

            onClicked: bar.view.back()
        }
        BarButton {
            id: cancel
            anchors.right: parent.right
            anchors.rightMargin: 8
            anchors.verticalCenter: parent.verticalCenter
            objectName: "cancelButton"
            text: qsTranslate("Veltrane.Flow", "Cancel")
            view: bar.view

            onClicked: bar.view.cancel()
        }
    }
    Text {
        id: title
        Accessible.name: title.text
        Accessible.role: Accessible.Heading
        color: bar.view.palette.barTitle
        font.pixelSize: Math.round(17 * bar.view.stage.textScale)
        font.weight: Font.DemiBold
        horizontalAlignment: Text.AlignHCenter
        text: bar.view.title
        textFormat: Text.PlainText
        visible: title.text !== ""
        width: bar.tall ? bar.width - 32 : bar.width - 2 * bar.side
        wrapMode: bar.tall ? Text.Wrap : Text.NoWrap
        x: (bar.width - title.width) / 2
        y: bar.tall ? words.height : (words.height - title.implicitHeight) / 2
    }
    Rectangle {
        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        color: bar.view.palette.barLine
        height: 1
    }
}
