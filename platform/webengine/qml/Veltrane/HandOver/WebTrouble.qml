import QtQuick
import Veltrane.Flow
import Veltrane.HandOver

// What stands in the way of the vendor's page, and what can be done.
FocusScope {
    id: trouble

    required property SheetItem sheet
    readonly property real textScale: trouble.view.stage.textScale
    required property ScreenItem view

    function step(by, entering) {
        const first = trouble.sheet.canTryAgain ? again : close;
        let next = null;
        if (!again.activeFocus && !close.activeFocus)
            next = by > 0 ? first : close;
        else if (!entering && first.activeFocus === (by > 0))
            next = by > 0 ? close : first;
        if (next === null || next.activeFocus)
            return false;
        next.forceActiveFocus(by > 0 ? Qt.TabFocusReason : Qt.BacktabFocusReason);
        return true;
    }
    function take() {
        (trouble.sheet.canTryAgain ? again : close).forceActiveFocus();
    }

    Accessible.name: message.text
    Accessible.role: Accessible.AlertMessage

    Flickable {
        anchors.fill: parent
        boundsBehavior: Flickable.StopAtBounds
        contentHeight: Math.max(height, column.height + 40)

        Column {
            id: column
            anchors.centerIn: parent
            spacing: 24
            width: Math.max(0, Math.min(parent.width - 40, 480))

            Text {
                id: message
                Accessible.name: message.text
                Accessible.role: Accessible.StaticText
                color: trouble.view.palette.input
                font.pixelSize: Math.round(17 * trouble.textScale)
                horizontalAlignment: Text.AlignHCenter
                objectName: "webTrouble"
                text: trouble.sheet.message
                textFormat: Text.PlainText
                width: parent.width
                wrapMode: Text.Wrap
            }
            FlowButton {
                id: again
                fill: trouble.view.palette.accent
                ink: trouble.view.palette.onAccent
                objectName: "webTryAgain"
                ringColor: trouble.view.palette.focus
                ringVisible: again.activeFocus && trouble.view.stage.keyboardInUse
                text: qsTranslate("Veltrane.Flow", "Try again")
                textScale: trouble.textScale
                visible: trouble.sheet.canTryAgain
                width: parent.width

                Keys.onEnterPressed: again.clicked()
                Keys.onReturnPressed: again.clicked()
                onClicked: trouble.sheet.tryAgain()
            }
            WordButton {
                id: close
                anchors.horizontalCenter: parent.horizontalCenter
                ink: trouble.view.palette.link
                objectName: "webClose"
                ringColor: trouble.view.palette.focus
                ringVisible: trouble.view.stage.keyboardInUse
                text: qsTranslate("Veltrane.Flow", "Close")
                textScale: trouble.textScale

                onActed: trouble.sheet.close()
            }
        }
    }
}
