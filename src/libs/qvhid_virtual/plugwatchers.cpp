// SPDX-License-Identifier: BSD-3-Clause
#include "plugwatchers.h"

namespace hid::virt {

PlugWatchers &PlugWatchers::instance()
{
    // Never destroyed: a program's static destructors may still plug and unplug.
    static PlugWatchers *watchers = new PlugWatchers;
    return *watchers;
}

int PlugWatchers::watch(Callback callback, void *context)
{
    if (!callback)
        return 0;
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    const int handle = m_next++;
    m_watchers[handle] = {callback, context};
    return handle;
}

void PlugWatchers::unwatch(int watch)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    m_watchers.erase(watch);
}

void PlugWatchers::notify()
{
    // Recursive: a callback may unwatch itself, or plug a device.
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    const std::map<int, Watcher> watchers = m_watchers;
    for (const auto &entry : watchers) {
        if (m_watchers.count(entry.first))
            entry.second.callback(entry.second.context);
    }
}

} // namespace hid::virt
