// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_TESTS_EMULATION_TEXTFORMAT_H
#define QVHID_TESTS_EMULATION_TEXTFORMAT_H

// printf-style formatting into a std::string, for the short names and attribute texts of sysfs.

#include <cstdarg>
#include <cstdio>
#include <string>

namespace emulation {

inline std::string format(const char *pattern, ...) __attribute__((format(printf, 1, 2)));
inline std::string format(const char *pattern, ...)
{
    char buffer[512];
    va_list arguments;
    va_start(arguments, pattern);
    std::vsnprintf(buffer, sizeof buffer, pattern, arguments);
    va_end(arguments);
    return buffer;
}

} // namespace emulation

#endif // QVHID_TESTS_EMULATION_TEXTFORMAT_H
