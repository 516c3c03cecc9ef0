// The hardware name inside an audio-device name, for any text.

#include <hiddevice.h>

#include <QString>

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static hid::HidDevice *const device = new hid::HidDevice(nullptr); // lives as long as the process
    const QString name = QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const QString parent = device->getParentDeviceName(name);
    // The hardware name is taken out of the audio-device name, never made up.
    if (!name.contains(parent))
        __builtin_trap();
    return 0;
}
