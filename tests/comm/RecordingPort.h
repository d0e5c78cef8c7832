#pragma once

#include "comm/CAsyncPosix.h"

#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

// A serial port that records what its hooks are given, for the tests of the port itself.
class RecordingPort : public CAsyncPosix
{
public:
    ~RecordingPort() override { Close(); }

    void OnReceive(const ByteVector &data) override
    {
        std::lock_guard lock(m_mutex);
        m_batches.push_back(data);
        m_received.insert(m_received.end(), data.begin(), data.end());
        m_changed.notify_all();
    }
    void ReportError(const std::string &text) override
    {
        std::lock_guard lock(m_mutex);
        m_errors.push_back(text);
        m_changed.notify_all();
    }
    void TraceBytes(int level, int direction, const ByteVector &data) override
    {
        std::lock_guard lock(m_mutex);
        m_traces.push_back({level, direction, data, m_batches.size()});
    }

    struct Trace
    {
        int level;
        int direction;
        ByteVector data;
        std::size_t batchesBefore; // how many batches OnReceive had been given at the trace
    };

    // Waits until `count` bytes have been received; returns whether they have.
    bool WaitForBytes(std::size_t count, int timeoutMs)
    {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                                  [&] { return m_received.size() >= count; });
    }
    bool WaitForErrors(std::size_t count, int timeoutMs)
    {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                                  [&] { return m_errors.size() >= count; });
    }
    ByteVector Received()
    {
        std::lock_guard lock(m_mutex);
        return m_received;
    }
    std::vector<ByteVector> Batches()
    {
        std::lock_guard lock(m_mutex);
        return m_batches;
    }
    std::vector<std::string> Errors()
    {
        std::lock_guard lock(m_mutex);
        return m_errors;
    }
    std::vector<Trace> Traces()
    {
        std::lock_guard lock(m_mutex);
        return m_traces;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<ByteVector> m_batches;
    ByteVector m_received;
    std::vector<std::string> m_errors;
    std::vector<Trace> m_traces;
};
