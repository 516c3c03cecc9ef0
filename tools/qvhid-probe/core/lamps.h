// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_PROBE_LAMPS_H
#define QVHID_PROBE_LAMPS_H

#include <QString>
#include <QStringList>

#include <map>
#include <utility>
#include <vector>

struct hid_descriptor;

namespace probe {

// The lamps of a headset as its output reports set them: reads each written report back
// through the headset's report descriptor and keeps the state of every LED-page usage
// (Off-Hook, Ring, Mute, Hold, Microphone, On-Line) of `page`.
class Lamps
{
public:
    Lamps(const std::vector<unsigned char> &descriptor, unsigned short page);
    ~Lamps();
    Lamps(const Lamps &) = delete;
    Lamps &operator=(const Lamps &) = delete;

    bool isValid() const { return m_descriptor != nullptr; }

    // A report as the headset received it: with its report id byte first when the descriptor
    // declares report ids.
    void apply(const std::vector<unsigned char> &report);

    // The names of the lamps that are on, in a fixed order.
    QStringList on() const;

    // The names of the lamps that a set of usages switches on, in the same order.
    static QStringList names(const std::vector<unsigned short> &usages);

private:
    hid_descriptor *m_descriptor = nullptr;
    unsigned short m_page;
    std::map<unsigned short, bool> m_state; // usage -> on
};

} // namespace probe

#endif // QVHID_PROBE_LAMPS_H
