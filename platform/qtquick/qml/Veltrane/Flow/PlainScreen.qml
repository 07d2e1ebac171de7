import QtQuick
import Veltrane.Flow

// A screen that this front end has no view for: the user can still leave.
ScreenFrame {
    id: screen
    Text {
        Accessible.name: text
        Accessible.role: Accessible.StaticText
        anchors.centerIn: parent
        color: screen.view.palette.input
        font.pixelSize: Math.round(17 * screen.view.stage.textScale)
        horizontalAlignment: Text.AlignHCenter
        text: qsTranslate("Veltrane.Flow", "This step cannot be shown on this device.")
        width: Math.min(parent.width - 40, 480)
        wrapMode: Text.Wrap
    }
}
