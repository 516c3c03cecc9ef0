// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_PHONEMUTESWITCH_H
#define QVHID_PHONEMUTESWITCH_H

#include <chrono>

namespace hid {

/// Tells the presses of an absolute Phone Mute field (HID Usage Tables: an on/off control) from
/// its releases. Most devices that declare Phone Mute absolute send it as a button: 1 while it
/// is held, 0 when let go, a tap lasting well under a second. A few send it as a switch: 1 from
/// one press (muted) until the next (unmuted). The report-parser library reports every change
/// of such a field; each press must make one gesture.
///
/// So a change to 1 is a press. A change to 0 is a release when the 1 lasted less than
/// ReleaseWindow, and from then on, for the rest of the binding, the device is known to send a
/// button: every change to 0 is a release, however long the button was held. A 1 that lasted
/// longer, on a device not known to send a button, was a switch's: its change to 0 is the next
/// press. A 1 in the first report after binding is the state the device rests in, not a press.
class PhoneMuteSwitch
{
public:
    using Clock = std::chrono::steady_clock;

    /// Longer than a finger holds a button (taps last 80 to 300 ms), shorter than a user leaves
    /// a call muted before unmuting it.
    static constexpr std::chrono::milliseconds ReleaseWindow{1000};

    /// Whether the field's change to `on`, read at `now`, is a press. `atRest`: the report is
    /// the first after binding.
    bool isPress(bool on, bool atRest, Clock::time_point now = Clock::now());
    /// True once a change to 0 came within ReleaseWindow of the change to 1.
    bool sendsAButton() const { return m_button; }

private:
    bool m_on = false;
    bool m_button = false;
    Clock::time_point m_onSince;
};

} // namespace hid

#endif // QVHID_PHONEMUTESWITCH_H
