#include "tls/CStreloProductTable.h"

#include <QTest>

class TestStreloProductTable : public QObject
{
    Q_OBJECT

private slots:
    void rowsInOrder();
    void findByHardwareMajor_data();
    void findByHardwareMajor();
    void findById_data();
    void findById();
    void recordsStayPut();
};

void TestStreloProductTable::rowsInOrder()
{
    const auto &rows = CStreloProductTable::Rows();
    QCOMPARE(rows.size(), std::size_t(2));
    QCOMPARE(rows[0]->id, QStringLiteral("strelo-002"));
    QCOMPARE(rows[0]->hardwareMajor, 2);
    QCOMPARE(rows[0]->variant, 0);
    QCOMPARE(rows[1]->id, QStringLiteral("strelo-003"));
    QCOMPARE(rows[1]->hardwareMajor, 3);
    QCOMPARE(rows[1]->variant, 1);
}

void TestStreloProductTable::findByHardwareMajor_data()
{
    QTest::addColumn<int>("major");
    QTest::addColumn<int>("row"); // -1: no product
    QTest::newRow("2") << 2 << 0;
    QTest::newRow("3") << 3 << 1;
    QTest::newRow("0") << 0 << -1;
    QTest::newRow("1") << 1 << -1;
    QTest::newRow("4") << 4 << -1;
    QTest::newRow("255") << 255 << -1;
    QTest::newRow("-2") << -2 << -1;
}

void TestStreloProductTable::findByHardwareMajor()
{
    QFETCH(int, major);
    QFETCH(int, row);
    const STRELO_PRODUCT *expected = row < 0 ? nullptr : CStreloProductTable::Rows()[std::size_t(row)];
    QCOMPARE(CStreloProductTable::FindByHardwareMajor(major), expected);
}

void TestStreloProductTable::findById_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<int>("row");
    QTest::newRow("strelo-002") << "strelo-002" << 0;
    QTest::newRow("strelo-003") << "strelo-003" << 1;
    QTest::newRow("upper case") << "STRELO-003" << 1;
    QTest::newRow("mixed case") << "Strelo-002" << 0;
    QTest::newRow("not in the table") << "strelo-004" << -1;
    QTest::newRow("with a blank") << "strelo-002 " << -1;
    QTest::newRow("empty") << "" << -1;
}

void TestStreloProductTable::findById()
{
    QFETCH(QString, id);
    QFETCH(int, row);
    const STRELO_PRODUCT *expected = row < 0 ? nullptr : CStreloProductTable::Rows()[std::size_t(row)];
    QCOMPARE(CStreloProductTable::FindById(id), expected);
}

void TestStreloProductTable::recordsStayPut()
{
    // Receivers of a queued signal keep the pointer: every look-up yields the same record.
    QCOMPARE(CStreloProductTable::FindByHardwareMajor(3), CStreloProductTable::FindById("strelo-003"));
    QCOMPARE(CStreloProductTable::FindByHardwareMajor(2), CStreloProductTable::Rows()[0]);
}

QTEST_GUILESS_MAIN(TestStreloProductTable)
#include "tst_streloproducttable.moc"
