// SPDX-License-Identifier: BSD-3-Clause
// The call screen of the example softphone. Everything it does with the headset goes through
// the singleton Headset of the module QvHid: the audio device in use and the call's state go in,
// the headset's buttons, its presence and the state it entered come out.

import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15
import QtQml 2.15
import QvHid 1.0

ApplicationWindow {
    id: window
    width: 560
    height: 420
    visible: true
    title: qsTr("Softphone")

    // The call as this softphone keeps it.
    property string call: "idle" // "idle", "ringing", "talking" or "held"
    property bool muted: false

    function answer() { if (call === "ringing") call = "talking" }
    function hangUp() { call = "idle"; muted = false }
    function toggleMute() { if (call === "talking" || call === "held") muted = !muted }
    function toggleHold() {
        if (call === "talking")
            call = "held"
        else if (call === "held")
            call = "talking"
    }

    // The headset shows the call: its state follows this softphone's.
    Binding {
        target: Headset
        property: "callState"
        value: call === "ringing" ? Headset.Ringing
             : call === "talking" ? (muted ? Headset.Muted : Headset.Talking)
             : call === "held" ? (muted ? Headset.OnHoldMuted : Headset.OnHold)
             : Headset.Idle
        restoreMode: Binding.RestoreNone
    }

    // The headset's buttons act on the call.
    Connections {
        target: Headset
        function onClick() {
            if (call === "ringing")
                answer()
            else if (call !== "idle")
                hangUp()
        }
        function onClickMute() { toggleMute() }
        function onClickReject() { if (call === "ringing") hangUp() }
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 16
        spacing: 12

        RowLayout {
            Label { text: qsTr("Audio device") }
            ComboBox {
                id: audioDevices
                objectName: "audioDevices"
                Layout.fillWidth: true
                model: softphone.audioDevices
                textRole: "label"
                // The audio device in use, by the name the sound layer gives it.
                onActivated: Headset.audioDevice = softphone.audioDevices[index].name
                Component.onCompleted: {
                    if (count > 0)
                        Headset.audioDevice = softphone.audioDevices[currentIndex].name
                }
            }
        }

        Label {
            objectName: "callStatus"
            font.pixelSize: 26
            text: call === "ringing" ? qsTr("Incoming call")
                : call === "talking" ? (muted ? qsTr("Talking, muted") : qsTr("Talking"))
                : call === "held" ? (muted ? qsTr("On hold, muted") : qsTr("On hold"))
                : qsTr("No call")
        }

        GridLayout {
            columns: 3
            Button {
                objectName: "incomingCall"
                text: qsTr("Incoming call")
                enabled: call === "idle"
                onClicked: call = "ringing"
            }
            Button {
                objectName: "answer"
                text: qsTr("Answer")
                enabled: call === "ringing"
                onClicked: answer()
            }
            Button {
                objectName: "hangUp"
                text: call === "ringing" ? qsTr("Reject") : qsTr("Hang up")
                enabled: call !== "idle"
                onClicked: hangUp()
            }
            Button {
                objectName: "mute"
                text: muted ? qsTr("Unmute") : qsTr("Mute")
                enabled: call === "talking" || call === "held"
                onClicked: toggleMute()
            }
            Button {
                objectName: "hold"
                text: call === "held" ? qsTr("Resume") : qsTr("Hold")
                enabled: call === "talking" || call === "held"
                onClicked: toggleHold()
            }
        }

        Frame {
            Layout.fillWidth: true
            ColumnLayout {
                anchors.fill: parent
                Label {
                    objectName: "headsetLine"
                    text: Headset.present ? qsTr("Headset: %1, %2").arg(Headset.product).arg(Headset.state || "...")
                                          : qsTr("No headset shown")
                }
                Label {
                    objectName: "lampsLine"
                    visible: Headset.present
                    text: softphone.virtualHeadset
                          ? qsTr("Lamps: %1").arg(softphone.virtualHeadset.lamps.length > 0
                                                  ? softphone.virtualHeadset.lamps.join(" ") : qsTr("all off"))
                          : qsTr("Lamps: as its configuration lights them for \"%1\"").arg(Headset.state)
                }
                Label {
                    objectName: "desktopMuteLine"
                    visible: Headset.desktopMute === Headset.Acts
                    Layout.fillWidth: true
                    wrapMode: Text.WordWrap
                    color: "firebrick"
                    text: qsTr("The desktop mutes the system microphone too when you press this headset's mute "
                               + "button. Install the headset library's udev rules to keep one press one mute.")
                }
            }
        }

        Flow {
            visible: softphone.virtualHeadset !== null
            Layout.fillWidth: true
            spacing: 6
            Label { text: qsTr("Headset keys"); height: 40; verticalAlignment: Text.AlignVCenter }
            Repeater {
                model: softphone.virtualHeadset ? softphone.virtualHeadset.buttons : []
                Button {
                    objectName: "key-" + modelData
                    text: modelData
                    onClicked: softphone.virtualHeadset.press(modelData)
                }
            }
        }

        Item { Layout.fillHeight: true }
    }
}
