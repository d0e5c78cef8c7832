#include "app/CStartup.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <vector>

// The program started with the toolkit's own -stylesheet argument: the style sheet beside the
// executable is not read. This needs an application built from such a command line, hence a
// test program of its own.
class TestStartupStyleSheet : public QObject
{
    Q_OBJECT

public:
    TestStartupStyleSheet(const QString &given, const QString &beside) : m_given(given), m_beside(beside) {}

private slots:
    void theStyleSheetArgumentWins()
    {
        QVERIFY(qApp->styleSheet().endsWith(m_given));
        const QString fromArgument = qApp->styleSheet();
        CStartup::ApplyStyleSheet(*qApp, m_beside);
        QCOMPARE(qApp->styleSheet(), fromArgument);
    }

private:
    QString m_given;
    QString m_beside;
};

int main(int argc, char *argv[])
{
    QTemporaryDir dir;
    const QString given = QDir(dir.path()).filePath(QStringLiteral("given.qss"));
    QFile givenFile(given);
    QFile besideFile(CStartup::StyleSheetPath(dir.path()));
    if (!givenFile.open(QIODevice::WriteOnly) || !besideFile.open(QIODevice::WriteOnly))
        return 1;
    givenFile.write("QWidget { color: blue; }");
    besideFile.write("QWidget { color: red; }");
    givenFile.close();
    besideFile.close();

    QByteArray styleSheetArgument = given.toLocal8Bit();
    std::vector<char *> arguments = {argv[0], const_cast<char *>("-stylesheet"), styleSheetArgument.data()};
    int count = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);
    QApplication app(count, arguments.data());
    TestStartupStyleSheet test(given, dir.path());
    return QTest::qExec(&test, QStringList({QString::fromLocal8Bit(argv[0])}) + app.arguments().mid(1));
}

#include "tst_startup_stylesheet.moc"
