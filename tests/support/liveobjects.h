// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_TESTS_LIVEOBJECTS_H
#define QVHID_TESTS_LIVEOBJECTS_H

#include <QObject>

#include <mutex>
#include <unordered_set>

// A census of the QObjects alive in the process, kept through Qt Core's object hooks (the ones
// that debugging tools use): every QObject constructed while a census exists is counted until it
// is destroyed. One census at a time.
//
// count<T>() inspects the live objects' dynamic types, so call it only while no other thread
// is constructing or destroying objects.
class LiveObjects
{
public:
    LiveObjects();
    ~LiveObjects();

    LiveObjects(const LiveObjects &) = delete;
    LiveObjects &operator=(const LiveObjects &) = delete;

    template<typename T> int count() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        int result = 0;
        for (QObject *object : m_objects) {
            if (dynamic_cast<T *>(object))
                ++result;
        }
        return result;
    }

    // Objects made while this census existed and not yet destroyed.
    int total() const;

private:
    static void added(QObject *object);
    static void removed(QObject *object);

    mutable std::mutex m_mutex;
    std::unordered_set<QObject *> m_objects;
};

// The threads of this process, as the kernel counts them.
int runningThreadCount();

#endif // QVHID_TESTS_LIVEOBJECTS_H
