// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_TESTS_EMULATION_HIDRAWSERVER_H
#define QVHID_TESTS_EMULATION_HIDRAWSERVER_H

// A FUSE file system that serves each emulated HID interface as a file that behaves as a hidraw
// node does for a program that uses it: reads return one queued input report (blocking, or
// EAGAIN for a non-blocking file), writes capture output reports, poll reports readiness and
// notifies the kernel when a report arrives, and the hidraw ioctls answer as the kernel's. Each
// open file has its own queue, as hidraw keeps one per reader.
//
// The server runs its session loop on a thread of its own; everything here may be called from
// any thread.

#include <virtualhid.h>

#include <fuse_lowlevel.h>

#include <atomic>
#include <chrono>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace emulation {

using Bytes = hid::virt::Bytes;

class HidrawServer
{
public:
    HidrawServer();
    ~HidrawServer();
    HidrawServer(const HidrawServer &) = delete;
    HidrawServer &operator=(const HidrawServer &) = delete;

    // Mounts the file system at `mountPoint` (an existing directory) and starts serving; an
    // empty result, or why it failed.
    std::string start(const std::string &mountPoint);
    void stop();

    // Serves `description` as the file "hidraw<number>" of the mount point.
    void add(int number, const hid::virt::DeviceDescription &description);
    // As a pulled plug: open files fail from now on (poll: error and hang-up; read: EIO; write:
    // ENOTCONN) and new opens fail with ENODEV.
    void unplug(int number);
    // Serves the file again; files opened before stay dead.
    void replug(int number);
    // As a node that udev gave the user no access to: opening it and access() fail with
    // EACCES, for root too.
    void setDenied(int number, bool denied);

    // Sends an input report to every file open on the device now.
    void inject(int number, const Bytes &report);
    // What the device received, as it went on the wire: without the leading 0 of a device
    // without report ids, with the report id otherwise.
    std::vector<Bytes> written(int number) const;
    void clearWritten(int number);
    int openFiles(int number) const;
    unsigned long opens(int number) const; // successful opens so far
    // Polls of a file opened read-only: a binding's reader waits for input on such a file of
    // its own, and polls it only then (not while reading back answers to what it wrote).
    unsigned long inputWaits(int number) const;
    // Reads that returned an input report, on any file of the device.
    unsigned long reportsRead(int number) const;

private:
    struct Device;
    struct OpenFile;

    static void onInit(void *userdata, fuse_conn_info *connection);
    static void onLookup(fuse_req_t request, fuse_ino_t parent, const char *name);
    static void onGetattr(fuse_req_t request, fuse_ino_t inode, fuse_file_info *file);
    static void onOpen(fuse_req_t request, fuse_ino_t inode, fuse_file_info *file);
    static void onAccess(fuse_req_t request, fuse_ino_t inode, int mask);
    static void onRead(fuse_req_t request, fuse_ino_t inode, size_t size, off_t offset, fuse_file_info *file);
    static void onWrite(fuse_req_t request, fuse_ino_t inode, const char *data, size_t size, off_t offset,
                        fuse_file_info *file);
    static void onRelease(fuse_req_t request, fuse_ino_t inode, fuse_file_info *file);
    static void onIoctl(fuse_req_t request, fuse_ino_t inode, unsigned int command, void *argument,
                        fuse_file_info *file, unsigned flags, const void *in, size_t inSize, size_t outSize);
    static void onPoll(fuse_req_t request, fuse_ino_t inode, fuse_file_info *file, fuse_pollhandle *handle);

    static HidrawServer &of(fuse_req_t request);
    Device *deviceOf(fuse_ino_t inode);
    Device *deviceLocked(int number); // by hidraw number; m_mutex held
    void wakeLocked(OpenFile &file);

    mutable std::mutex m_mutex;
    std::map<int, std::unique_ptr<Device>> m_devices; // by hidraw number
    std::map<uint64_t, std::unique_ptr<OpenFile>> m_files;
    uint64_t m_nextFile = 1;
    fuse_session *m_session = nullptr;
    std::thread m_loop;
    std::atomic<bool> m_loopEnded{true};
};

} // namespace emulation

#endif // QVHID_TESTS_EMULATION_HIDRAWSERVER_H
