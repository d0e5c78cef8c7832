#pragma once

#include <QObject>
#include <QTextStream>

#include <memory>

class CLineCapture;

// --capture FILE: the line capture of one run of the program. It is set as the line tap of the
// process, so every port the run opens (the link, the boot loader's port during an upgrade, any
// port a command tries) is recorded, whatever the command. A capture that fails on its way (disk
// full, file deleted) prints a warning and ends; the command goes on.
class CliCapture : public QObject
{
    Q_OBJECT

public:
    explicit CliCapture(QTextStream &err);
    // Ends the capture: the file holds every chunk the ports saw.
    ~CliCapture() override;

    // Creates the file and starts recording; prints an error line and returns false when the file
    // cannot be created.
    bool Start(const QString &path);

private:
    void OnFailed(const QString &message);

    QTextStream &m_err;
    std::shared_ptr<CLineCapture> m_capture;
};
