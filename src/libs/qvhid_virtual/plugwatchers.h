// SPDX-License-Identifier: BSD-3-Clause
// The callbacks of hid_watch_plugging(): told whenever a virtual device is added, removed,
// unplugged or plugged in again. Any thread may watch, unwatch or notify.
#ifndef QVHID_VIRTUAL_PLUGWATCHERS_H
#define QVHID_VIRTUAL_PLUGWATCHERS_H

#include <map>
#include <mutex>

namespace hid::virt {

class PlugWatchers
{
public:
    using Callback = void (*)(void *context);

    static PlugWatchers &instance();

    // A handle above 0, or 0 for a null callback.
    int watch(Callback callback, void *context);
    // Once it returns, the callback of `watch` runs no more, and runs nowhere now.
    void unwatch(int watch);
    // Calls every callback, in the order they were registered, on the calling thread.
    void notify();

private:
    PlugWatchers() = default;

    struct Watcher
    {
        Callback callback;
        void *context;
    };

    // Held while callbacks run, so that unwatch() waits for a callback in progress.
    std::recursive_mutex m_mutex;
    std::map<int, Watcher> m_watchers;
    int m_next = 1;
};

} // namespace hid::virt

#endif // QVHID_VIRTUAL_PLUGWATCHERS_H
