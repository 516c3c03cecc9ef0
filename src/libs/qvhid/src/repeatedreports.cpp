// SPDX-License-Identifier: BSD-3-Clause
#include "repeatedreports.h"

#include <algorithm>

namespace hid {

RepeatedReports::RepeatedReports(bool usesReportIds)
    : m_usesReportIds(usesReportIds)
{
}

bool RepeatedReports::note(const std::vector<std::uint8_t> &data, int length, Clock::time_point now)
{
    const std::size_t size = std::min(data.size(), static_cast<std::size_t>(std::max(length, 0)));
    const std::uint8_t reportId = m_usesReportIds && size > 0 ? data[0] : 0;
    std::vector<std::uint8_t> bytes(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(size));
    const auto found = m_previous.find(reportId);
    const bool repeat =
        found != m_previous.end() && found->second.bytes == bytes && now - found->second.readAt < Window;
    m_previous[reportId] = Previous{std::move(bytes), now};
    return repeat;
}

} // namespace hid
