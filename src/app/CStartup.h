#pragma once

#include <QCommandLineOption>
#include <QString>
#include <QStringList>

class QApplication;

// The steps of the program's start that come before the main window: the command line and the
// optional style sheet beside the executable.
class CStartup
{
public:
    static constexpr const char *AllowRawHexOption = "allow-raw-hex";
    static constexpr const char *StyleSheetFileName = "lichtwart.qss";

    // The program's only command-line option: a flag without a value.
    static QCommandLineOption RawHexOption();

    // Processes the command line, which knows the one flag allow-raw-hex. An unknown option is
    // reported by the parser and ends the process. Returns whether the flag was given.
    static bool ProcessCommandLine(const QStringList &arguments);

    // The style sheet file in the given directory.
    static QString StyleSheetPath(const QString &qstrDirectory);

    // Applies the style sheet file in the given directory, unless a style sheet was given on the
    // command line through the toolkit's own -stylesheet option. A missing or unreadable file
    // leaves the platform style, without a message.
    static void ApplyStyleSheet(QApplication &app, const QString &qstrDirectory);
};
