#include "CStartup.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QFile>

QCommandLineOption CStartup::RawHexOption()
{
    return QCommandLineOption(QLatin1String(AllowRawHexOption),
                              QApplication::translate("CStartup", "Allow firmware upgrade from raw HEX files"));
}

bool CStartup::ProcessCommandLine(const QStringList &arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption allowRawHex = RawHexOption();
    parser.addOption(allowRawHex);
    parser.process(arguments);
    return parser.isSet(allowRawHex);
}

QString CStartup::StyleSheetPath(const QString &qstrDirectory)
{
    return qstrDirectory + QDir::separator() + QLatin1String(StyleSheetFileName);
}

void CStartup::ApplyStyleSheet(QApplication &app, const QString &qstrDirectory)
{
    if (!app.styleSheet().isEmpty())
        return;
    QFile file(StyleSheetPath(qstrDirectory));
    if (!file.open(QIODevice::ReadOnly))
        return;
    app.setStyleSheet(QString::fromUtf8(file.readAll()));
    file.close();
}
