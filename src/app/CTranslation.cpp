#include "CTranslation.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QTranslator>

QString CTranslation::Install(QCoreApplication &app, const QLocale &locale)
{
    auto *own = new QTranslator(&app);
    if (!own->load(locale, QLatin1String(FilePrefix), QStringLiteral("_"), QLatin1String(ResourceDirectory))) {
        delete own;
        return QString();
    }
    QCoreApplication::installTranslator(own);

    // Qt's own texts only in the language the program speaks, so that an English program never
    // shows French standard buttons.
    const QString language = own->language();
    auto *qt = new QTranslator(&app);
    if (qt->load(QLocale(language), QLatin1String(QtFilePrefix), QStringLiteral("_"), QtTranslationsDirectory()))
        QCoreApplication::installTranslator(qt);
    else
        delete qt;
    return language;
}

QString CTranslation::QtTranslationsDirectory()
{
    return QLibraryInfo::path(QLibraryInfo::TranslationsPath);
}
