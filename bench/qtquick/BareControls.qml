import QtQuick
import QtQuick.Controls.Basic

ApplicationWindow {
    height: 844
    title: "Sign in"
    visible: true
    width: 390

    ListView {
        anchors.fill: parent
        model: 1

        delegate: Column {
            Label {
                text: "Sign in"
            }
            TextField {
                placeholderText: "User name"
            }
            Switch {
                text: "Stay signed in"
            }
            Button {
                text: "Continue"
            }
        }
    }
}
