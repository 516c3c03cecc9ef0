// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVCOMMON_QTLOGGER_H
#define QVCOMMON_QTLOGGER_H

#include "logger.h"
#include "qvcommon_export.h"

#include <QLoggingCategory>

namespace common {
namespace logger {

/// The category under which QtLogger writes: "qvhid". Rules such as
/// QT_LOGGING_RULES="qvhid.debug=false" filter it as usual.
QVCOMMON_EXPORT const QLoggingCategory &QtLoggingCategory();

/// A logger for applications that have none of their own: every line goes to Qt's logging
/// under QtLoggingCategory(), with the line's source file, line and function.
///
/// Levels map onto Qt's message types: 0 to 2 critical, 3 (failures) and 4 warning, 5 and 6 info,
/// 7 (trace) debug.
///
///     common::logger::QtLogger qtLogger;
///     common::logger::SetLogger(&qtLogger);
class QVCOMMON_EXPORT QtLogger : public ILogger
{
public:
    void Write(const IMessage &message) override;

    /// The Qt message type of a level.
    static QtMsgType messageType(int level);
};

} // namespace logger
} // namespace common

#endif // QVCOMMON_QTLOGGER_H
