// SPDX-License-Identifier: BSD-3-Clause
// The example softphone, as a user sees it: its call screen under the offscreen platform with a
// virtual headset, driven through a whole call (incoming, answered by the headset's button,
// muted, held, ended) by clicks on its buttons, its texts checked at each step. It also saves a
// screenshot of the call screen, which the README shows.

#include "softphone.h"
#include "timingscale.h"
#include "virtualheadset.h"

#include <QDir>
#include <QImage>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QScreen>
#include <QSet>
#include <QtTest>

#include <chrono>

namespace {

// Items a Repeater makes have no QObject parent: the item tree is walked instead.
QQuickItem *findItem(QQuickItem *root, const QString &name)
{
    if (root->objectName() == name)
        return root;
    for (QQuickItem *child : root->childItems()) {
        if (QQuickItem *found = findItem(child, name))
            return found;
    }
    return nullptr;
}

} // namespace

class TestSoftphone : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void wholeCall();
    void readmeShowsTheExamplesQml();

private:
    QString text(const char *name) const;
    bool click(const char *name);
    bool headsetListens() const;
    void saveScreenshot();

    Softphone *m_softphone = nullptr;
    QQmlApplicationEngine *m_engine = nullptr;
    QQuickWindow *m_window = nullptr;
};

void TestSoftphone::initTestCase()
{
    m_softphone = new Softphone(QStringLiteral("telephony-headset"));
    QVERIFY(m_softphone->isValid());
    m_engine = new QQmlApplicationEngine;
    QVERIFY(m_softphone->load(*m_engine));
    m_window = qobject_cast<QQuickWindow *>(m_engine->rootObjects().first());
    QVERIFY(m_window);
    QVERIFY(QTest::qWaitForWindowExposed(m_window));
}

void TestSoftphone::cleanupTestCase()
{
    delete m_engine;
    delete m_softphone;
}

QString TestSoftphone::text(const char *name) const
{
    const QQuickItem *item = findItem(m_window->contentItem(), QLatin1String(name));
    return item ? item->property("text").toString() : QStringLiteral("<no %1>").arg(QLatin1String(name));
}

bool TestSoftphone::click(const char *name)
{
    QQuickItem *item = findItem(m_window->contentItem(), QLatin1String(name));
    if (!item || !item->isVisible() || !item->isEnabled())
        return false;
    const QPointF centre = item->mapToScene(QPointF(item->width() / 2, item->height() / 2));
    QTest::mouseClick(m_window, Qt::LeftButton, Qt::NoModifier, centre.toPoint());
    return true;
}

bool TestSoftphone::headsetListens() const
{
    const auto *headset = qobject_cast<VirtualHeadset *>(m_softphone->virtualHeadset());
    return headset->device().waitForListeningReader(std::chrono::milliseconds(5000 * timingScale()));
}

void TestSoftphone::saveScreenshot()
{
    QImage screenshot = m_window->grabWindow();
    // Qt 5's offscreen platform hands out no image of a software-rendered window's backing
    // store; its screen composes one from the same store.
    if (screenshot.isNull())
        screenshot = m_window->screen()->grabWindow(m_window->winId()).toImage();
    QCOMPARE(screenshot.size(), m_window->size() * m_window->devicePixelRatio());
    // Not blank: the window's background, its texts and its buttons make many colours.
    QSet<QRgb> colours;
    for (int y = 0; y < screenshot.height(); y += 2) {
        for (int x = 0; x < screenshot.width(); x += 2)
            colours.insert(screenshot.pixel(x, y));
    }
    QVERIFY2(colours.size() >= 16, qPrintable(QString::number(colours.size())));
    const QString path = QDir(QStringLiteral(SCREENSHOT_DIR)).filePath(QStringLiteral("softphone-call.png"));
    QVERIFY(screenshot.save(path));
    qInfo("call screen saved as %s", qPrintable(path));
}

void TestSoftphone::wholeCall()
{
    const int timeout = 5000 * timingScale();
    // The virtual headset is chosen first, and bound.
    QCOMPARE(findItem(m_window->contentItem(), QStringLiteral("audioDevices"))->property("displayText").toString(),
             QStringLiteral("Office Headset 20 (virtual)"));
    QTRY_COMPARE_WITH_TIMEOUT(text("headsetLine"), QStringLiteral("Headset: Office Headset 20, Initial"), timeout);
    QCOMPARE(text("lampsLine"), QStringLiteral("Lamps: all off"));
    QCOMPARE(text("callStatus"), QStringLiteral("No call"));

    QVERIFY(click("incomingCall"));
    QCOMPARE(text("callStatus"), QStringLiteral("Incoming call"));
    QTRY_COMPARE_WITH_TIMEOUT(text("headsetLine"), QStringLiteral("Headset: Office Headset 20, Incoming call"),
                              timeout);
    QTRY_COMPARE_WITH_TIMEOUT(text("lampsLine"), QStringLiteral("Lamps: Ring On-Line"), timeout);

    // Answered on the headset.
    QVERIFY(headsetListens());
    QVERIFY(click("key-answer"));
    QTRY_COMPARE_WITH_TIMEOUT(text("callStatus"), QStringLiteral("Talking"), timeout);
    QTRY_COMPARE_WITH_TIMEOUT(text("headsetLine"), QStringLiteral("Headset: Office Headset 20, Talk"), timeout);
    QTRY_COMPARE_WITH_TIMEOUT(text("lampsLine"), QStringLiteral("Lamps: Off-Hook On-Line"), timeout);

    QVERIFY(click("mute"));
    QCOMPARE(text("callStatus"), QStringLiteral("Talking, muted"));
    QTRY_COMPARE_WITH_TIMEOUT(text("headsetLine"), QStringLiteral("Headset: Office Headset 20, Talk muted"), timeout);
    QTRY_COMPARE_WITH_TIMEOUT(text("lampsLine"), QStringLiteral("Lamps: Off-Hook Mute On-Line"), timeout);
    saveScreenshot();

    QVERIFY(click("hold"));
    QCOMPARE(text("callStatus"), QStringLiteral("On hold, muted"));
    QTRY_COMPARE_WITH_TIMEOUT(text("headsetLine"), QStringLiteral("Headset: Office Headset 20, Hold muted"), timeout);
    QTRY_COMPARE_WITH_TIMEOUT(text("lampsLine"), QStringLiteral("Lamps: Off-Hook Mute Hold On-Line"), timeout);

    // Ended: the lamps go dark. The headset's state machine has no way from "Hold muted" to
    // "Initial", so its state stays as it was while its lamps are switched off.
    QVERIFY(click("hangUp"));
    QCOMPARE(text("callStatus"), QStringLiteral("No call"));
    QTRY_COMPARE_WITH_TIMEOUT(text("lampsLine"), QStringLiteral("Lamps: all off"), timeout);
    QCOMPARE(text("headsetLine"), QStringLiteral("Headset: Office Headset 20, Hold muted"));
    QVERIFY(!findItem(m_window->contentItem(), QStringLiteral("desktopMuteLine"))->isVisible());
}

void TestSoftphone::readmeShowsTheExamplesQml()
{
    QFile readme(QStringLiteral(SOURCE_DIR "/README.md"));
    QFile screen(QStringLiteral(SOURCE_DIR "/examples/softphone/Main.qml"));
    QVERIFY(readme.open(QIODevice::ReadOnly | QIODevice::Text));
    QVERIFY(screen.open(QIODevice::ReadOnly | QIODevice::Text));
    const QString text = QString::fromUtf8(readme.readAll());
    const int section = text.indexOf(QLatin1String("### Use from QML"));
    const int start = text.indexOf(QLatin1String("```qml\n"), section);
    const int end = text.indexOf(QLatin1String("```\n"), start + 7);
    QVERIFY(section >= 0 && start > section && end > start);
    const QStringList excerpt = text.mid(start + 7, end - start - 7).split(QLatin1Char('\n'));
    const QStringList lines = QString::fromUtf8(screen.readAll()).split(QLatin1Char('\n'));
    // Every line of the excerpt is a line of the call screen, in the same order.
    int at = 0;
    for (const QString &line : excerpt) {
        if (line.trimmed().isEmpty())
            continue;
        while (at < lines.size() && lines.at(at).trimmed() != line.trimmed())
            ++at;
        QVERIFY2(at < lines.size(), qPrintable(QStringLiteral("not in Main.qml, or not in this order: ") + line));
        ++at;
    }
}

QTEST_MAIN(TestSoftphone)
#include "tst_softphone.moc"
