// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_VIRTUAL_ENUMERATEDUSAGES_H
#define QVHID_VIRTUAL_ENUMERATEDUSAGES_H

#include "virtualhid.h"

#include <utility>
#include <vector>

namespace hid::virt {

using UsagePair = std::pair<unsigned short, unsigned short>; // usage page, usage

// The usage pairs under which hidapi's hidraw backend (0.13) lists an interface with this report
// descriptor, one enumeration entry each, in order: every Collection item, nested or not, that a
// Usage precedes since the last main item, with the usage page in force; a usage that no
// collection follows when the descriptor has no such collection. Empty when there is none, and
// hidapi then lists the interface once with usage page and usage 0.
std::vector<UsagePair> enumeratedUsages(const Bytes &descriptor);

} // namespace hid::virt

#endif // QVHID_VIRTUAL_ENUMERATEDUSAGES_H
