#ifndef QVCOMMON_GLOBAL_H
#define QVCOMMON_GLOBAL_H

#include <QtCore/qglobal.h>

#if defined(QVCOMMON_LIBRARY)
#define QVCOMMON_EXPORT Q_DECL_EXPORT
#else
#define QVCOMMON_EXPORT Q_DECL_IMPORT
#endif

#endif // QVCOMMON_GLOBAL_H
