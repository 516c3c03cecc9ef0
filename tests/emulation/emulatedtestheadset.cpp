// SPDX-License-Identifier: BSD-3-Clause
// TestHeadset over emulated hidraw devices, below the system's hidapi and libudev.

#include "emulatedsystem.h"
#include "testheadset.h"
#include "virtualheadsets.h"

#include <map>
#include <memory>

namespace {

struct Emulation
{
    std::string unavailable; // why the process cannot emulate devices; empty when it can
    std::unique_ptr<emulation::EmulatedSystem> system;
    std::map<int, hid::virt::DeviceDescription> devices; // every device plugged in so far
    int nextNumber = 0;
};

Emulation &emulated()
{
    static Emulation state;
    return state;
}

emulation::EmulatedSystem &system()
{
    return *emulated().system;
}

bool send(int number, const std::string &button, bool press)
{
    const auto found = emulated().devices.find(number);
    if (found == emulated().devices.end())
        return false;
    for (const hid::virt::Button &candidate : found->second.buttons) {
        if (candidate.name != button)
            continue;
        const hid::virt::Bytes &report = press ? candidate.press : candidate.release;
        if (!report.empty())
            system().server().inject(number, report);
        return true;
    }
    return false;
}

} // namespace

void TestHeadset::prepareProcess()
{
    emulated().unavailable = emulation::EmulatedSystem::enterNamespace();
}

QString TestHeadset::unavailable()
{
    Emulation &state = emulated();
    if (state.unavailable.empty() && !state.system) {
        state.system = std::make_unique<emulation::EmulatedSystem>();
        state.unavailable = state.system->start();
    }
    return state.unavailable.empty()
        ? QString()
        : QStringLiteral("kernel emulation unavailable: %1").arg(QString::fromStdString(state.unavailable));
}

TestHeadset TestHeadset::add(const hid::virt::DeviceDescription &description)
{
    Emulation &state = emulated();
    const int number = state.nextNumber++;
    state.devices[number] = description;
    system().plug(number, description);
    return TestHeadset(number);
}

void TestHeadset::removeAll()
{
    for (const auto &device : emulated().devices)
        system().unplug(device.first);
}

std::string TestHeadset::path() const
{
    return "/dev/hidraw" + std::to_string(m_id);
}

bool TestHeadset::press(const std::string &button) const
{
    return send(m_id, button, true);
}

bool TestHeadset::release(const std::string &button) const
{
    return send(m_id, button, false);
}

void TestHeadset::inject(const hid::virt::Bytes &report) const
{
    system().server().inject(m_id, report);
}

std::function<void(const hid::virt::Bytes &)> TestHeadset::injector() const
{
    emulation::HidrawServer *server = &system().server();
    const int number = m_id;
    return [server, number](const hid::virt::Bytes &report) { server->inject(number, report); };
}

void TestHeadset::unplug() const
{
    system().unplug(m_id);
}

void TestHeadset::replug() const
{
    system().plug(m_id, emulated().devices.at(m_id));
}

TestHeadset TestHeadset::replugUnderANewPath() const
{
    Emulation &state = emulated();
    const int number = state.nextNumber++;
    state.devices[number] = state.devices.at(m_id);
    system().plug(number, state.devices.at(number));
    return TestHeadset(number);
}

bool TestHeadset::hasKernelInputDevices()
{
    return true;
}

void TestHeadset::remapPhoneMuteInUdevDatabase() const
{
    for (const int event : system().sysfs().eventNumbers(m_id))
        system().setEventUdevProperty(event, "KEYBOARD_KEY_b002f", "reserved");
}

QStringList TestHeadset::written() const
{
    QStringList result;
    for (const hid::virt::Bytes &report : system().server().written(m_id))
        result << hexOf(report);
    return result;
}

void TestHeadset::clearWritten() const
{
    system().server().clearWritten(m_id);
}

int TestHeadset::filesPerBinding()
{
    return 2;
}

int TestHeadset::openHandles() const
{
    return system().server().openFiles(m_id);
}

unsigned long TestHeadset::opens() const
{
    return system().server().opens(m_id);
}

unsigned long TestHeadset::reportsRead() const
{
    return system().server().reportsRead(m_id);
}

unsigned long TestHeadset::inputWaits() const
{
    return system().server().inputWaits(m_id);
}
