// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVCOMMON_SINGLETON_H
#define QVCOMMON_SINGLETON_H

#include <QtCore/qglobal.h>

namespace common {

/// Gives a class one process-wide instance, created on first use and kept until exit.
///
/// The template has default visibility on purpose: every module that instantiates
/// CSingleton<T> for the same T then shares one Instance() and one object, even when
/// the modules are built with hidden visibility.
template<class T> class Q_DECL_EXPORT CSingleton
{
public:
    /// Thread-safe: concurrent first calls construct exactly one T.
    static T &Instance()
    {
        static T instance;
        return instance;
    }

    CSingleton(const CSingleton &) = delete;
    CSingleton &operator=(const CSingleton &) = delete;

protected:
    CSingleton() = default;
    ~CSingleton() = default;
};

} // namespace common

#endif // QVCOMMON_SINGLETON_H
