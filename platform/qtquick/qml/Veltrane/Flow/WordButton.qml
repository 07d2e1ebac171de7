import QtQuick
import QtQuick.Templates
import Veltrane.Flow

// A word that acts, without a frame of its own.
AbstractButton {
    id: button

    required property color ink
    property real pixels: 16
    required property color ringColor
    required property bool ringVisible
    required property real textScale

    // Of a press, by whatever means.
    signal acted

    Accessible.name: button.text
    Accessible.role: Accessible.Button
    activeFocusOnTab: false
    focusPolicy: Qt.NoFocus
    implicitHeight: Math.max(44, word.implicitHeight + 12)
    implicitWidth: Math.max(44, word.implicitWidth + 16)
    opacity: button.down ? 0.6 : 1

    background: FocusRing {
        anchors.margins: 2
        border.color: button.ringColor
        radius: 8
        visible: button.activeFocus && button.ringVisible
    }
    contentItem: Text {
        id: word
        color: button.ink
        font.pixelSize: Math.round(button.pixels * button.textScale)
        horizontalAlignment: Text.AlignHCenter
        text: button.text
        textFormat: Text.PlainText
        verticalAlignment: Text.AlignVCenter
        wrapMode: Text.Wrap
    }

    Keys.onEnterPressed: event => {
        if (!event.isAutoRepeat)
            button.acted();
    }
    Keys.onReturnPressed: event => {
        if (!event.isAutoRepeat)
            button.acted();
    }
    onClicked: button.acted()
}
