import QtQuick
import Veltrane.Flow

// The generic screen: rows in a column, and the activity panel over them.
ScreenFrame {
    id: screen

    readonly property real coveredByKeyboard: screen.view.stage.coveredByKeyboard
    readonly property TemplateScreenItem template: screen.view as TemplateScreenItem

    // A keyboard that comes up for another view is none of this screen's, but one that has gone has
    // gone for all.
    function followKeyboard() {
        if (screen.template.active || screen.coveredByKeyboard === 0)
            screen.template.keyboardCovers(screen.coveredByKeyboard);
    }
    function stepInBody(by, entering) {
        return entering ? form.enter(by) : form.step(by);
    }

    Component.onCompleted: screen.followKeyboard()
    onCoveredByKeyboardChanged: screen.followKeyboard()

    Connections {
        function onPhaseChanged() {
            screen.followKeyboard();
        }

        target: screen.template
    }
    FormList {
        id: form
        anchors.bottomMargin: Math.max(0, screen.template.keyboardInset)
        anchors.fill: parent
        focus: true
        objectName: "rows"
        screen: screen.template
    }
    ActivityPanel {
        objectName: "activityPanel"
        visible: screen.template.loading
    }
}
