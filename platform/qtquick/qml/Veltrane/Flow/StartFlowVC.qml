import QtQuick
import Veltrane.Flow

// Waiting for the flow.
ScreenFrame {
    id: screen

    readonly property StartScreenItem start: screen.view as StartScreenItem

    function stepInBody(by, entering) {
        if (!retry.visible || (retry.activeFocus && !entering))
            return false;
        retry.forceActiveFocus(by > 0 ? Qt.TabFocusReason : Qt.BacktabFocusReason);
        return true;
    }
    function retryIfOffered() {
        if (retry.visible)
            screen.start.retry();
    }

    Keys.onEnterPressed: screen.retryIfOffered()
    Keys.onReturnPressed: screen.retryIfOffered()

    Column {
        anchors.centerIn: parent
        spacing: 20
        width: Math.min(parent.width - 40, 320)

        Spinner {
            anchors.horizontalCenter: parent.horizontalCenter
            color: screen.view.palette.muted
            running: screen.start.spinning
            visible: screen.start.spinning
        }
        Text {
            id: label
            Accessible.name: label.text
            Accessible.role: Accessible.StaticText
            color: screen.view.palette.muted
            font.pixelSize: Math.round(17 * screen.view.stage.textScale)
            horizontalAlignment: Text.AlignHCenter
            objectName: "startLabel"
            text: screen.start.text
            textFormat: Text.PlainText
            width: parent.width
            wrapMode: Text.Wrap
        }
        FlowButton {
            id: retry
            fill: screen.view.palette.accent
            ink: screen.view.palette.onAccent
            objectName: "retryButton"
            ringColor: screen.view.palette.focus
            ringVisible: retry.activeFocus && screen.view.stage.keyboardInUse
            text: qsTranslate("Veltrane.Flow", "Retry")
            textScale: screen.view.stage.textScale
            visible: screen.start.retryVisible
            width: parent.width

            onClicked: screen.start.retry()
        }
    }
}
