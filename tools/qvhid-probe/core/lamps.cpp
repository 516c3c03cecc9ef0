// SPDX-License-Identifier: BSD-3-Clause
#include "lamps.h"

#include "elements.h"

#include <hidapi_parser.h>

#include <cstdlib>

namespace probe {

namespace {

// The LED-page usages that commands switch, in the order they are shown.
const std::vector<std::pair<unsigned short, const char *>> LampNames = {
    {0x17, "Off-Hook"}, {0x18, "Ring"}, {0x09, "Mute"}, {0x20, "Hold"}, {0x21, "Microphone"}, {0x2A, "On-Line"},
};

bool bitAt(const unsigned char *data, std::size_t size, unsigned int bit)
{
    return bit / 8 < size && (data[bit / 8] >> (bit % 8)) & 1;
}

} // namespace

Lamps::Lamps(const std::vector<unsigned char> &descriptor, unsigned short page)
    : m_descriptor(descriptor.empty() ? nullptr : hid_parse_descriptor(descriptor.data(), descriptor.size()))
    , m_page(page)
{
}

Lamps::~Lamps()
{
    std::free(m_descriptor);
}

void Lamps::apply(const std::vector<unsigned char> &report)
{
    if (!m_descriptor || report.empty())
        return;
    const bool withId = m_descriptor->uses_report_ids;
    const unsigned char reportId = withId ? report[0] : 0;
    const unsigned char *data = report.data() + (withId ? 1 : 0);
    const std::size_t size = report.size() - (withId ? 1 : 0);
    forEachElement(m_descriptor->device_collection, [&](const hid_element &element) {
        if (element.direction != HID_ELEMENT_OUTPUT || element.usage_page != m_page || element.report_id != reportId)
            return;
        m_state[element.usage] = bitAt(data, size, element.bit_offset);
    });
}

QStringList Lamps::on() const
{
    QStringList result;
    for (const auto &lamp : LampNames) {
        const auto state = m_state.find(lamp.first);
        if (state != m_state.end() && state->second)
            result << QString::fromLatin1(lamp.second);
    }
    return result;
}

QStringList Lamps::names(const std::vector<unsigned short> &usages)
{
    QStringList result;
    for (const auto &lamp : LampNames) {
        for (unsigned short usage : usages) {
            if (usage == lamp.first) {
                result << QString::fromLatin1(lamp.second);
                break;
            }
        }
    }
    return result;
}

} // namespace probe
