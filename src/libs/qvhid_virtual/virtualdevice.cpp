// SPDX-License-Identifier: BSD-3-Clause
#include "virtualhid.h"
#include "virtualmodels.h"

#include "plugwatchers.h"
#include "virtualregistry.h"

#include <chrono>
#include <thread>

namespace hid::virt {

VirtualDevice VirtualDevice::add(const DeviceDescription &description)
{
    const VirtualDevice device(Registry::instance().add(description));
    PlugWatchers::instance().notify();
    return device;
}

bool VirtualDevice::isValid() const
{
    return m_id != 0 && Registry::instance().exists(m_id);
}

std::string VirtualDevice::path() const
{
    return Registry::instance().description(m_id).path;
}

DeviceDescription VirtualDevice::description() const
{
    return Registry::instance().description(m_id);
}

void VirtualDevice::remove()
{
    Registry::instance().remove(m_id);
    PlugWatchers::instance().notify();
}

void VirtualDevice::unplug()
{
    Registry::instance().unplug(m_id);
    PlugWatchers::instance().notify();
}

void VirtualDevice::replug(const std::string &newPath)
{
    Registry::instance().replug(m_id, newPath);
    PlugWatchers::instance().notify();
}

bool VirtualDevice::isPlugged() const
{
    return Registry::instance().isPlugged(m_id);
}

void VirtualDevice::inject(const Bytes &report, std::chrono::milliseconds delay)
{
    Registry::instance().inject(m_id, report, delay);
}

bool VirtualDevice::press(const std::string &button, std::chrono::milliseconds delay)
{
    return Registry::instance().sendButton(m_id, button, true, delay);
}

bool VirtualDevice::release(const std::string &button, std::chrono::milliseconds delay)
{
    return Registry::instance().sendButton(m_id, button, false, delay);
}

std::vector<WrittenReport> VirtualDevice::writtenReports() const
{
    return Registry::instance().writtenReports(m_id);
}

void VirtualDevice::clearWrittenReports()
{
    Registry::instance().clearWrittenReports(m_id);
}

void VirtualDevice::setResponder(Responder responder)
{
    Registry::instance().setResponder(m_id, std::move(responder));
}

void VirtualDevice::setFaults(const Faults &faults)
{
    Registry::instance().setFaults(m_id, faults);
}

Counters VirtualDevice::counters() const
{
    return Registry::instance().counters(m_id);
}

int VirtualDevice::openHandles() const
{
    return Registry::instance().openHandles(m_id);
}

bool VirtualDevice::waitForListeningReader(std::chrono::milliseconds timeout) const
{
    // A reader that reads the rest of a burst waits for input too, for a few milliseconds; it
    // takes a press as a press of its own once a wait brings no report for this long.
    constexpr auto Quiet = std::chrono::milliseconds(10);
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + timeout;
    Counters seen = counters();
    for (;;) {
        while (counters().inputWaits == seen.inputWaits) {
            if (Clock::now() >= deadline)
                return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        seen = counters();
        const auto quietUntil = Clock::now() + Quiet;
        while (counters().reportsRead == seen.reportsRead) {
            if (Clock::now() >= quietUntil)
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        seen = counters();
    }
}

void removeAllDevices()
{
    Registry::instance().removeAll();
    PlugWatchers::instance().notify();
}

std::vector<VirtualDevice> addModel(const Model &model)
{
    std::vector<VirtualDevice> devices;
    for (DeviceDescription description : model.interfaces) {
        description.path.clear();
        devices.push_back(VirtualDevice::add(description));
    }
    return devices;
}

} // namespace hid::virt
