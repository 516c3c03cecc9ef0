#ifndef QVHID_GLOBAL_H
#define QVHID_GLOBAL_H

#include <QtCore/qglobal.h>

#if defined(QVHID_LIBRARY)
#define QVHID_EXPORT Q_DECL_EXPORT
#else
#define QVHID_EXPORT Q_DECL_IMPORT
#endif

#endif // QVHID_GLOBAL_H
