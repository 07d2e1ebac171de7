import QtQuick
import Veltrane.Flow

// One view of the stage and how it comes and goes.
FocusScope {
    id: slot

    // Has been on display.
    property bool arrived: false
    readonly property bool fades: slot.view.motion === ViewItem.Fade || slot.stage.reducedMotion
    readonly property bool jumps: slot.view.motion === ViewItem.None || slot.stage.still

    // Share of the width towards the trailing edge.
    property real shift: 0
    readonly property FlowStage stage: slot.view.stage
    required property ViewItem view

    function come() {
        if (!slot.arrived) {
            slot.arrived = true;
            slot.shift = slot.view.motion === ViewItem.Push && !slot.fades ? 1 : 0;
            if (slot.view.lift === 0 && slot.view.motion === ViewItem.Modal && !slot.fades)
                slot.view.lift = 1;
            slot.opacity = slot.fades ? 0 : 1;
        }
        slot.visible = true;
        slot.moveTo(0, 0, 1);
    }
    function follow() {
        if (slot.view.phase === ViewItem.Shown)
            slot.come();
        else if (slot.view.phase === ViewItem.Leaving)
            slot.leave();
        else
            slot.giveWay();
    }
    function giveWay() {
        const aside = slot.view.motion === ViewItem.Push && !slot.fades ? -0.3 : 0;
        slot.moveTo(aside, 0, 1);
    }
    function leave() {
        if (slot.fades)
            slot.moveTo(slot.shift, slot.view.lift, 0);
        else if (slot.view.motion === ViewItem.Push)
            slot.moveTo(1, 0, 1);
        else
            slot.moveTo(0, 1, 1);
    }
    function moveTo(shift, lift, opacity) {
        moving.stop();
        shifting.to = shift;
        lifting.to = lift;
        fading.to = opacity;
        if (slot.jumps || !slot.visible) {
            slot.shift = shift;
            slot.view.lift = lift;
            slot.opacity = opacity;
            slot.rest();
        } else {
            moving.start();
        }
    }
    function rest() {
        slot.visible = slot.view.phase === ViewItem.Shown;
        slot.view.settled();
    }

    enabled: slot.view.active
    height: parent ? parent.height : 0
    visible: false
    width: parent ? parent.width : 0
    x: Math.round(slot.shift * slot.width) * (slot.stage.mirrored ? -1 : 1)
    y: Math.round(slot.view.lift * slot.height)

    Component.onCompleted: {
        loader.setSource(slot.view.source, {
                "view": slot.view
            });
        slot.follow();
    }
    onEnabledChanged: if (slot.enabled)
        slot.forceActiveFocus()
    onOpacityChanged: slot.view.presence = slot.opacity

    Connections {
        function onPhaseChanged() {
            slot.follow();
        }

        target: slot.view
    }
    Loader {
        id: loader
        anchors.fill: parent
        focus: true

        onLoaded: slot.view.content = loader.item as Item
    }
    ParallelAnimation {
        id: moving

        readonly property int duration: {
            if (slot.stage.reducedMotion)
                return 120;
            if (slot.view.motion === ViewItem.Modal)
                return 320;
            return slot.view.motion === ViewItem.Push ? 280 : 160;
        }

        onFinished: slot.rest()

        NumberAnimation {
            id: shifting
            duration: moving.duration
            easing.type: Easing.OutCubic
            property: "shift"
            target: slot
        }
        NumberAnimation {
            id: lifting
            duration: moving.duration
            easing.type: Easing.OutCubic
            property: "lift"
            target: slot.view
        }
        NumberAnimation {
            id: fading
            duration: moving.duration
            easing.type: Easing.OutCubic
            property: "opacity"
            target: slot
        }
    }
}
