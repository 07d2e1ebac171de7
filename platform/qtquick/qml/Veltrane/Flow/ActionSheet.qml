import QtQuick
import QtQuick.Controls.Basic
import Veltrane.Flow

// Actions at the foot of the screen; a long list scrolls. Arrows and Tab move through it.
FocusScope {
    id: sheet

    // How far the sheet has come in, from 0 to 1.
    readonly property real progress: sheet.view.presence
    required property AlertItem view

    // An action, brought into view: for programs that act as a user.
    function actionAt(index) {
        choices.positionViewAtIndex(index, ListView.Contain);
        return choices.itemAtIndex(index);
    }
    function step(by) {
        const at = dismiss.activeFocus ? choices.count : choices.currentIndex;
        const stops = choices.count + 1;
        const next = (at + by + stops) % stops;
        if (next === choices.count) {
            dismiss.forceActiveFocus(Qt.TabFocusReason);
        } else {
            choices.currentIndex = next;
            choices.positionViewAtIndex(next, ListView.Contain);
            choices.positionViewAtIndex(next, ListView.Contain);
            choices.forceActiveFocus(Qt.TabFocusReason);
        }
    }

    Accessible.name: sheet.view.title !== "" ? sheet.view.title : qsTranslate("Veltrane.Flow", "Choices")
    Accessible.role: Accessible.Dialog
    focus: true
    objectName: "actionSheet"

    Keys.onBacktabPressed: sheet.step(-1)
    Keys.onDownPressed: sheet.step(1)
    Keys.onTabPressed: sheet.step(1)
    Keys.onUpPressed: sheet.step(-1)

    Column {
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 10
        anchors.horizontalCenter: parent.horizontalCenter
        spacing: 8
        width: Math.min(sheet.width - 20, 480)

        transform: Translate {
            y: (1 - sheet.progress) * 240
        }

        Rectangle {
            antialiasing: true
            color: sheet.view.palette.background
            height: choices.height
            radius: 14
            visible: choices.count > 0
            width: parent.width

            ListView {
                id: choices
                boundsBehavior: Flickable.StopAtBounds
                clip: true
                currentIndex: 0
                focus: choices.count > 0
                height: Math.min(choices.contentHeight, sheet.height - dismiss.height - 60)
                highlightMoveDuration: 0
                keyNavigationEnabled: false
                model: sheet.view.actions
                objectName: "choices"
                width: parent.width

                ScrollBar.vertical: ScrollBar {
                }
                delegate: AlertAction {
                }
            }
        }
        Rectangle {
            antialiasing: true
            color: sheet.view.palette.background
            height: dismiss.implicitHeight
            radius: 14
            visible: sheet.view.cancelTitle !== ""
            width: parent.width

            AlertAction {
                id: dismiss
                anchors.fill: parent
                closes: true
                focus: choices.count === 0
                lined: false
                number: 0
                title: sheet.view.cancelTitle
                view: sheet.view
            }
        }
    }
}
