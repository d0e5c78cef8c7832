#include "CLineCapture.h"

#include <chrono>

CLineCapture::CLineCapture(QObject *parent)
    : QObject(parent)
{
}

CLineCapture::~CLineCapture()
{
    Stop();
}

bool CLineCapture::Start(const QString &path)
{
    Stop();
    m_path = path;
    m_error.clear();
    if (!m_file.Open(path.toStdString())) {
        m_error = tr("The capture file %1 could not be created (%2). Choose a folder you may write to.")
                      .arg(path, QString::fromStdString(m_file.Error()));
        return false;
    }
    m_size = m_file.Size();
    {
        std::lock_guard lock(m_mutex);
        m_queue.clear();
        m_backlog = 0;
        m_accepting = true;
        m_overrun = false;
        m_stopping = false;
    }
    m_running = true;
    m_writer = std::thread([this] { WriterLoop(); });
    return true;
}

void CLineCapture::Stop()
{
    if (!m_writer.joinable())
        return;
    {
        std::lock_guard lock(m_mutex);
        m_stopping = true;
        m_accepting = false;
    }
    m_wake.notify_all();
    m_writer.join();
    m_running = false;
}

void CLineCapture::Record(int direction, Clock::time_point seen, const ByteVector &data)
{
    std::lock_guard lock(m_mutex);
    if (!m_accepting)
        return;
    if (m_backlog + data.size() > kBacklogLimit) {
        m_accepting = false;
        m_overrun = true;
        return;
    }
    m_backlog += data.size();
    m_queue.push_back({direction, seen, data});
}

void CLineCapture::WriterLoop()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_wake.wait_for(lock, std::chrono::milliseconds(kFlushIntervalMs), [this] { return m_stopping; });
        std::vector<Chunk> chunks;
        chunks.swap(m_queue);
        m_backlog = 0;
        const bool stopping = m_stopping;
        const bool overrun = m_overrun;
        lock.unlock();

        const QString problem = WriteChunks(chunks, overrun);
        if (!problem.isEmpty()) {
            EndWithFailure(problem);
            return;
        }
        if (stopping)
            break;
        lock.lock();
    }
    m_file.Close();
}

QString CLineCapture::WriteChunks(const std::vector<Chunk> &chunks, bool overrun)
{
    for (const Chunk &chunk : chunks)
        m_file.Write(chunk.direction, chunk.seen, chunk.data);
    if (!m_file.Flush()) {
        return tr("The line capture to %1 has stopped: the file could not be written (%2). The connection "
                  "goes on; start a new capture on a disk with free space.")
            .arg(m_path, QString::fromStdString(m_file.Error()));
    }
    if (m_file.Vanished()) {
        return tr("The line capture to %1 has stopped: the file was deleted or moved away. The connection "
                  "goes on; start a new capture to record it again.")
            .arg(m_path);
    }
    if (overrun) {
        return tr("The line capture to %1 has stopped: the file could not be written fast enough. The "
                  "connection goes on; start a new capture on a faster disk.")
            .arg(m_path);
    }
    if (!chunks.empty()) {
        m_size = m_file.Size();
        emit SizeChanged(Size());
    }
    return {};
}

void CLineCapture::EndWithFailure(const QString &message)
{
    {
        std::lock_guard lock(m_mutex);
        m_accepting = false;
        m_queue.clear();
        m_backlog = 0;
    }
    m_file.Close();
    m_running = false;
    emit Failed(message);
}
