// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_TESTS_DECLAREDMETHODS_H
#define QVHID_TESTS_DECLAREDMETHODS_H

#include <QMetaMethod>
#include <QMetaObject>
#include <QStringList>

// The signatures of the signals or slots that a class declares itself (not its bases), in
// declaration order; each one that is not public is followed by "(not public)".
inline QStringList declaredMethods(const QMetaObject &meta, QMetaMethod::MethodType type)
{
    QStringList result;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod method = meta.method(i);
        if (method.methodType() != type)
            continue;
        result << QString::fromLatin1(method.methodSignature());
        if (method.access() != QMetaMethod::Public)
            result << QStringLiteral("(not public)");
    }
    return result;
}

#endif // QVHID_TESTS_DECLAREDMETHODS_H
