// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_TESTS_SIGNALRECORDER_H
#define QVHID_TESTS_SIGNALRECORDER_H

#include <QMetaMethod>
#include <QObject>
#include <QSignalSpy>
#include <QStringList>

#include <memory>
#include <vector>

// Spies on every signal an object declares (its own and its bases'), so that a test can
// assert that an operation emitted nothing at all, whatever signals the class has.
class SignalRecorder
{
public:
    explicit SignalRecorder(const QObject *object)
    {
        const QMetaObject *meta = object->metaObject();
        for (int i = 0; i < meta->methodCount(); ++i) {
            const QMetaMethod method = meta->method(i);
            if (method.methodType() != QMetaMethod::Signal || method.name() == "destroyed")
                continue;
            m_names.append(QString::fromLatin1(method.methodSignature()));
            m_spies.push_back(std::make_unique<QSignalSpy>(object, method));
        }
    }

    // "signature xN" for every signal that was emitted, in declaration order.
    QStringList emitted() const
    {
        QStringList result;
        for (size_t i = 0; i < m_spies.size(); ++i) {
            if (m_spies[i]->count() > 0)
                result.append(QStringLiteral("%1 x%2").arg(m_names[int(i)]).arg(m_spies[i]->count()));
        }
        return result;
    }

    int signalCount() const { return int(m_spies.size()); }

private:
    QStringList m_names;
    std::vector<std::unique_ptr<QSignalSpy>> m_spies;
};

#endif // QVHID_TESTS_SIGNALRECORDER_H
