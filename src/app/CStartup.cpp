#include "CStartup.h"

#include <QApplication>
#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QDir>
#include <QFile>

bool CStartup::ProcessCommandLine(const QStringList &arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption allowRawHex(QLatin1String(AllowRawHexOption),
                                         QApplication::translate("CStartup", "Allow firmware upgrade from raw HEX files"));
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
