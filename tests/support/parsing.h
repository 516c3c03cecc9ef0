// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_TESTS_PARSING_H
#define QVHID_TESTS_PARSING_H

#include <hidparserbase.h>

#include <QByteArray>

#include <memory>

// Parses a descriptor from a heap block of exactly its size, so that AddressSanitizer sees any
// read past its end.
inline int parseExactly(const QByteArray &descriptor, hid::HIDReportInfo &info)
{
    const auto size = static_cast<size_t>(descriptor.size());
    std::unique_ptr<unsigned char[]> bytes(new unsigned char[size]);
    std::copy(descriptor.begin(), descriptor.end(), bytes.get());
    return hid::HIDParserBase::parseReportData(bytes.get(), static_cast<unsigned short>(size), info);
}

#endif // QVHID_TESTS_PARSING_H
