import QtQuick
import Veltrane.Flow
import Veltrane.HandOver

// A vendor's page under our bar, whose "Cancel" is always in reach.
ScreenFrame {
    id: screen

    readonly property SheetItem sheet: (screen.view as HandOverItem).body as SheetItem
    readonly property FlowStage stage: screen.view.stage
    readonly property bool troubled: screen.sheet.state === SheetItem.Trouble

    function stepInBody(by, entering) {
        if (screen.troubled)
            return trouble.step(by, entering);
        if (!entering || !browser.item)
            return false;
        browser.item.forceActiveFocus(by > 0 ? Qt.TabFocusReason : Qt.BacktabFocusReason);
        return true;
    }

    objectName: "webHandOver"

    onTroubledChanged: if (screen.troubled)
        trouble.take()

    BrowserSlot {
        id: browser
        anchors.fill: parent
        focus: !screen.troubled
        sheet: screen.sheet
        textScale: screen.stage.textScale
    }
    // Over the page until it has come; a page that is hidden would not get ready.
    Rectangle {
        anchors.fill: parent
        color: screen.view.palette.background
        visible: screen.sheet.state !== SheetItem.Shown

        MouseArea {
            anchors.fill: parent
        }
        Column {
            anchors.centerIn: parent
            objectName: "webLoading"
            spacing: 20
            visible: screen.sheet.state === SheetItem.Loading
            width: Math.max(0, Math.min(parent.width - 40, 480))

            Spinner {
                Accessible.ignored: true
                anchors.horizontalCenter: parent.horizontalCenter
                color: screen.view.palette.muted
                running: parent.visible && !screen.stage.still
            }
            Text {
                Accessible.name: text
                Accessible.role: Accessible.StaticText
                color: screen.view.palette.muted
                font.pixelSize: Math.round(17 * screen.stage.textScale)
                horizontalAlignment: Text.AlignHCenter
                text: qsTranslate("Veltrane.Flow", "Please wait")
                width: parent.width
                wrapMode: Text.Wrap
            }
        }
        WebTrouble {
            id: trouble
            anchors.fill: parent
            sheet: screen.sheet
            view: screen.view
            visible: screen.troubled
        }
    }
}
