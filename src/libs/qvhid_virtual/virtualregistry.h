// SPDX-License-Identifier: BSD-3-Clause
// The state of all virtual devices and of their open handles, behind one lock, with the
// behaviour of a hidraw node: one input queue per open file, blocking reads with time-outs,
// the report-id byte rules of writes, and disconnects.
#ifndef QVHID_VIRTUAL_VIRTUALREGISTRY_H
#define QVHID_VIRTUAL_VIRTUALREGISTRY_H

#include "virtualhid.h"

#include <hidapi.h>

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>

namespace hid::virt {

struct VirtualDeviceState;
struct VirtualHandle;

class Registry
{
public:
    static Registry &instance();

    // The control side (VirtualDevice).
    int add(DeviceDescription description);
    void remove(int id);
    void removeAll();
    bool exists(int id);
    DeviceDescription description(int id);
    void unplug(int id);
    void replug(int id, const std::string &newPath);
    bool isPlugged(int id);
    void inject(int id, const Bytes &report, std::chrono::milliseconds delay);
    bool sendButton(int id, const std::string &name, bool press, std::chrono::milliseconds delay);
    std::vector<WrittenReport> writtenReports(int id);
    void clearWrittenReports(int id);
    void setResponder(int id, Responder responder);
    void setFaults(int id, const Faults &faults);
    Counters counters(int id);
    int openHandles(int id);

    // The hidapi side. A handle of a virtual device is a VirtualHandle; anything else belongs
    // to the system's hidapi.
    bool isVirtual(hid_device *device);
    // Appends records of the plugged virtual devices that match (0 matches any id).
    hid_device_info *appendEnumeration(hid_device_info *list, unsigned short vendorId, unsigned short productId);
    // `isVirtualPath` tells whether the path names a virtual device, opened or not.
    hid_device *open(const char *path, bool &isVirtualPath);
    void close(hid_device *device);
    int write(hid_device *device, const unsigned char *data, size_t length);
    // A negative time-out blocks; FollowMode follows the handle's non-blocking setting.
    static constexpr int FollowMode = -2;
    // An interruptible read returns 0 at once when hid_interrupt() was called for its handle
    // since the last one (and no input is due); other reads do not see it.
    int read(hid_device *device, unsigned char *data, size_t length, int milliseconds, bool interruptible = false);
    int interrupt(hid_device *device);
    int setNonblocking(hid_device *device, int nonblocking);
    enum class Text { Manufacturer, Product, SerialNumber };
    int text(hid_device *device, Text which, wchar_t *buffer, size_t maxLength);
    hid_device_info *deviceInfo(hid_device *device);
    int reportDescriptor(hid_device *device, unsigned char *buffer, size_t size);
    const wchar_t *error(hid_device *device);
    int unsupported(hid_device *device, const wchar_t *what);

private:
    Registry() = default;

    std::shared_ptr<VirtualDeviceState> findDevice(int id);
    std::shared_ptr<VirtualHandle> findHandle(hid_device *device);
    void injectLocked(const std::shared_ptr<VirtualDeviceState> &device, const Bytes &report,
                      std::chrono::steady_clock::time_point due);

    std::mutex m_mutex;
    std::condition_variable m_changed; // a report was queued, or a device or handle went away
    std::map<int, std::shared_ptr<VirtualDeviceState>> m_devices;
    std::map<hid_device *, std::shared_ptr<VirtualHandle>> m_handles;
    int m_nextId = 1;
};

} // namespace hid::virt

#endif // QVHID_VIRTUAL_VIRTUALREGISTRY_H
