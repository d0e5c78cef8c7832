#include "app/CStrictIntValidator.h"

#include <QTest>

class tst_CStrictIntValidator : public QObject
{
    Q_OBJECT

private slots:
    void states_data();
    void states();
};

void tst_CStrictIntValidator::states_data()
{
    QTest::addColumn<int>("bottom");
    QTest::addColumn<int>("top");
    QTest::addColumn<QString>("input");
    QTest::addColumn<int>("state");
    const int acceptable = QValidator::Acceptable;
    const int intermediate = QValidator::Intermediate;
    const int invalid = QValidator::Invalid;
    QTest::newRow("in range") << 1 << 199 << "150" << acceptable;
    QTest::newRow("top") << 1 << 199 << "199" << acceptable;
    QTest::newRow("bottom") << 1 << 199 << "1" << acceptable;
    QTest::newRow("empty") << 1 << 199 << "" << intermediate;
    QTest::newRow("below bottom") << 1 << 199 << "0" << intermediate;
    QTest::newRow("three digits above top") << 1 << 199 << "200" << invalid;
    QTest::newRow("four digits") << 1 << 199 << "1990" << invalid;
    QTest::newRow("two digits above top") << 1 << 16 << "17" << invalid;
    QTest::newRow("prefix of a valid value") << 10 << 10000 << "5" << intermediate;
    QTest::newRow("five digits above top") << 10 << 10000 << "20000" << invalid;
    QTest::newRow("negative") << 1 << 199 << "-5" << invalid;
    QTest::newRow("letters") << 1 << 199 << "ab" << invalid;
}

void tst_CStrictIntValidator::states()
{
    QFETCH(int, bottom);
    QFETCH(int, top);
    QFETCH(QString, input);
    QFETCH(int, state);
    CStrictIntValidator validator(bottom, top);
    int nPos = input.size();
    QCOMPARE(int(validator.validate(input, nPos)), state);
}

QTEST_GUILESS_MAIN(tst_CStrictIntValidator)
#include "tst_cstrictintvalidator.moc"
