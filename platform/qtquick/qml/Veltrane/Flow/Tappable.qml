import QtQuick

// Takes taps, the space bar and the press of a screen reader. Unlike a button it has whatever role
// its user gives it.
Item {
    id: area

    readonly property bool down: tap.pressed

    signal tapped

    Accessible.onPressAction: area.tapped()
    Accessible.onToggleAction: area.tapped()
    Keys.onSpacePressed: event => {
        if (!event.isAutoRepeat)
            area.tapped();
    }

    TapHandler {
        id: tap
        gesturePolicy: TapHandler.ReleaseWithinBounds

        onTapped: {
            area.forceActiveFocus(Qt.MouseFocusReason);
            area.tapped();
        }
    }
}
