// SPDX-License-Identifier: BSD-3-Clause
// Ready-made virtual headsets, written from the HID Usage Tables. Each model is described once,
// here, as data: ids, strings, interfaces with their report descriptors, and buttons.
#ifndef QVHID_VIRTUALMODELS_H
#define QVHID_VIRTUALMODELS_H

#include "virtualhid.h"

#include <string>
#include <vector>

namespace hid::virt {

/// The sound card that ALSA makes for a USB device's audio interface. Virtual devices have no
/// sound cards; the kernel emulation of the tests shows them in its sysfs.
struct SoundCard
{
    int interfaceNumber = 0;
    std::string id; ///< the card id ALSA derives from the device, before it is made unique
};

struct Model
{
    std::string name;
    std::string summary;
    std::vector<DeviceDescription> interfaces; ///< in the order a system enumerates them
    std::vector<SoundCard> soundCards;         ///< of the same USB device as the interfaces
};

/// Every ready model; the first is the standard telephony headset.
QVHID_VIRTUAL_EXPORT const std::vector<Model> &models();
/// The model of that name, or null.
QVHID_VIRTUAL_EXPORT const Model *findModel(const std::string &name);
/// Adds every interface of the model, in order. Each added device gets its own path
/// (`virtual-hid/<id>`), so a model can be added more than once.
QVHID_VIRTUAL_EXPORT std::vector<VirtualDevice> addModel(const Model &model);

} // namespace hid::virt

#endif // QVHID_VIRTUALMODELS_H
