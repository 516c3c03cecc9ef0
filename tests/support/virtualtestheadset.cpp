// SPDX-License-Identifier: BSD-3-Clause
// TestHeadset over the virtual headset library.

#include "testheadset.h"
#include "virtualheadsets.h"
#include "virtualnodes.h"

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
    const VirtualDevice device = VirtualNodes::instance().add(description);
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
    VirtualNodes::instance().removeAll();
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
    VirtualDevice device = deviceOf(m_id);
    VirtualNodes::instance().unplug(device);
}

void TestHeadset::replug() const
{
    VirtualDevice device = deviceOf(m_id);
    VirtualNodes::instance().replug(device);
}

TestHeadset TestHeadset::replugUnderANewPath() const
{
    VirtualDevice device = deviceOf(m_id);
    VirtualNodes::instance().replug(device, true);
    return *this;
}

hid::SystemView TestHeadset::systemView()
{
    return VirtualNodes::instance().systemView();
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

unsigned long TestHeadset::inputWaits() const
{
    return deviceOf(m_id).counters().inputWaits;
}
