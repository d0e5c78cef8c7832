// The product record found on the reader thread reaches the user-interface thread through a
// queued DeviceChanged and is read there. The record must be complete before any link thread
// runs: under the thread sanitizer a record first built on the reader thread and read on the
// user-interface thread is a race the sanitizer cannot see ordered (the queue is Qt's).
#include "SimChild.h"
#include "MainWindowStandIn.h"

#include "controller/CTrafficLightController.h"

#include <QTest>

#include <memory>

namespace {

constexpr int kIdentifiedMs = 15000;
constexpr int kBaudRate = 115200;

} // namespace

class TestIdentityAcrossThreads : public QObject
{
    Q_OBJECT

private slots:
    void productArrivesWhole_data();
    void productArrivesWhole();
};

void TestIdentityAcrossThreads::productArrivesWhole_data()
{
    QTest::addColumn<QString>("hardware");
    QTest::addColumn<QString>("id");
    QTest::addColumn<int>("variant");
    QTest::newRow("strelo-002") << "2.1.0" << "strelo-002" << 0;
    QTest::newRow("strelo-003") << "3.0.7" << "strelo-003" << 1;
}

void TestIdentityAcrossThreads::productArrivesWhole()
{
    QFETCH(QString, hardware);
    QFETCH(QString, id);
    QFETCH(int, variant);
    SimChild sim;
    QVERIFY(sim.Start({"--hardware", hardware}));
    MainWindowStandIn window;
    auto controller = std::make_unique<CTrafficLightController>(&window);
    QString seenId;
    int seenVariant = -1;
    connect(controller.get(), &CTrafficLightController::DeviceChanged, this,
            [&](const STRELO_PRODUCT *product) {
                seenId = product != nullptr ? product->id : QStringLiteral("none");
                seenVariant = product != nullptr ? product->variant : -1;
            });
    QVERIFY(controller->ConnectPort(sim.DevicePath(), kBaudRate));
    controller->Connect(1, 1);
    QTRY_VERIFY_WITH_TIMEOUT(!seenId.isEmpty(), kIdentifiedMs);
    QCOMPARE(seenId, id);
    QCOMPARE(seenVariant, variant);
    controller->ShutDown();
}

QTEST_MAIN(TestIdentityAcrossThreads)
#include "tst_identityacrossthreads.moc"
