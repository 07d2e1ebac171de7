import QtQuick
import Veltrane.Flow

// The list of methods, or a word that there are none.
ScreenFrame {
    id: screen

    readonly property MethodScreenItem methods: screen.view as MethodScreenItem

    function stepInBody(by, entering) {
        return (entering || list.currentIndex < 0) && list.enterOnce(by);
    }

    MethodList {
        id: list
        anchors.fill: parent
        focus: true
        objectName: "rows"
        screen: screen.methods
    }
    Text {
        Accessible.name: text
        Accessible.role: Accessible.StaticText
        anchors.centerIn: parent
        color: screen.view.palette.muted
        font.pixelSize: Math.round(17 * screen.view.stage.textScale)
        horizontalAlignment: Text.AlignHCenter
        objectName: "emptyLabel"
        text: screen.methods.emptyText
        textFormat: Text.PlainText
        visible: text !== ""
        width: Math.min(parent.width - 40, 320)
        wrapMode: Text.Wrap
    }
}
