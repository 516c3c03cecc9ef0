// SPDX-License-Identifier: BSD-3-Clause
#include <hiddevicemanager.h>
#include <singleton.h>

#include <QtTest>

#include <atomic>
#include <thread>
#include <vector>

extern "C" void *singletonProbeInstance();

namespace {

std::atomic<int> constructions{0};

struct SlowToBuild
{
    SlowToBuild()
    {
        ++constructions;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    int value = 42;
};

} // namespace

class TestSingleton : public QObject
{
    Q_OBJECT

private slots:
    void concurrentFirstUseBuildsOneInstance()
    {
        std::vector<std::thread> threads;
        std::vector<SlowToBuild *> seen(8, nullptr);
        for (size_t i = 0; i < seen.size(); ++i)
            threads.emplace_back([&seen, i] { seen[i] = &common::CSingleton<SlowToBuild>::Instance(); });
        for (std::thread &thread : threads)
            thread.join();
        QCOMPARE(constructions.load(), 1);
        for (SlowToBuild *instance : seen)
            QCOMPARE(instance, seen.front());
        QCOMPARE(seen.front()->value, 42);
    }

    void managerInstanceIsStable()
    {
        qv::hid::HidDeviceManager &first = qv::hid::HidDeviceManager::Instance();
        first.SetTopDevice(11, QStringLiteral("kept"));
        QCOMPARE(&qv::hid::HidDeviceManager::Instance(), &first);
        QCOMPARE(qv::hid::HidDeviceManager::Instance().GetTopDevice(11), QStringLiteral("kept"));
    }

    void everyModuleSharesTheManager()
    {
        QCOMPARE(singletonProbeInstance(), static_cast<void *>(&qv::hid::HidDeviceManager::Instance()));
    }

    void aDirectlyBuiltManagerIsNotTheInstance()
    {
        qv::hid::HidDeviceManager own;
        QVERIFY(&own != &qv::hid::HidDeviceManager::Instance());
        QCOMPARE(own.GetTopDevice(11), QString());
    }
};

QTEST_GUILESS_MAIN(TestSingleton)
#include "tst_singleton.moc"
