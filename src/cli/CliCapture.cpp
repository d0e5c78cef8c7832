#include "CliCapture.h"

#include "capture/CLineCapture.h"
#include "comm/CAsync.h"

#include <QCoreApplication>

CliCapture::CliCapture(QTextStream &err)
    : m_err(err)
{
}

CliCapture::~CliCapture()
{
    if (!m_capture)
        return;
    CAsync::SetLineTap(nullptr);
    m_capture->Stop();
    // A failure found while the last chunks were written is still told.
    QCoreApplication::processEvents();
}

bool CliCapture::Start(const QString &path)
{
    auto capture = std::make_shared<CLineCapture>();
    // Connected before the writer starts: its first write may already fail.
    connect(capture.get(), &CLineCapture::Failed, this, &CliCapture::OnFailed, Qt::QueuedConnection);
    if (!capture->Start(path)) {
        m_err << "error: " << capture->ErrorText() << "\n";
        m_err.flush();
        return false;
    }
    m_capture = capture;
    CAsync::SetLineTap(capture);
    return true;
}

void CliCapture::OnFailed(const QString &message)
{
    CAsync::SetLineTap(nullptr);
    m_err << "warning: " << message << "\n";
    m_err.flush();
}
