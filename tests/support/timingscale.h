// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_TESTS_TIMINGSCALE_H
#define QVHID_TESTS_TIMINGSCALE_H

#include <QtGlobal>

// How many times longer than on a plain build a time bound may be: the build sets
// QVHID_TIMING_SCALE for runs under sanitizers and valgrind, which slow every step down.
inline int timingScale()
{
    bool ok = false;
    const int scale = qEnvironmentVariableIntValue("QVHID_TIMING_SCALE", &ok);
    return ok && scale > 0 ? scale : 1;
}

#endif // QVHID_TESTS_TIMINGSCALE_H
