import QtQuick
import Veltrane.Flow

// What every screen has: the background, the navigation bar, the way out by keyboard.
FocusScope {
    id: frame

    default property alias body: bodyArea.data
    required property ScreenItem view

    function step(by) {
        if (bodyArea.activeFocus) {
            if (!frame.stepInBody(by, false) && !frame.stepInBar(by))
                frame.stepInBody(by, true);
        } else if (!frame.stepInBar(by) && !frame.stepInBody(by, true)) {
            frame.stepInBar(by);
        }
    }
    function stepInBar(by) {
        return bar.visible && bar.step(by);
    }

    // Moves the keyboard within the body; false when it has passed its end. Screens say how.
    function stepInBody(by, entering) {
        return false;
    }

    focus: true

    Keys.onBackPressed: frame.view.canGoBack ? frame.view.back() : frame.view.cancel()
    Keys.onBacktabPressed: frame.step(-1)
    Keys.onEscapePressed: frame.view.cancel()
    Keys.onTabPressed: frame.step(1)

    Rectangle {
        anchors.fill: parent
        color: frame.view.palette.background
    }
    FocusScope {
        id: bodyArea
        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: bar.visible ? bar.bottom : parent.top
        focus: true
    }
    NavigationBar {
        id: bar
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        view: frame.view
        visible: !frame.view.barHidden
    }
}
