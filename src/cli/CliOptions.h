#pragma once

#include <QString>
#include <QStringList>

// The global options of lichtwart-cli and the command with its own arguments. Device, baud rate and
// the two addresses default to the settings, as the GUI's.
class CliOptions
{
public:
    enum class TraceLevel { None, Osi7, Osi2, Raw };

    // Parses the process arguments; on failure ErrorText() says why (usage error, exit code 2).
    bool Parse(const QStringList &arguments);

    QString ErrorText() const { return m_error; }
    bool HelpRequested() const { return m_help; }
    bool VersionRequested() const { return m_version; }
    static QString HelpText();
    // The level at which trace rows are made: --trace, or OSI 7 when only --trace-file is given.
    TraceLevel RowLevel() const;

    QString device;
    int baudRate = 0;
    int osi2Address = 0;
    int osi7Address = 0;
    int timeoutMs = 5000;
    int settleMs = 1000;
    TraceLevel trace = TraceLevel::None; // rows to stderr
    QString traceFile;                    // rows also to this file, as CSV with a header
    QString capturePath;                  // --capture: the line goes to this pcap file
    QString command;
    QStringList commandArguments;

private:
    bool TakeValue(const QStringList &arguments, int &i, QString &value);
    bool TakeNumber(const QStringList &arguments, int &i, int minimum, int maximum, int &number);
    bool ParseTrace(const QString &text);
    bool Fail(const QString &text);

    QString m_error;
    bool m_help = false;
    bool m_version = false;
};
