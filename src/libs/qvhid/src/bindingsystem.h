// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_BINDINGSYSTEM_H
#define QVHID_BINDINGSYSTEM_H

// Not installed: for the tests and tools of this tree.

#include "hiddevice.h"
#include "platform/systemview.h"
#include "qvhid_export.h"

namespace hid {

/// Makes `binding` look up sound cards, USB devices, nodes and udev data in `system` instead
/// of the live system; a watch for headsets already running moves to its device directory.
QVHID_EXPORT void SetSystemView(HidDevice &binding, const SystemView &system);

} // namespace hid

#endif // QVHID_BINDINGSYSTEM_H
