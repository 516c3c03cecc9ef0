// SPDX-License-Identifier: BSD-3-Clause
// The singleton Headset of the module QvHid, as a softphone's call screen uses it, against
// virtual headsets (the context property virtualHeadsets).

import QtQuick 2.15
import QtTest 1.2
import QvHid 1.0

TestCase {
    id: test
    name: "Headset"

    readonly property string officeHeadset20: "Headset Microphone (2- Office Headset 20)"
    property int headset: 0

    SignalSpy { id: shown; target: Headset; signalName: "deviceShow" }
    SignalSpy { id: hidden; target: Headset; signalName: "deviceHide" }
    SignalSpy { id: clicks; target: Headset; signalName: "click" }
    SignalSpy { id: mutes; target: Headset; signalName: "clickMute" }
    SignalSpy { id: rejects; target: Headset; signalName: "clickReject" }
    SignalSpy { id: presentChanges; target: Headset; signalName: "presentChanged" }
    SignalSpy { id: stateChanges; target: Headset; signalName: "stateChanged" }

    function writtenIs(expected) {
        return JSON.stringify(virtualHeadsets.written(headset)) === JSON.stringify(expected)
    }

    function clearSpies() {
        for (const spy of [shown, hidden, clicks, mutes, rejects, presentChanges, stateChanges])
            spy.clear()
    }

    // Plugs in the standard telephony headset and binds it by its audio device's name.
    function bindOfficeHeadset20() {
        headset = virtualHeadsets.add("telephony-headset")
        verify(headset > 0)
        Headset.audioDevice = officeHeadset20
        tryCompare(Headset, "state", "Initial")
    }

    function init() {
        clearSpies()
    }

    function cleanup() {
        Headset.callState = Headset.Idle
        Headset.audioDevice = ""
        if (headset > 0)
            tryVerify(() => virtualHeadsets.openHandles(headset) === 0, 5000, "the reader let go of the headset")
        virtualHeadsets.removeAll()
        headset = 0
    }

    function test_01_bindsTheHeadsetOfTheAudioDevice() {
        compare(Headset.present, false)
        compare(Headset.product, "")
        compare(Headset.desktopMute, Headset.Unknown)
        bindOfficeHeadset20()
        compare(Headset.present, true)
        compare(Headset.product, "Office Headset 20")
        compare(Headset.audioDevice, officeHeadset20)
        compare(shown.count, 1)
        compare(shown.signalArguments[0][0], "Office Headset 20")
        compare(presentChanges.count, 1)
        // A virtual headset is no hidraw node: the library cannot tell what the desktop does.
        compare(Headset.desktopMute, Headset.Unknown)
        // The same name again changes nothing.
        Headset.audioDevice = officeHeadset20
        wait(50)
        compare(shown.count, 1)
        compare(hidden.count, 1)
    }

    // In order, each from the one before: the state, its name, the lamp report written.
    function callStates() {
        return [
            { tag: "ringing", callState: Headset.Ringing, entered: "Incoming call", lamps: "0222" },
            { tag: "talking", callState: Headset.Talking, entered: "Talk", lamps: "0221" },
            { tag: "muted", callState: Headset.Muted, entered: "Talk muted", lamps: "0225" },
            { tag: "on hold", callState: Headset.OnHold, entered: "Hold", lamps: "0229" },
            { tag: "on hold and muted", callState: Headset.OnHoldMuted, entered: "Hold muted", lamps: "022d" },
            { tag: "talking again", callState: Headset.Talking, entered: "Talk", lamps: "0221" },
        ]
    }

    function test_02_everyCallStateLightsTheLamps() {
        bindOfficeHeadset20()
        const states = callStates()
        for (let i = 0; i < states.length; ++i) {
            virtualHeadsets.clearWritten(headset)
            Headset.callState = states[i].callState
            compare(Headset.callState, states[i].callState)
            tryCompare(Headset, "state", states[i].entered)
            compare(virtualHeadsets.written(headset), [states[i].lamps], states[i].tag)
        }
        // Ended: the lamps go dark, and the headset is back in its initial state.
        virtualHeadsets.clearWritten(headset)
        Headset.callState = Headset.Idle
        tryCompare(Headset, "state", "Initial")
        tryVerify(() => writtenIs(["0200"]), 5000, JSON.stringify(virtualHeadsets.written(headset)))
    }

    function test_03_eachGestureReachesQml() {
        bindOfficeHeadset20()
        Headset.callState = Headset.Ringing
        tryCompare(Headset, "state", "Incoming call")
        verify(virtualHeadsets.waitForListeningReader(headset))
        virtualHeadsets.press(headset, "answer")
        tryCompare(clicks, "count", 1)

        Headset.callState = Headset.Talking
        tryCompare(Headset, "state", "Talk")
        verify(virtualHeadsets.waitForListeningReader(headset))
        virtualHeadsets.press(headset, "mute")
        virtualHeadsets.release(headset, "mute")
        tryCompare(mutes, "count", 1)

        verify(virtualHeadsets.waitForListeningReader(headset))
        virtualHeadsets.press(headset, "drop")
        virtualHeadsets.release(headset, "drop")
        tryCompare(rejects, "count", 1)
        compare(clicks.count, 1)
        compare(mutes.count, 1)
    }

    function test_04_unplugAndReplugBringTheCallBack() {
        bindOfficeHeadset20()
        Headset.callState = Headset.Ringing
        tryCompare(Headset, "state", "Incoming call")
        clearSpies()

        virtualHeadsets.unplug(headset)
        tryCompare(Headset, "present", false)
        compare(hidden.count, 1)
        compare(Headset.product, "")
        compare(Headset.state, "")

        virtualHeadsets.clearWritten(headset)
        virtualHeadsets.replug(headset, "virtual-hid/replugged-in-qml")
        tryCompare(Headset, "present", true)
        compare(shown.count, 1)
        compare(Headset.product, "Office Headset 20")
        // The call still rings: its lamps come back, after the headset's initial state.
        tryCompare(Headset, "state", "Incoming call")
        tryVerify(() => writtenIs(["0200", "0222"]), 5000, JSON.stringify(virtualHeadsets.written(headset)))
    }

    function test_05_nothingComesAfterHide() {
        bindOfficeHeadset20()
        verify(virtualHeadsets.waitForListeningReader(headset))
        clearSpies()
        Headset.audioDevice = ""
        compare(hidden.count, 1)
        compare(Headset.present, false)
        virtualHeadsets.press(headset, "answer")
        virtualHeadsets.press(headset, "mute")
        virtualHeadsets.release(headset, "mute")
        wait(300)
        compare(clicks.count, 0)
        compare(mutes.count, 0)
        compare(shown.count, 0)
        compare(stateChanges.count, 1) // emptied with the hide, and nothing since
    }

    function test_06_headsetPluggedInAfterItsNameWasSet() {
        Headset.audioDevice = officeHeadset20
        compare(Headset.present, false)
        Headset.callState = Headset.Talking
        headset = virtualHeadsets.add("telephony-headset")
        tryCompare(Headset, "present", true)
        // The call the application reported meanwhile reaches the lamps.
        tryCompare(Headset, "state", "Talk")
        tryVerify(() => writtenIs(["0200", "0221"]), 5000, JSON.stringify(virtualHeadsets.written(headset)))
    }
}
