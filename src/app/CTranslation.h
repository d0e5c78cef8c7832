#pragma once

#include <QLocale>
#include <QString>

class QCoreApplication;

// The GUI's language. English is the program's own language, written in the sources and forms;
// a translation compiled into the program (":/i18n/lichtwart_<language>.qm") replaces it when it
// matches the user's languages, together with Qt's own translation of the same language for the
// standard buttons and dialogs, when that is installed. The command-line tool never loads one:
// scripts parse its output.
class CTranslation
{
public:
    static constexpr const char *ResourceDirectory = ":/i18n";
    static constexpr const char *FilePrefix = "lichtwart";
    static constexpr const char *QtFilePrefix = "qtbase";

    // Installs into the application the program's translation for the first of the locale's
    // languages that has one (QLocale::system() follows LANGUAGE, LC_ALL, LC_MESSAGES and LANG),
    // and Qt's translation for that language. Returns the language installed, e.g. "de", or an
    // empty string when none matched and the program stays English.
    static QString Install(QCoreApplication &app, const QLocale &locale = QLocale::system());

    // The folder of Qt's own translations (qtbase_de.qm and the like).
    static QString QtTranslationsDirectory();
};
