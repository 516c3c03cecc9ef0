// SPDX-License-Identifier: BSD-3-Clause
// TestHeadset over the virtual headset library.

// A binding learns of virtual headsets being unplugged and plugged in through the virtual
// library's hid_watch_plugging(), as an application's tests do.

#include "testheadset.h"
#include "virtualheadsets.h"

#include <map>

using hid::virt::VirtualDevice;

namespace {

std::map<int, VirtualDevice> &devices()
{
    static std::map<int, VirtualDevice> all;
    return all;
}

VirtualDevice deviceOf(int id)
{
    const auto found = devices().find(id);
    return found == devices().end() ? VirtualDevice() : found->second;
}

} // namespace

void TestHeadset::prepareProcess() { }

QString TestHeadset::unavailable()
{
    return {};
}

TestHeadset TestHeadset::add(const hid::virt::DeviceDescription &description)
{
    const VirtualDevice device = VirtualDevice::add(description);
    devices()[device.id()] = device;
    return TestHeadset(device.id());
}

bool TestHeadset::hasKernelInputDevices()
{
    return false;
}

void TestHeadset::remapPhoneMuteInUdevDatabase() const { }

void TestHeadset::removeAll()
{
    hid::virt::removeAllDevices();
    devices().clear();
}

std::string TestHeadset::path() const
{
    return deviceOf(m_id).path();
}

bool TestHeadset::press(const std::string &button) const
{
    return deviceOf(m_id).press(button);
}

bool TestHeadset::release(const std::string &button) const
{
    return deviceOf(m_id).release(button);
}

void TestHeadset::inject(const hid::virt::Bytes &report) const
{
    deviceOf(m_id).inject(report);
}

std::function<void(const hid::virt::Bytes &)> TestHeadset::injector() const
{
    VirtualDevice device = deviceOf(m_id);
    return [device](const hid::virt::Bytes &report) mutable { device.inject(report); };
}

void TestHeadset::unplug() const
{
    deviceOf(m_id).unplug();
}

void TestHeadset::replug() const
{
    deviceOf(m_id).replug();
}

TestHeadset TestHeadset::replugUnderANewPath() const
{
    static int replugs = 0;
    deviceOf(m_id).replug("virtual-hid/replugged-" + std::to_string(++replugs));
    return *this;
}

QStringList TestHeadset::written() const
{
    return writtenHex(deviceOf(m_id));
}

void TestHeadset::clearWritten() const
{
    deviceOf(m_id).clearWrittenReports();
}

int TestHeadset::filesPerBinding()
{
    return 1; // a virtual device is waited on through its hidapi handle
}

int TestHeadset::openHandles() const
{
    return deviceOf(m_id).openHandles();
}

unsigned long TestHeadset::opens() const
{
    return deviceOf(m_id).counters().opens;
}

unsigned long TestHeadset::reportsRead() const
{
    return deviceOf(m_id).counters().reportsRead;
}

unsigned long TestHeadset::inputWaits() const
{
    return deviceOf(m_id).counters().inputWaits;
}
