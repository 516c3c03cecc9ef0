// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_FUZZ_FUZZINPUT_H
#define QVHID_FUZZ_FUZZINPUT_H

// The layout of the targets' inputs: a descriptor, then reports.
//
//   [descriptor length, 2 bytes little-endian][descriptor][report length, 1 byte][report]...
//
// A length that runs past the end takes what is left, so every input means something.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace fuzz {

class Input
{
public:
    Input(const uint8_t *data, std::size_t size)
        : m_data(data)
        , m_size(size)
    {
    }

    std::vector<uint8_t> take(std::size_t length)
    {
        length = length < remaining() ? length : remaining();
        std::vector<uint8_t> bytes(m_data + m_position, m_data + m_position + length);
        m_position += length;
        return bytes;
    }

    std::vector<uint8_t> descriptor()
    {
        const std::vector<uint8_t> length = take(2);
        return take(length.size() < 2 ? 0 : std::size_t(length[0] | length[1] << 8));
    }

    std::vector<uint8_t> report()
    {
        const std::vector<uint8_t> length = take(1);
        return take(length.empty() ? 0 : length[0]);
    }

    bool empty() const { return remaining() == 0; }
    std::size_t remaining() const { return m_size - m_position; }

private:
    const uint8_t *m_data;
    std::size_t m_size;
    std::size_t m_position = 0;
};

// The same layout, written.
inline std::vector<uint8_t> layout(const std::vector<uint8_t> &descriptor,
                                   const std::vector<std::vector<uint8_t>> &reports)
{
    std::vector<uint8_t> bytes = {uint8_t(descriptor.size() & 0xFF), uint8_t(descriptor.size() >> 8)};
    bytes.insert(bytes.end(), descriptor.begin(), descriptor.end());
    for (const std::vector<uint8_t> &report : reports) {
        bytes.push_back(uint8_t(report.size() < 255 ? report.size() : 255));
        bytes.insert(bytes.end(), report.begin(), report.begin() + (report.size() < 255 ? report.size() : 255));
    }
    return bytes;
}

} // namespace fuzz

#endif // QVHID_FUZZ_FUZZINPUT_H
