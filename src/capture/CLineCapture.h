#pragma once

#include "CPcapFile.h"
#include "comm/CLineTap.h"

#include <QObject>
#include <QString>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

// A running capture of the serial line into a pcap file. The ports hand their chunks to Record on
// their own threads; Record only queues them. A writer thread of the capture takes the queue every
// kFlushIntervalMs, writes it and flushes the file, so a crash loses at most that much of the line
// and a slow or full disk never holds up the line. When the file cannot be written any more (disk
// full, file deleted, writer far behind) the capture ends by itself and says why through Failed;
// the connection is not touched.
class CLineCapture : public QObject, public CLineTap
{
    Q_OBJECT

public:
    static constexpr int kFlushIntervalMs = 250;
    // Octets queued but not yet written at which the writer is taken to be stuck.
    static constexpr std::size_t kBacklogLimit = 16 * 1024 * 1024;

    explicit CLineCapture(QObject *parent = nullptr);
    ~CLineCapture() override;

    // Creates the file and starts the writer; false with ErrorText() when the file cannot be made.
    bool Start(const QString &path);
    // Writes what is queued, closes the file and ends the writer. Chunks recorded later are dropped.
    void Stop();

    bool IsRunning() const { return m_running.load(); }
    QString Path() const { return m_path; }
    QString ErrorText() const { return m_error; }
    // The size of the file so far.
    qint64 Size() const { return static_cast<qint64>(m_size.load()); }

    void Record(int direction, Clock::time_point seen, const ByteVector &data) override;

signals:
    // The file has grown (emitted on the writer thread).
    void SizeChanged(qint64 bytes);
    // The capture has ended by itself; the message says why and what to do (writer thread).
    void Failed(const QString &message);

private:
    struct Chunk
    {
        int direction;
        Clock::time_point seen;
        ByteVector data;
    };

    void WriterLoop();
    QString WriteChunks(const std::vector<Chunk> &chunks, bool overrun);
    void EndWithFailure(const QString &message);

    CPcapFile m_file;
    QString m_path;
    QString m_error;
    std::thread m_writer;
    std::atomic<bool> m_running{false};
    std::atomic<std::uint64_t> m_size{0};

    std::mutex m_mutex; // guards what follows: held only to queue or to take the queue
    std::condition_variable m_wake;
    std::vector<Chunk> m_queue;
    std::size_t m_backlog = 0;
    bool m_accepting = false;
    bool m_overrun = false;
    bool m_stopping = false;
};
