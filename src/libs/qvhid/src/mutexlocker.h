// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_MUTEXLOCKER_H
#define QVHID_MUTEXLOCKER_H

// Internal: a scoped QMutex lock that ThreadSanitizer can follow.
//
// A contended QMutex is handed from thread to thread inside Qt's own library, which is not
// built with the sanitizer, so the sanitizer would see the guarded data change hands without
// a lock. Under ThreadSanitizer this locker reports the acquire and the release itself; in
// every other build it is a plain QMutexLocker.

#include <QMutex>

#if defined(__SANITIZE_THREAD__)
#define QVHID_TSAN 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define QVHID_TSAN 1
#endif
#endif

#ifdef QVHID_TSAN
extern "C" void __tsan_acquire(void *address);
extern "C" void __tsan_release(void *address);
#endif

namespace hid {

class MutexLocker
{
public:
    explicit MutexLocker(QMutex *mutex)
        : m_mutex(mutex)
    {
        m_mutex->lock();
#ifdef QVHID_TSAN
        __tsan_acquire(m_mutex);
#endif
    }

    ~MutexLocker()
    {
#ifdef QVHID_TSAN
        __tsan_release(m_mutex);
#endif
        m_mutex->unlock();
    }

    MutexLocker(const MutexLocker &) = delete;
    MutexLocker &operator=(const MutexLocker &) = delete;

private:
    QMutex *m_mutex;
};

} // namespace hid

#endif // QVHID_MUTEXLOCKER_H
