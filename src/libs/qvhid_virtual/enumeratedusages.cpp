// SPDX-License-Identifier: BSD-3-Clause
#include "enumeratedusages.h"

#include <cstdint>

namespace hid::virt {

std::vector<UsagePair> enumeratedUsages(const Bytes &descriptor)
{
    std::vector<UsagePair> pairs;
    unsigned short usagePage = 0;
    unsigned short usage = 0;
    bool usageFound = false; // a Usage since the last main item
    std::size_t position = 0;
    while (position < descriptor.size()) {
        const unsigned key = descriptor[position];
        std::size_t dataLength = 0;
        std::size_t keyLength = 1;
        if ((key & 0xF0) == 0xF0) { // a long item: its length follows the key
            if (position + 1 >= descriptor.size())
                break;
            dataLength = descriptor[position + 1];
            keyLength = 3;
        } else {
            dataLength = (key & 0x03) == 3 ? 4 : key & 0x03;
        }
        // Item data, little-endian; 0 when the descriptor ends before all of it.
        uint32_t value = 0;
        if (position + dataLength < descriptor.size()) {
            for (std::size_t i = 0; i < dataLength && i < 4; ++i)
                value |= uint32_t(descriptor[position + 1 + i]) << (8 * i);
        }
        switch (key & 0xFC) {
        case 0x04: // Usage Page (global)
            usagePage = static_cast<unsigned short>(value);
            break;
        case 0x08: // Usage (local); four bytes carry their own usage page
            if (dataLength == 4)
                usagePage = static_cast<unsigned short>(value >> 16);
            usage = static_cast<unsigned short>(value);
            usageFound = true;
            break;
        case 0xA0: // Collection
            if (usageFound)
                pairs.emplace_back(usagePage, usage);
            usageFound = false;
            break;
        case 0x80: // Input, Output, Feature, End Collection: the usage is spent
        case 0x90:
        case 0xB0:
        case 0xC0: usageFound = false; break;
        default: break;
        }
        position += dataLength + keyLength;
    }
    if (pairs.empty() && usageFound)
        pairs.emplace_back(usagePage, usage);
    return pairs;
}

} // namespace hid::virt
