// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_REPEATEDREPORTS_H
#define QVHID_REPEATEDREPORTS_H

#include <chrono>
#include <cstdint>
#include <map>
#include <vector>

namespace hid {

/// Tells a headset's repeated input reports from new ones. Some headsets send their whole input
/// state again and again (on every poll, or while a dial turns); a report that repeats the
/// previous report of its report id, read within the repeat window after it, says nothing new
/// and must not become a gesture. A report that comes after the headset was quiet for the
/// window is new, even with the same bytes: on models whose button press sends a report in which
/// nothing changes, that is the press.
class RepeatedReports
{
public:
    using Clock = std::chrono::steady_clock;

    /// Longer than the reader's cycle between two reads of a streaming headset (a 10 ms tick
    /// and a 5 ms burst gap, more on a loaded machine), shorter than a hand presses twice.
    static constexpr std::chrono::milliseconds Window{100};

    explicit RepeatedReports(bool usesReportIds = false);

    /// Notes a report read at `now`; true when it repeats the previous one of its report id.
    bool note(const std::vector<std::uint8_t> &data, int length, Clock::time_point now = Clock::now());

private:
    struct Previous
    {
        std::vector<std::uint8_t> bytes;
        Clock::time_point readAt;
    };

    bool m_usesReportIds;
    std::map<std::uint8_t, Previous> m_previous; // by report id (0 without ids)
};

} // namespace hid

#endif // QVHID_REPEATEDREPORTS_H
