// SPDX-License-Identifier: BSD-3-Clause
#include "virtualheadset.h"

#include <hiddevicemanager.h>
#include <virtualmodels.h>

#include <hidapi_parser.h>

#include <QTimer>

#include <cstdlib>
#include <map>
#include <memory>

namespace {

constexpr unsigned short LedPage = 0x08;

// The telephony lamps of the HID Usage Tables' LED page, in the order a call screen names them.
const std::vector<std::pair<unsigned short, QString>> &lampNames()
{
    static const std::vector<std::pair<unsigned short, QString>> names{
        {0x17, QStringLiteral("Off-Hook")}, {0x18, QStringLiteral("Ring")},       {0x09, QStringLiteral("Mute")},
        {0x20, QStringLiteral("Hold")},     {0x21, QStringLiteral("Microphone")}, {0x2A, QStringLiteral("On-Line")},
    };
    return names;
}

void collectOutputs(const hid_collection *collection, std::vector<const hid_element *> &outputs)
{
    for (const hid_element *element = collection->first_element; element; element = element->next) {
        if (element->direction == HID_ELEMENT_OUTPUT && element->usage_page == LedPage)
            outputs.push_back(element);
    }
    for (const hid_collection *child = collection->first_child; child; child = child->next_sibling)
        collectOutputs(child, outputs);
}

bool bitIsSet(const hid::virt::Bytes &body, unsigned int bit)
{
    return bit / 8 < body.size() && (body[bit / 8] >> (bit % 8) & 1) != 0;
}

} // namespace

VirtualHeadset::VirtualHeadset(const QString &model, QObject *parent)
    : QObject(parent)
{
    const hid::virt::Model *found = hid::virt::findModel(model.toStdString());
    if (!found)
        return;
    m_device = hid::virt::addModel(*found).front();
    // The lamps are written before the state that lit them reaches the application; a call
    // ended on hold writes them without entering a state, so they are also read now and then.
    qv::hid::HidDeviceManager &headsets = qv::hid::HidDeviceManager::Instance();
    connect(&headsets, &qv::hid::HidDeviceManager::deviceStateEntered, this, &VirtualHeadset::readLamps);
    auto *poll = new QTimer(this);
    connect(poll, &QTimer::timeout, this, &VirtualHeadset::readLamps);
    poll->start(100);
}

VirtualHeadset::~VirtualHeadset()
{
    m_device.remove();
}

QString VirtualHeadset::product() const
{
    return QString::fromStdWString(m_device.description().product);
}

QStringList VirtualHeadset::buttons() const
{
    QStringList names;
    for (const hid::virt::Button &button : m_device.description().buttons)
        names << QString::fromStdString(button.name);
    return names;
}

void VirtualHeadset::press(const QString &button)
{
    m_device.press(button.toStdString());
    const std::string name = button.toStdString();
    hid::virt::VirtualDevice device = m_device;
    QTimer::singleShot(100, this, [device, name]() mutable { device.release(name); });
}

void VirtualHeadset::readLamps()
{
    const hid::virt::DeviceDescription description = m_device.description();
    std::unique_ptr<hid_descriptor, decltype(&std::free)> descriptor(
        hid_parse_descriptor(description.descriptor.data(), description.descriptor.size()), &std::free);
    if (!descriptor)
        return;
    // The last report of each id, as the headset received it: its id first when it numbers them.
    std::map<unsigned char, hid::virt::Bytes> last;
    for (const hid::virt::WrittenReport &report : m_device.writtenReports()) {
        if (report.bytes.empty())
            continue;
        const unsigned char id = descriptor->uses_report_ids ? report.bytes.front() : 0;
        last[id] =
            descriptor->uses_report_ids ? hid::virt::Bytes(report.bytes.begin() + 1, report.bytes.end()) : report.bytes;
    }
    std::vector<const hid_element *> outputs;
    collectOutputs(descriptor->device_collection, outputs);
    QStringList lamps;
    for (const auto &lamp : lampNames()) {
        for (const hid_element *element : outputs) {
            const auto report = last.find(element->report_id);
            if (element->usage == lamp.first && report != last.end() && bitIsSet(report->second, element->bit_offset)) {
                lamps << lamp.second;
                break;
            }
        }
    }
    if (lamps != m_lamps) {
        m_lamps = lamps;
        emit lampsChanged();
    }
}
