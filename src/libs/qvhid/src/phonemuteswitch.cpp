// SPDX-License-Identifier: BSD-3-Clause
#include "phonemuteswitch.h"

namespace hid {

bool PhoneMuteSwitch::isPress(bool on, bool atRest, Clock::time_point now)
{
    if (on == m_on)
        return false;
    m_on = on;
    if (on) {
        m_onSince = now;
        return !atRest;
    }
    if (m_button || now - m_onSince < ReleaseWindow) {
        m_button = true;
        return false;
    }
    return true;
}

} // namespace hid
