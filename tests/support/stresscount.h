// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_TESTS_STRESSCOUNT_H
#define QVHID_TESTS_STRESSCOUNT_H

#include <QtGlobal>

// How many times a stress test repeats its step: `standard`, unless the environment variable
// `name` gives another positive number (for a quick run by hand).
inline int stressCount(const char *name, int standard)
{
    bool ok = false;
    const int count = qEnvironmentVariableIntValue(name, &ok);
    return ok && count > 0 ? count : standard;
}

#endif // QVHID_TESTS_STRESSCOUNT_H
