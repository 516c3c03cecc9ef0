// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_TESTS_REPORTSTREAM_H
#define QVHID_TESTS_REPORTSTREAM_H

// A headset that reports its whole input state again and again, as one that answers every
// poll of its interrupt endpoint does: a thread of its own sends the current report every
// `period` until the stream is stopped or destroyed. The report can be changed meanwhile (a
// button pressed on such a headset changes what it streams).

#include "testheadset.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

class ReportStream
{
public:
    ReportStream(const TestHeadset &headset, hid::virt::Bytes report, std::chrono::milliseconds period)
        : m_inject(headset.injector())
        , m_report(std::move(report))
        , m_thread([this, period] { run(period); })
    {
    }

    ~ReportStream() { stop(); }
    ReportStream(const ReportStream &) = delete;
    ReportStream &operator=(const ReportStream &) = delete;

    void setReport(const hid::virt::Bytes &report)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_report = report;
    }

    void stop()
    {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_stopped = true;
        }
        m_changed.notify_all();
        if (m_thread.joinable())
            m_thread.join();
    }

    unsigned long sent() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_sent;
    }

private:
    void run(std::chrono::milliseconds period)
    {
        auto next = std::chrono::steady_clock::now();
        std::unique_lock<std::mutex> lock(m_mutex);
        while (!m_stopped) {
            const hid::virt::Bytes report = m_report;
            lock.unlock();
            m_inject(report);
            lock.lock();
            ++m_sent;
            next += period;
            m_changed.wait_until(lock, next, [this] { return m_stopped; });
        }
    }

    const std::function<void(const hid::virt::Bytes &)> m_inject;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    hid::virt::Bytes m_report;
    bool m_stopped = false;
    unsigned long m_sent = 0;
    std::thread m_thread; // last: it starts once everything it uses is made
};

#endif // QVHID_TESTS_REPORTSTREAM_H
