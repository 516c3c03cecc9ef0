// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_TESTS_EMULATION_HIDRAWMAJOR_H
#define QVHID_TESTS_EMULATION_HIDRAWMAJOR_H

namespace emulation {

// The character-device major number of the emulated hidraw nodes: what the private sysfs gives
// them and what fstatshim.cpp reports for them.
constexpr unsigned HidrawMajor = 241;

} // namespace emulation

#endif // QVHID_TESTS_EMULATION_HIDRAWMAJOR_H
