// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_HIDLOG_H
#define QVHID_HIDLOG_H

// Internal: the one way this library writes a log line.

#include <logger.h>

#include <QString>

#include <cstring>

namespace hid {
namespace log {

constexpr int Error = 3;
constexpr int Warning = 4;
constexpr int Trace = 7;

// "src/libs/qvhid/src/hiddevice.cpp" -> "src/libs/qvhid/src/hiddevice". The build maps the
// source root away from __FILE__, so the path is already relative to it.
inline QString sourcePath(const char *file)
{
    const char *slash = std::strrchr(file, '/');
    const char *dot = std::strrchr(slash ? slash : file, '.');
    return QString::fromLatin1(file, dot ? int(dot - file) : -1);
}

// An id or usage as the log lines write it: 0x0B -> "0x000B".
inline QString hexWord(unsigned short value)
{
    return QStringLiteral("0x") + QStringLiteral("%1").arg(value, 4, 16, QLatin1Char('0')).toUpper();
}

} // namespace log
} // namespace hid

// Streams one line at `level` with category "hid", this source file and the enclosing
// function's bare name:  HID_LOG(hid::log::Trace) << "HID DEVICE " << name;
// Nothing is formatted when no logger would receive the line.
#define HID_LOG(level)                                                                                                 \
    for (bool hidLogWanted = common::logger::IsDelivered(level); hidLogWanted; hidLogWanted = false)                   \
    common::logger::Message((level), QStringLiteral("hid"), hid::log::sourcePath(__FILE__),                            \
                            QString::fromLatin1(__func__), __LINE__)                                                   \
        .Stream()

// The same, for code that writes on behalf of a named public operation from a helper.
#define HID_LOG_AS(level, function)                                                                                    \
    for (bool hidLogWanted = common::logger::IsDelivered(level); hidLogWanted; hidLogWanted = false)                   \
    common::logger::Message((level), QStringLiteral("hid"), hid::log::sourcePath(__FILE__), QStringLiteral(function),  \
                            __LINE__)                                                                                  \
        .Stream()

#endif // QVHID_HIDLOG_H
