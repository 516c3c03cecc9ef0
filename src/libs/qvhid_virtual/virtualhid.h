// SPDX-License-Identifier: BSD-3-Clause
// Virtual HID devices for programs that use hidapi.
//
// A program linked with this library before hidapi (and before any library that uses hidapi)
// talks to the virtual devices added here as if they were plugged in: hidapi's C functions
// resolve to this library's, which serve the virtual devices themselves and hand every call on
// a real device to the system's hidapi, loaded at run time. See README.md beside this file.
//
// Everything here may be called from any thread.
#ifndef QVHID_VIRTUALHID_H
#define QVHID_VIRTUALHID_H

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "qvhid_virtual_export.h"

// hidapi's opaque device handle, as hidapi.h declares it.
struct hid_device_;
typedef struct hid_device_ hid_device;

extern "C" {
/// An extension of hidapi's C API that only this library defines: hid_read_timeout(), except
/// that its wait may be cut short from another thread. It returns 0 at once when hid_interrupt()
/// was called for the handle since the last such read and no input is due. On a device that is
/// not virtual it is hid_read_timeout().
QVHID_VIRTUAL_EXPORT int hid_read_timeout_interruptible(hid_device *dev, unsigned char *data, size_t length,
                                                        int milliseconds);
/// Cuts short the wait of the interruptible read in progress on `dev`, or of the next one; any
/// thread may call it. 0, or -1 for a device that is not virtual.
QVHID_VIRTUAL_EXPORT int hid_interrupt(hid_device *dev);

/// Another extension: a program that watches for devices being plugged in (as libqvhid watches
/// /dev for hidraw nodes) learns of virtual ones too. `callback(context)` is called whenever a
/// virtual device is added, removed, unplugged or plugged in again, on the thread that did it,
/// after the change; it must not block. Returns a handle for hid_unwatch_plugging(), or 0 for a
/// null callback.
QVHID_VIRTUAL_EXPORT int hid_watch_plugging(void (*callback)(void *context), void *context);
/// Ends a watch. Once it returns, its callback is not running and will not be called again.
QVHID_VIRTUAL_EXPORT void hid_unwatch_plugging(int watch);
}

namespace hid::virt {

using Bytes = std::vector<unsigned char>;

/// A button of a device: the input reports that pressing and releasing it send, exactly as the
/// device sends them (with the report id byte when the device numbers its reports). Either
/// may be empty: a switch that stays where it was put sends nothing when let go.
struct Button
{
    std::string name;
    Bytes press;
    Bytes release;
};

/// One HID interface, as hidapi's enumeration shows it. hidapi's hidraw backend lists an
/// interface once per collection of its descriptor that a usage names (nested ones included),
/// with that usage page and usage; the virtual one does the same. usagePage and usage are what a
/// device without a descriptor is listed under.
struct DeviceDescription
{
    unsigned short vendorId = 0;
    unsigned short productId = 0;
    unsigned short releaseNumber = 0;
    std::wstring product;
    std::wstring manufacturer;
    std::wstring serialNumber;
    int interfaceNumber = 0;
    unsigned short usagePage = 0;
    unsigned short usage = 0;
    std::string path; ///< empty: `virtual-hid/<id>` is given to it
    Bytes descriptor;
    std::vector<Button> buttons;
    /// When not empty, the device answers every write with this input report, as headsets that
    /// echo their hook state after the host writes its lamps do.
    Bytes answerToWrite;
};

/// One report as the device received it, and when.
struct WrittenReport
{
    std::chrono::steady_clock::time_point time;
    Bytes bytes;
};

struct Counters
{
    unsigned long opens = 0;            ///< successful opens
    unsigned long reads = 0;            ///< read calls, also those that time out or fail
    unsigned long writes = 0;           ///< write calls, also those that fail
    unsigned long interruptedReads = 0; ///< reads failed by Faults::nextReadFails
    unsigned long interruptedWaits = 0; ///< interruptible reads that hid_interrupt() cut short
    unsigned long inputWaits = 0;       ///< interruptible reads begun: a reader waiting for input
    unsigned long reportsRead = 0;      ///< reads that returned an input report
};

/// Failures to inject; all off by default.
struct Faults
{
    bool openFails = false;
    bool descriptorUnreadable = false;
    bool writesFail = false;
    /// The next read fails once (-1), as a read that a signal interrupts; then it clears itself.
    bool nextReadFails = false;
    /// A headset that never stops reporting, without a sending thread's timing: while set, a
    /// read finds this report when 2 ms have passed since its handle last found it, however
    /// late the reading thread runs, so that a reader never meets a quiet gap. Queued reports
    /// come first. Empty: off.
    Bytes unendingReport;
};

/// Answers a written report (as the device received it) with input reports.
using Responder = std::function<std::vector<Bytes>(const Bytes &written)>;

/// A handle to one virtual device. Copies refer to the same device. A handle whose device was
/// removed stays safe to use: it does nothing and reports nothing.
class QVHID_VIRTUAL_EXPORT VirtualDevice
{
public:
    VirtualDevice() = default;

    /// Adds a plugged device. It is listed after the system's devices, in the order added.
    static VirtualDevice add(const DeviceDescription &description);

    bool isValid() const; ///< refers to a device that was not removed
    int id() const { return m_id; }
    std::string path() const;
    DeviceDescription description() const;

    /// Removes the device; open handles to it fail from then on.
    void remove();
    /// As a pulled plug: the device leaves the enumeration; reads and writes on open handles
    /// fail (-1) and new opens fail.
    void unplug();
    /// Plugs the device in again, under `newPath` if given. Handles opened before the unplug
    /// stay dead, as a file of a vanished hidraw node does.
    void replug(const std::string &newPath = std::string());
    bool isPlugged() const;

    /// Sends an input report: it becomes readable on every handle open now, after `delay`.
    /// With no handle open it is lost, as hidraw loses it.
    void inject(const Bytes &report, std::chrono::milliseconds delay = std::chrono::milliseconds(0));
    /// Sends the press or release report of the named button; false for an unknown name.
    bool press(const std::string &button, std::chrono::milliseconds delay = std::chrono::milliseconds(0));
    bool release(const std::string &button, std::chrono::milliseconds delay = std::chrono::milliseconds(0));

    std::vector<WrittenReport> writtenReports() const;
    void clearWrittenReports();
    /// Replaces the answers of answerToWrite; an empty function restores them.
    void setResponder(Responder responder);
    void setFaults(const Faults &faults);
    Counters counters() const;
    int openHandles() const;
    /// Waits until a reader next begins to wait for input on the device (an interruptible
    /// read) and then reads no report for 10 ms: a binding that has written its lamps, read back
    /// the headset's answers and read the rest of the last burst of reports listens again, so
    /// that a press now is taken as a press. False when none does within `timeout`.
    bool waitForListeningReader(std::chrono::milliseconds timeout) const;

private:
    explicit VirtualDevice(int id)
        : m_id(id)
    {
    }

    int m_id = 0;
};

/// Removes every virtual device.
QVHID_VIRTUAL_EXPORT void removeAllDevices();

} // namespace hid::virt

#endif // QVHID_VIRTUALHID_H
