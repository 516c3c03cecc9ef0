// SPDX-License-Identifier: BSD-3-Clause
#include "qtlogger.h"

#include <QByteArray>

namespace common {
namespace logger {

const QLoggingCategory &QtLoggingCategory()
{
    static const QLoggingCategory category("qvhid");
    return category;
}

QtMsgType QtLogger::messageType(int level)
{
    if (level <= 2)
        return QtCriticalMsg;
    if (level <= 4)
        return QtWarningMsg;
    if (level <= 6)
        return QtInfoMsg;
    return QtDebugMsg;
}

void QtLogger::Write(const IMessage &message)
{
    const QLoggingCategory &category = QtLoggingCategory();
    const QtMsgType type = messageType(message.level());
    if (!category.isEnabled(type))
        return;

    const QByteArray file = message.file().toUtf8();
    const QByteArray function = message.function().toUtf8();
    const QByteArray text = message.text().toUtf8();
    const QMessageLogger qtLogger(file.constData(), message.line(), function.constData(), category.categoryName());
    switch (type) {
    case QtCriticalMsg: qtLogger.critical("%s", text.constData()); break;
    case QtWarningMsg: qtLogger.warning("%s", text.constData()); break;
    case QtInfoMsg: qtLogger.info("%s", text.constData()); break;
    default: qtLogger.debug("%s", text.constData()); break;
    }
}

} // namespace logger
} // namespace common
