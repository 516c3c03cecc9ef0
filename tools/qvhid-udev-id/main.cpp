// SPDX-License-Identifier: BSD-3-Clause
// qvhid-udev-id: run by udev (IMPORT{program}) for a hidraw device, an input event device or an
// LED of an input device; prints what the rules need to know of it (nodeproperties.h), and
// nothing for anything else. It reads sysfs and opens no device.
//
//   qvhid-udev-id [--sysfs DIR] NAME
//
// It always exits 0: a device that is not a headset, or one that cannot be read, is no failure
// for udev to log.

#include "nodeproperties.h"

#include <cstdio>
#include <string>

int main(int argc, char **argv)
{
    std::string sysfs = "/sys";
    std::string name;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--sysfs" && i + 1 < argc) {
            sysfs = argv[++i];
        } else if (argument == "-h" || argument == "--help") {
            std::printf("usage: qvhid-udev-id [--sysfs DIR] NAME\n"
                        "Tells udev's rules what a device of a HID interface is, from its report descriptor in sysfs:\n"
                        "  hidrawN       ID_QVHID_TELEPHONY=1 for a telephony headset's call-control interface\n"
                        "  eventN        ID_QVHID_PHONE_MUTE_KEY=1 for the event node that sends a telephony device's\n"
                        "                Phone Mute button as the microphone mute key\n"
                        "  inputN::LED   ID_QVHID_TELEPHONY_LED=1 for an LED of a telephony headset's input device\n"
                        "Prints nothing for anything else. Always exits 0.\n");
            return 0;
        } else {
            name = argument;
        }
    }
    // udev passes the kernel name (%k); a /dev path is taken as well.
    for (const char *prefix : {"/dev/input/", "/dev/"}) {
        const std::string text(prefix);
        if (name.rfind(text, 0) == 0) {
            name = name.substr(text.size());
            break;
        }
    }
    for (const std::string &property : udevid::propertiesOf(sysfs, name))
        std::printf("%s\n", property.c_str());
    return 0;
}
