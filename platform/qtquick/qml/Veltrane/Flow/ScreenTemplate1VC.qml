import QtQuick
import Veltrane.Flow

// The generic screen: rows in a column, and the activity panel over them.
ScreenFrame {
    id: screen

    readonly property real coveredByKeyboard: {
        const foot = screen.mapToItem(null, 0, screen.height).y;
        return screen.keyboardTop < 0 ? 0 : Math.max(0, foot - screen.keyboardTop);
    }
    readonly property real keyboardTop: screen.view.stage.keyboardTop
    readonly property TemplateScreenItem template: screen.view as TemplateScreenItem

    function stepInBody(by, entering) {
        return entering ? form.enter(by) : form.step(by);
    }

    onCoveredByKeyboardChanged: if (screen.template.active)
        screen.template.keyboardCovers(screen.coveredByKeyboard)

    FormList {
        id: form
        anchors.bottomMargin: Math.max(0, screen.template.keyboardInset)
        anchors.fill: parent
        focus: true
        objectName: "form"
        screen: screen.template
    }
    ActivityPanel {
        objectName: "activityPanel"
        visible: screen.template.loading
    }
}
