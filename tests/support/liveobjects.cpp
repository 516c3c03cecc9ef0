// SPDX-License-Identifier: BSD-3-Clause
#include "liveobjects.h"

#include <QtGlobal>

#include <dirent.h>

// Qt Core's hook table, as its private header declares it: the slots hold callbacks that Qt
// calls at the end of every QObject constructor and at the start of every QObject destructor.
extern quintptr Q_CORE_EXPORT qtHookData[];

namespace {

enum HookIndex { AddQObject = 3, RemoveQObject = 4 };
using ObjectCallback = void (*)(QObject *);

LiveObjects *g_census = nullptr;

} // namespace

LiveObjects::LiveObjects()
{
    Q_ASSERT(!g_census);
    g_census = this;
    qtHookData[AddQObject] = reinterpret_cast<quintptr>(static_cast<ObjectCallback>(&LiveObjects::added));
    qtHookData[RemoveQObject] = reinterpret_cast<quintptr>(static_cast<ObjectCallback>(&LiveObjects::removed));
}

LiveObjects::~LiveObjects()
{
    qtHookData[AddQObject] = 0;
    qtHookData[RemoveQObject] = 0;
    g_census = nullptr;
}

int LiveObjects::total() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return int(m_objects.size());
}

void LiveObjects::added(QObject *object)
{
    std::lock_guard<std::mutex> lock(g_census->m_mutex);
    g_census->m_objects.insert(object);
}

void LiveObjects::removed(QObject *object)
{
    std::lock_guard<std::mutex> lock(g_census->m_mutex);
    g_census->m_objects.erase(object);
}

int runningThreadCount()
{
    int count = 0;
    if (DIR *tasks = opendir("/proc/self/task")) {
        while (const dirent *entry = readdir(tasks)) {
            if (entry->d_name[0] != '.')
                ++count;
        }
        closedir(tasks);
    }
    return count;
}
